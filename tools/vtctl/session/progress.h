#ifndef VTCLASS_TOOLS_VTCTL_SESSION_PROGRESS_H
#define VTCLASS_TOOLS_VTCTL_SESSION_PROGRESS_H

#include <vtclass/win32.h>

#include <string>

namespace vtctl {

/* How far the session is: a bar that moves on a terminal, a line now and then otherwise. */
class Progress {
 public:
  enum Form { none, automatic };

  explicit Progress(Form form);

  /* In how many milliseconds it is time to show something new; INFINITE when it never is. */
  DWORD UntilDue() const;
  void Show(double fraction, const std::wstring& text);
  /* Takes the bar away. */
  void Finish();

 private:
  bool shown = false;
  bool visible;
  bool terminal;
  ULONGLONG next;
};

}  // namespace vtctl

#endif
