#include "tools/vtctl/shared/interrupt.h"

#include <atomic>

namespace vtctl {
namespace {

std::atomic<bool> interrupted = false;
HANDLE interruptEvent = nullptr;

BOOL WINAPI OnControl(DWORD control) {
  const bool again = interrupted.exchange(true);
  if (interruptEvent) ::SetEvent(interruptEvent);
  if (control == CTRL_C_EVENT || control == CTRL_BREAK_EVENT) return !again;
  // The process is ended when this returns; until the system's patience is over, the main thread
  // can close its files and end the process itself.
  ::Sleep(INFINITE);
  return TRUE;
}

}  // namespace

void CatchInterrupts() {
  interruptEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  // A parent that starts its children deaf to Ctrl+C, as some shells do for jobs in the
  // background, does not mean a backup that nobody can stop cleanly.
  ::SetConsoleCtrlHandler(nullptr, FALSE);
  ::SetConsoleCtrlHandler(OnControl, TRUE);
}

bool Interrupted() { return interrupted; }

HANDLE InterruptEvent() { return interruptEvent; }

}  // namespace vtctl
