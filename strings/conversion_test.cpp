#include "strings/conversion.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <stdexcept>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::FailEachAllocation;
using vtclass::test::ImportHook;

// Every page that the library takes for granted, standing names, stateful, EBCDIC and symbol pages,
// pages in which a backslash or a percent sign is another character, and one that does not exist.
constexpr unsigned kPages[] = {0,     1,     2,     3,     37,    42,    437,   850,   852,
                               864,   866,   874,   932,   936,   949,   950,   1026,  1250,
                               1251,  1252,  1253,  1254,  1255,  1256,  1257,  1258,  1361,
                               10001, 12345, 20127, 28591, 28592, 28593, 28594, 28595, 28596,
                               28597, 28598, 28599, 50220, 52936, 54936, 65000, 65001};

cstring::codePage Page(unsigned number) { return static_cast<cstring::codePage>(number); }

// The platform's own answers: ask for the size, then convert.
std::wstring Widened(const std::string& text, unsigned page) {
  const int length = static_cast<int>(text.size());
  const int needed = ::MultiByteToWideChar(page, 0, text.data(), length, nullptr, 0);
  std::wstring out(static_cast<std::size_t>(needed), 0);
  const int made = ::MultiByteToWideChar(page, 0, text.data(), length, out.data(), needed);
  return out.substr(0, static_cast<std::size_t>(made));
}
std::string Narrowed(const std::wstring& text, unsigned page, DWORD flags, const char* missing) {
  const auto convert = [&](char* out, int room) {
    return ::WideCharToMultiByte(page, flags, text.data(), static_cast<int>(text.size()), out, room,
                                 missing, nullptr);
  };
  const int needed = convert(nullptr, 0);
  std::string out(static_cast<std::size_t>(needed), 0);
  return out.substr(0, static_cast<std::size_t>(convert(out.data(), needed)));
}

TEST(wcstring, Assign_InEveryPage_GivesWhatThePlatformGives) {
  std::string ascii, upper;
  for (int value = 0; value < 128; ++value) {
    ascii += static_cast<char>(value);
    upper += static_cast<char>(value + 128);
  }
  std::vector<std::string> texts = {
      "",         "\x83\x65\x83\x58\x83g",         "+AGE-", "\xC3", "\x1B$B%F\x1B(B",
      "~{VPND~}", "\xE2\x82\xAC \xF0\x9F\x98\x80", "\x80"};
  const std::string longText(5000, 'x');
  texts.insert(texts.end(), {ascii, upper, longText, longText + '\xE9'});
  // Up to 512 units are converted in one pass.
  for (const std::size_t length : {512u, 513u}) texts.emplace_back(length, '\xE9');
  for (const char unit : ascii) texts.emplace_back(1, unit);
  for (const unsigned page : kPages) {
    for (const std::string& text : texts) {
      wcstring out(L"before");
      EXPECT_EQ(&out.assign(text.data(), text.size(), Page(page)), &out);
      ASSERT_EQ(out, Widened(text, page)) << "page " << page << ": " << text;
    }
  }
}

TEST(cstring, Assign_InEveryPage_GivesWhatThePlatformGives) {
  std::wstring ascii;
  for (wchar_t unit = 0; unit < 128; ++unit) ascii += unit;
  const std::wstring longText(5000, L'x');
  const std::wstring texts[] = {L"",
                                ascii,
                                L"\x80",
                                std::wstring(400, L'\u65E5'),
                                std::wstring(512, L'\u00E9'),
                                longText,
                                L"\u00E9 \u20AC \u0107 \u65E5\u672C e\u0301",
                                L"x\xDC00y\xD83D\xDE00\xD800",
                                longText + L'\u65E5'};
  for (const unsigned page : kPages) {
    for (const std::wstring& text : texts) {
      cstring out("before", Page(page));
      EXPECT_EQ(&out.assign(text.data(), text.size()), &out);
      ASSERT_EQ(out, Narrowed(text, page, 0, nullptr)) << "page " << page;
      // Zero and 255 as well: the replacement is one byte, whatever it is.
      for (const char replacement : {'?', '\0', '\xFF'}) {
        const char terminated[] = {replacement, '\0'};
        out.assign(text.data(), text.size(), replacement);
        ASSERT_EQ(out, Narrowed(text, page, 0x240, terminated)) << "page " << page;
      }
    }
  }
  cstring out(cstring::windows1252);
  EXPECT_EQ(out.assign(L"\u65E5e\u0301x", 4, '#'), "#\xE9x");
}

int WINAPI RefuseFlagsInUtf8(UINT page, DWORD flags, LPCWCH text, int length, LPSTR out, int room,
                             LPCCH missing, LPBOOL used) {
  EXPECT_TRUE(missing == nullptr || missing[1] == '\0') << "no zero behind the default character";
  ::SetLastError(ERROR_INVALID_FLAGS);
  if (page == CP_UTF8 && flags != 0) return 0;
  return ::WideCharToMultiByte(page, flags, text, length, out, room, missing, used);
}

// Windows refuses the flags in UTF-8 whatever the text, so plain ASCII must not pass either.
TEST(cstring, Assign_DefaultCharInUtf8_IsThePlatformsAnswerEvenForAscii) {
  const ImportHook<decltype(::WideCharToMultiByte)> hook("KERNEL32.dll", "WideCharToMultiByte",
                                                         &RefuseFlagsInUtf8);
  cstring out("before", cstring::utf8);
  EXPECT_TRUE(out.assign(L"plain", 5, '?').empty());
  EXPECT_EQ(out.assign(L"plain", 5), "plain");
}

TEST(cstring, Constructors_LeaveAValidPage) {
  EXPECT_EQ(cstring("x").GetCodePage(), cstring::acp);
  EXPECT_TRUE(cstring(nullptr, cstring::oem).empty());
  const cstring kept(cstring("\xE9\0", 2, cstring::windows1252));
  EXPECT_EQ(wcstring(kept), wcstring(L"\u00E9\0", 2));
  EXPECT_EQ(wcstring(cstring(kept, cstring::windows1251)), wcstring(kept, cstring::windows1251));
  EXPECT_EQ(cstring(wcstring(L"\u0439"), cstring::windows1251), "\xE9");
}

// The page goes with the whole of another cstring, and stays under everything else that takes text.
TEST(cstring, CodePage_AfterEachOperationThatTakesText) {
  constexpr auto kOwn = cstring::utf8, kOther = cstring::windows1252;
  const cstring other("\xE9", kOther);
  const wcstring wide(L"\u00E9");
  const struct {
    std::function<void(cstring&)> operation;
    cstring::codePage page;
    const char* bytes;
  } rows[] = {{[](cstring& text) { text = "abc"; }, kOwn, "abc"},
              {[](cstring& text) { text = static_cast<const char*>(nullptr); }, kOwn, ""},
              {[](cstring& text) { text.assign("abc"); }, kOwn, "abc"},
              {[](cstring& text) { text.assign("abc", 2); }, kOwn, "ab"},
              {[](cstring& text) { text.assign(std::string("abc")); }, kOwn, "abc"},
              {[](cstring& text) { text.assign(2, 'a'); }, kOwn, "aa"},
              {[&](cstring& text) { text = wide; }, kOwn, "\xC3\xA9"},
              {[](cstring& text) { text = std::wstring(L"\u00E9"); }, kOwn, "\xC3\xA9"},
              {[](cstring& text) { text.assign(L"\u00E9", 1); }, kOwn, "\xC3\xA9"},
              {[&](cstring& text) { text = other; }, kOther, "\xE9"},
              {[&](cstring& text) { text = cstring(other); }, kOther, "\xE9"},
              {[&](cstring& text) { text.assign(other); }, kOther, "\xE9"},
              {[&](cstring& text) { text.assign(other, 0, 1); }, kOwn, "\xE9"},
              {[&](cstring& text) { (text += other) += 'x'; }, kOwn, "before\xE9x"},
              {[&](cstring& text) { text.append("x").insert(0, other); }, kOwn,
               "\xE9"
               "beforex"},
              {[&](cstring& text) { text.replace(1, 5, other).push_back('x'); }, kOwn, "b\xE9x"},
              {[](cstring& text) { text.resize(2), text.clear(); }, kOwn, ""},
              {[&](cstring& text) {
                 cstring copy(other);
                 text.swap(copy);
               },
               kOther, "\xE9"},
              {[&](cstring& text) {
                 cstring copy(other);
                 copy.swap(text);
               },
               kOther, "\xE9"},
              {[&](cstring& text) {
                 cstring copy(other);
                 std::swap(text, copy);
               },
               kOther, "\xE9"},
              {[](cstring& text) {
                 std::string plain("abc");
                 text.swap(plain);
               },
               kOwn, "abc"}};
  for (const auto& row : rows) {
    cstring text("before", kOwn);
    row.operation(text);
    EXPECT_EQ(text, row.bytes) << &row - rows;
    EXPECT_EQ(text.GetCodePage(), row.page) << &row - rows;
  }
  cstring one("a", kOwn), two("b", kOther);
  one.swap(two);
  EXPECT_EQ(two, "a") << "the other side";
  EXPECT_EQ(two.GetCodePage(), kOwn) << "the other side";
}

TEST(Conversion, TextInTheStringsOwnMemory_IsReadBeforeItIsReplaced) {
  for (const std::size_t length : {20u, 3000u}) {
    wcstring wide(std::wstring(length, L'\x6261'));
    wide.reserve(length * 2);  // so that it grows where it lies
    wide.assign(reinterpret_cast<const char*>(wide.data()), length * 2, cstring::windows1252);
    EXPECT_EQ(wide.substr(length * 2 - 4), L"abab");
    cstring narrow(std::string(length * 2, 'a').c_str(), cstring::utf8);
    narrow.assign(reinterpret_cast<const wchar_t*>(narrow.data()), length);
    EXPECT_EQ(narrow, Narrowed(std::wstring(length, L'\x6161'), CP_UTF8, 0, nullptr));
  }
}

TEST(Conversion, LengthBeyondThePlatforms_ThrowsLengthError) {
  wcstring wide(L"before");
  cstring narrow("before");
  for (const std::size_t length : {std::size_t{INT_MAX} + 1, std::size_t{1} << 32, SIZE_MAX}) {
    EXPECT_THROW(wide.assign("x", length, cstring::utf8), std::length_error);
    EXPECT_THROW(narrow.assign(L"x", length), std::length_error);
    EXPECT_THROW(narrow.assign(L"x", length, '?'), std::length_error);
  }
  EXPECT_EQ(wide, L"before");
  EXPECT_EQ(narrow, "before");
}

TEST(Conversion, AllocationFails_ThrowsAndKeepsTheContents) {
  for (const std::wstring& source :
       {std::wstring(100, L'x'), std::wstring(5000, L'x'), std::wstring(500, L'\u65E5')}) {
    long failed = 0;
    for (const HMODULE side : {vtclass::test::LibraryUnderTest(), vtclass::test::ThisProgram()}) {
      cstring narrow("before", cstring::utf8);
      failed += FailEachAllocation([&] { narrow.assign(source.data(), source.size()); },
                                   [&] { ASSERT_EQ(narrow, "before"); }, side);
      wcstring wide(L"before");
      failed +=
          FailEachAllocation([&] { wide.assign(narrow.data(), narrow.size(), cstring::utf8); },
                             [&] { ASSERT_EQ(wide, L"before"); }, side);
      EXPECT_EQ(wide, source);
    }
    EXPECT_GT(failed, 0);
  }
}

}  // namespace
