#include "platform/this_module.h"

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): the linker's name
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace vtclass::platform {

HMODULE ThisModule() noexcept { return reinterpret_cast<HMODULE>(&__ImageBase); }

bool HoldThisModule() noexcept {
  HMODULE held = nullptr;
  return ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                              reinterpret_cast<LPCWSTR>(&__ImageBase), &held) != FALSE;
}

}  // namespace vtclass::platform
