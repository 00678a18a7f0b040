#ifndef VTCLASS_TESTS_SUPPORT_NO_REASON_H
#define VTCLASS_TESTS_SUPPORT_NO_REASON_H

#include <vtclass/win32.h>

namespace vtclass::test {

/* The code of a played call that fails and tells no reason: the thread's last error stays as it
 * was. What it was before the library's call must not be taken for the reason. */
inline constexpr DWORD kNoReason = 0xFFFFFFFF;

inline void TellReason(DWORD code) {
  if (code != kNoReason) ::SetLastError(code);
}

}  // namespace vtclass::test

#endif
