#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include "tests/support/import_hook.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::ImportHook;
using WideHook = ImportHook<decltype(::CompareStringW)>;
using ByteHook = ImportHook<decltype(::CompareStringA)>;

constexpr DWORD kFlags = NORM_IGNORECASE | SORT_STRINGSORT;

long calls = 0;
int WINAPI FailWide(LCID, DWORD, LPCWCH, int, LPCWCH, int) { return ++calls, 0; }
int WINAPI FailBytes(LCID, DWORD, PCNZCH, int, PCNZCH, int) { return ++calls, 0; }

int Ask(wchar_t a, wchar_t b) { return ::CompareStringW(0x800, kFlags, &a, 1, &b, 1) - 2; }
int Ask(char a, char b) { return ::CompareStringA(0x800, kFlags, &a, 1, &b, 1) - 2; }

template <typename Character>
void ExpectThePlatformsAnswer(int first, int second) {
  const auto a = static_cast<Character>(first);
  const auto b = static_cast<Character>(second);
  const bool isKnown = first == second || first == 0 || second == 0;
  ASSERT_EQ(comparei(a, b), isKnown ? first - second : Ask(a, b)) << first << ", " << second;
}

// Each pair is asked twice, so that remembered answers are compared as well. Zero sorts before all
// bytes, the upper half too.
TEST(comparei, EveryPairOfBytes_IsWhatThePlatformSays_AndAsciiIsRemembered) {
  for (int i = 0; i < 2 * 256 * 256; ++i) {
    ExpectThePlatformsAnswer<wchar_t>(i / 256 % 256, i % 256);
    ExpectThePlatformsAnswer<char>(i / 256 % 256, i % 256);
  }
  const WideHook wide("KERNEL32.dll", "CompareStringW", &FailWide);
  const ByteHook bytes("KERNEL32.dll", "CompareStringA", &FailBytes);
  calls = 0;
  EXPECT_EQ(comparei(L'a', L'A'), 0);
  EXPECT_EQ(comparei('Z', 'z'), 0);
  EXPECT_LT(comparei('1', '2'), 0);
  EXPECT_EQ(comparei(L'\xFFFF', L'\0'), 0xFFFF);
  EXPECT_EQ(calls, 0);
  // A refused comparison is a difference.
  EXPECT_EQ(comparei(L'\u00E9', L'\u00C9'), -2);
  EXPECT_EQ(comparei('\xE9', 'a'), -2);
  EXPECT_EQ(calls, 2);
}

}  // namespace
