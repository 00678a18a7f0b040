#ifndef VTCLASS_PLATFORM_FAILURE_CODE_H
#define VTCLASS_PLATFORM_FAILURE_CODE_H

#include <vtclass/win32.h>

namespace vtclass::platform {

/*
 * Right behind a call that failed: its reason, the thread's last error. It did fail, whatever the
 * system tells: where it tells nothing the reason is `untold`. Who clears the last error before the
 * call keeps an older one from being taken for the reason.
 */
inline DWORD FailureCode(DWORD untold = ERROR_GEN_FAILURE) noexcept {
  const DWORD code = ::GetLastError();
  return code == ERROR_SUCCESS ? untold : code;
}

}  // namespace vtclass::platform

#endif
