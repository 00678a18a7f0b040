#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include "tests/support/import_hook.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::ImportHook;

constexpr DWORD kFlags = NORM_IGNORECASE | SORT_STRINGSORT;

long calls = 0;

int WINAPI CountWide(LCID locale, DWORD flags, LPCWCH a, int lengthA, LPCWCH b, int lengthB) {
  ++calls;
  return ::CompareStringW(locale, flags, a, lengthA, b, lengthB);
}
int WINAPI CountBytes(LCID locale, DWORD flags, PCNZCH a, int lengthA, PCNZCH b, int lengthB) {
  ++calls;
  return ::CompareStringA(locale, flags, a, lengthA, b, lengthB);
}
int WINAPI FailWide(LCID, DWORD, LPCWCH, int, LPCWCH, int) { return 0; }
int WINAPI FailBytes(LCID, DWORD, PCNZCH, int, PCNZCH, int) { return 0; }

int Expected(wchar_t a, wchar_t b) {
  if (a == b) return 0;
  if (a == 0 || b == 0) return a - b;
  return ::CompareStringW(0x800, kFlags, &a, 1, &b, 1) - 2;
}
int Expected(char a, char b) {
  if (a == b) return 0;
  if (a == 0 || b == 0) return static_cast<unsigned char>(a) - static_cast<unsigned char>(b);
  return ::CompareStringA(0x800, kFlags, &a, 1, &b, 1) - 2;
}

// Twice, so that remembered answers are compared as well.
TEST(comparei, EveryPairOfBytes_IsWhatThePlatformSays) {
  for (int round = 0; round < 2; ++round) {
    for (int a = 0; a < 256; ++a) {
      for (int b = 0; b < 256; ++b) {
        const auto wideA = static_cast<wchar_t>(a);
        const auto wideB = static_cast<wchar_t>(b);
        ASSERT_EQ(comparei(wideA, wideB), Expected(wideA, wideB)) << a << ", " << b;
        const auto byteA = static_cast<char>(a);
        const auto byteB = static_cast<char>(b);
        ASSERT_EQ(comparei(byteA, byteB), Expected(byteA, byteB)) << a << ", " << b;
      }
    }
  }
}

TEST(comparei, ZeroSortsFirst_WithoutThePlatform) {
  const ImportHook<decltype(::CompareStringW)> wide("KERNEL32.dll", "CompareStringW", &CountWide);
  const ImportHook<decltype(::CompareStringA)> bytes("KERNEL32.dll", "CompareStringA", &CountBytes);
  calls = 0;
  EXPECT_EQ(comparei(L'\0', L'a'), -'a');
  EXPECT_EQ(comparei(L'\xFFFF', L'\0'), 0xFFFF);
  EXPECT_EQ(comparei('\0', '\xE9'), -0xE9);
  EXPECT_EQ(comparei('\xE9', '\0'), 0xE9);
  EXPECT_EQ(comparei('\0', '\0'), 0);
  EXPECT_EQ(comparei('\xE9', '\xE9'), 0);
  EXPECT_EQ(calls, 0);
}

TEST(comparei, AsciiPair_AsksThePlatformAtMostOnce) {
  const ImportHook<decltype(::CompareStringW)> wide("KERNEL32.dll", "CompareStringW", &CountWide);
  const ImportHook<decltype(::CompareStringA)> bytes("KERNEL32.dll", "CompareStringA", &CountBytes);
  calls = 0;
  for (int round = 0; round < 100; ++round) {
    EXPECT_EQ(comparei(L'a', L'A'), 0);
    EXPECT_EQ(comparei('Z', 'z'), 0);
    EXPECT_LT(comparei('1', '2'), 0);
  }
  EXPECT_LE(calls, 3);
  EXPECT_EQ(comparei(L'\u00E9', L'\u00C9'), 0);
  EXPECT_GE(calls, 1);
}

TEST(comparei, PlatformFails_IsADifference) {
  const ImportHook<decltype(::CompareStringW)> wide("KERNEL32.dll", "CompareStringW", &FailWide);
  const ImportHook<decltype(::CompareStringA)> bytes("KERNEL32.dll", "CompareStringA", &FailBytes);
  EXPECT_EQ(comparei(L'\u00E9', L'\u00C9'), -2);
  EXPECT_EQ(comparei('\xE9', 'a'), -2);
}

}  // namespace
