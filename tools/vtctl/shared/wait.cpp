#include "tools/vtctl/shared/wait.h"

#include <algorithm>

#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/interrupt.h"

namespace vtctl {

DWORD Deadline::Left() const {
  if (end == kNever) return INFINITE;
  const ULONGLONG now = ::GetTickCount64();
  return now >= end ? 0 : static_cast<DWORD>(std::min<ULONGLONG>(end - now, INFINITE - 1));
}

int ExitCodeOf(WaitEnd end) {
  if (end == WaitEnd::interrupted) return kExitCancelled;
  return end == WaitEnd::failed ? kExitInternal : kExitClean;
}

WaitEnd WaitFor(HANDLE event, DWORD milliseconds) {
  const HANDLE handles[] = {InterruptEvent(), event};
  switch (::WaitForMultipleObjects(event ? 2 : 1, handles, FALSE, milliseconds)) {
    case WAIT_OBJECT_0:
      return WaitEnd::interrupted;
    case WAIT_OBJECT_0 + 1:
      return WaitEnd::signalled;
    case WAIT_TIMEOUT:
      return WaitEnd::timeout;
    default:
      return WaitEnd::failed;
  }
}

}  // namespace vtctl
