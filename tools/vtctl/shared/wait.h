#ifndef VTCLASS_TOOLS_VTCTL_SHARED_WAIT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_WAIT_H

#include <vtclass/win32.h>

namespace vtctl {

/* The moment at which a command is to end; never, when the operator has set none. */
class Deadline {
 public:
  /* From now on; 0 seconds: never. */
  explicit Deadline(unsigned seconds)
      : end(seconds == 0 ? kNever : ::GetTickCount64() + seconds * 1000ULL) {}

  bool IsOver() const { return ::GetTickCount64() >= end; }
  /* In milliseconds, for a wait. */
  DWORD Left() const;

 private:
  static constexpr ULONGLONG kNever = ~0ULL;
  ULONGLONG end;
};

enum class WaitEnd {
  signalled,
  interrupted, /* by the operator */
  timeout,
  failed /* the reason is in ::GetLastError() */
};

/* kExitClean when the time is over, kExitCancelled, kExitInternal. */
int ExitCodeOf(WaitEnd end);

/* Waits until the event is signalled, the operator interrupts or the time is over. Without an event
 * it waits for the other two. */
WaitEnd WaitFor(HANDLE event, DWORD milliseconds);

}  // namespace vtctl

#endif
