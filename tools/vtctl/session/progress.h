#ifndef VTCLASS_TOOLS_VTCTL_SESSION_PROGRESS_H
#define VTCLASS_TOOLS_VTCTL_SESSION_PROGRESS_H

#include <vtclass/win32.h>

#include <cstdint>
#include <string>

namespace vtctl {

/* How far a session is; texts are in its language. */
struct ProgressState {
  double fraction = 0;
  uint64_t milliseconds = 0; /* since its beginning */
  std::wstring files;        /* "Files: 1,234" */
  std::wstring size;         /* "4.5 MB" */
  std::wstring rate;         /* of a second, "1.2 MB" */
  std::wstring folder;
};

/* One line of at most so many columns: the bar, then as much of the rest as has room, the folder
 * shortened in its middle. */
std::wstring ProgressLine(const ProgressState& state, size_t columns);

/* Shows how far the session is: a line on standard error that moves, where that is a terminal.
 * Nothing elsewhere: a file or a program that reads gets what the session has found, and no more.
 */
class Progress {
 public:
  enum Form { none, automatic };

  explicit Progress(Form form);

  /* In how many milliseconds it is time to show something new; INFINITE when it never is. */
  DWORD UntilDue() const;
  void Show(const ProgressState& state);
  /* Takes the line away. */
  void Finish();

 private:
  bool shown = false;
  bool visible;
  ULONGLONG next;
};

}  // namespace vtctl

#endif
