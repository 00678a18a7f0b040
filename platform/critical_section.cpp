#include "platform/critical_section.h"

#include <atomic>

namespace vtclass::platform {

void LookUpSpinCount() noexcept {
  // Looked up and kept, but not used: the locks get their spin count when they are made.
  static std::atomic<bool> lookedUp;
  static std::atomic<FARPROC> setSpinCount;
  if (lookedUp.exchange(true)) return;
  setSpinCount =
      ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "SetCriticalSectionSpinCount");
}

}  // namespace vtclass::platform
