#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <stdexcept>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::ImportHook;

constexpr unsigned kPages[] = {0,     1,     2,     3,     37,    42,    437,   850,   864,
                               866,   874,   932,   936,   949,   950,   1026,  1250,  1251,
                               1252,  1255,  1256,  1258,  1361,  12345, 20127, 28591, 28592,
                               28595, 28599, 50220, 52936, 54936, 65000, 65001};

cstring::codePage Page(unsigned number) { return static_cast<cstring::codePage>(number); }

// The platform's own answer: ask for the size, then convert.
std::string TwoCalls(const std::wstring& text, unsigned page, DWORD flags = 0,
                     const char* defaultChar = nullptr) {
  const int length = static_cast<int>(text.size());
  const int needed =
      ::WideCharToMultiByte(page, flags, text.data(), length, nullptr, 0, defaultChar, nullptr);
  std::string out(static_cast<std::size_t>(needed), 0);
  const int made = ::WideCharToMultiByte(page, flags, text.data(), length, out.data(), needed,
                                         defaultChar, nullptr);
  out.resize(static_cast<std::size_t>(made));
  return out;
}

TEST(cstring, Assign_InEveryPage_GivesWhatThePlatformGives) {
  std::wstring ascii;
  for (wchar_t unit = 0; unit < 128; ++unit) ascii += unit;
  const std::wstring texts[] = {ascii,
                                L"a",
                                L"caf\u00E9 \u20AC \u0107 \u65E5\u672C e\u0301",
                                L"\xD800",
                                L"x\xDC00y\xD83D\xDE00",
                                std::wstring(L"a\0b\0", 4),
                                std::wstring(512, L'x'),
                                std::wstring(513, L'x'),
                                std::wstring(400, L'\u65E5'),
                                std::wstring(5000, L'x') + L'\u65E5',
                                L"a+b~c\\\x0E\x1B"};
  for (const unsigned page : kPages) {
    for (const std::wstring& text : texts) {
      cstring out("before", Page(page));
      EXPECT_EQ(&out.assign(text.data(), text.size()), &out);
      ASSERT_EQ(out, TwoCalls(text, page)) << "page " << page;
      ASSERT_EQ(cstring(wcstring(text), Page(page)), out) << "page " << page;
      // Zero and 255 as well: the replacement is one byte, whatever it is.
      for (const char replacement : {'?', '\0', '\xFF'}) {
        const char terminated[] = {replacement, '\0'};
        out = cstring("before", Page(page));
        out.assign(text.data(), text.size(), replacement);
        ASSERT_EQ(out, TwoCalls(text, page, 0x240, terminated)) << "page " << page;
        ASSERT_EQ(out.GetCodePage(), Page(page));
      }
    }
  }
}

TEST(cstring, Assign_DefaultChar_StandsForWhatThePageLacks) {
  cstring out("", cstring::windows1252);
  out.assign(L"\u65E5e\u0301x", 4, '#');
  EXPECT_EQ(out, "#\xE9x");
}

bool zeroFollows = false;
int WINAPI RefuseFlags(UINT page, DWORD flags, LPCWCH text, int length, LPSTR out, int room,
                       LPCCH defaultChar, LPBOOL used) {
  zeroFollows = defaultChar != nullptr && defaultChar[1] == '\0';
  if (page == CP_UTF8 && (flags != 0 || defaultChar != nullptr)) {
    ::SetLastError(ERROR_INVALID_FLAGS);
    return 0;
  }
  return ::WideCharToMultiByte(page, flags, text, length, out, room, defaultChar, used);
}

// Windows refuses the flags in UTF-8 whatever the text, so plain ASCII must not pass either.
TEST(cstring, Assign_DefaultCharInUtf8_IsThePlatformsAnswerEvenForAscii) {
  const ImportHook<decltype(::WideCharToMultiByte)> hook("KERNEL32.dll", "WideCharToMultiByte",
                                                         &RefuseFlags);
  cstring out("before", cstring::utf8);
  EXPECT_TRUE(out.assign(L"plain", 5, '?').empty());
  EXPECT_TRUE(zeroFollows);
  EXPECT_EQ(out.assign(L"plain", 5), "plain");
}

TEST(cstring, Constructors_LeaveAValidPage) {
  EXPECT_EQ(cstring().GetCodePage(), cstring::acp);
  EXPECT_EQ(cstring("x").GetCodePage(), cstring::acp);
  EXPECT_TRUE(cstring(nullptr, cstring::oem).empty());
  EXPECT_EQ(cstring("a\0b", 3, cstring::shiftJis).size(), 3u);
  const cstring kept(cstring("\xE9", cstring::windows1252));
  EXPECT_EQ(kept.GetCodePage(), cstring::windows1252);
  EXPECT_EQ(wcstring(kept), L"\u00E9");
  EXPECT_EQ(wcstring(kept, cstring::windows1251), L"\u0439");
  EXPECT_EQ(wcstring(cstring(kept, cstring::windows1251)), L"\u0439");
}

TEST(cstring, Assign_FromItsOwnMemory_ReadsBeforeItWrites) {
  for (const std::size_t units : {10u, 2000u}) {
    cstring text(std::string(units * 2, 'a').c_str(), cstring::utf8);
    text.assign(reinterpret_cast<const wchar_t*>(text.data()), units);
    EXPECT_EQ(text, TwoCalls(std::wstring(units, L'\x6161'), CP_UTF8));
  }
}

TEST(cstring, Assign_BeyondThePlatformsLengths_ThrowsLengthError) {
  cstring text("before");
  const std::size_t length = std::size_t{INT_MAX} + 1;
  EXPECT_THROW(text.assign(L"x", length), std::length_error);
  EXPECT_THROW(text.assign(L"x", length, '?'), std::length_error);
  EXPECT_EQ(text, "before");
}

TEST(cstring, Assign_AllocationFails_ThrowsAndKeepsTheContents) {
  for (const std::wstring& source :
       {std::wstring(100, L'x'), std::wstring(5000, L'x'), std::wstring(400, L'\u65E5')}) {
    cstring text("before", cstring::utf8);
    long n = 1;
    for (;; ++n) {
      Allocations allocations;
      allocations.FailAt(n);
      try {
        text.assign(source.data(), source.size());
      } catch (const std::bad_alloc&) {
        ASSERT_EQ(text, "before") << n;
      }
      if (!allocations.Failed()) break;
      ASSERT_EQ(text, "before") << "failure " << n << " was swallowed";
    }
    EXPECT_GT(n, 1) << "nothing was allocated";
    EXPECT_EQ(text, TwoCalls(source, CP_UTF8));
  }
}

}  // namespace
