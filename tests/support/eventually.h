#ifndef VTCLASS_TESTS_SUPPORT_EVENTUALLY_H
#define VTCLASS_TESTS_SUPPORT_EVENTUALLY_H

#include <vtclass/win32.h>

namespace vtclass::test {

/* Milliseconds for whatever must happen, on a machine under load, too. */
inline constexpr DWORD kLimit = 20'000;

/* Waits for what will soon be so and gives no signal; false when it never is. */
template <typename Happened>
bool Eventually(Happened happened) {
  for (const ULONGLONG end = ::GetTickCount64() + kLimit; !happened(); ::Sleep(1)) {
    if (::GetTickCount64() > end) return happened();
  }
  return true;
}

}  // namespace vtclass::test

#endif
