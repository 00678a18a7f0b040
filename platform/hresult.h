#ifndef VTCLASS_PLATFORM_HRESULT_H
#define VTCLASS_PLATFORM_HRESULT_H

#include <vtclass/win32.h>

namespace vtclass::platform {

/* The HRESULT of a Win32 code where something is known to have failed: a code of 0 does not make it
 * a success. */
constexpr long HResultOfFailure(unsigned long code) noexcept {
  return code == ERROR_SUCCESS ? E_FAIL : static_cast<long>(0x80070000 | (code & 0xFFFF));
}

}  // namespace vtclass::platform

#endif
