#ifndef VTCLASS_PLATFORM_THIS_MODULE_H
#define VTCLASS_PLATFORM_THIS_MODULE_H

#include <vtclass/win32.h>

#include "platform/owned.h"

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): the linker's name
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace vtclass::platform {

/* The module that this code was linked into. */
inline HMODULE ThisModule() noexcept { return reinterpret_cast<HMODULE>(&__ImageBase); }

/* One more reference to that module; empty when the system refuses. */
inline OwnedModule HoldThisModule() noexcept {
  OwnedModule held;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&__ImageBase), held.Receive());
  return held;
}

}  // namespace vtclass::platform

#endif
