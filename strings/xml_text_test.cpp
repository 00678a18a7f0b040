#include <gtest/gtest.h>

#include "tests/support/allocations.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::FailEachAllocation;

std::wstring UpToZero(const std::wstring& text) { return text.substr(0, text.find(L'\0')); }

std::wstring Filtered(const std::wstring& text) {
  wcstring out(text);
  EXPECT_EQ(&makeXmlStrBufferValid(out), &out);
  return out;
}

std::wstring FilteredIn(std::size_t capacity, const std::wstring& text) {
  std::wstring buffer(capacity + 4, L'#');
  text.copy(buffer.data(), capacity);
  if (text.size() < capacity) buffer[text.size()] = L'\0';
  EXPECT_EQ(makeXmlStrBufferValid(buffer.data(), capacity), buffer.data());
  EXPECT_EQ(buffer.substr(capacity), L"####") << "written beyond the capacity";
  return UpToZero(buffer);
}

TEST(makeXmlStrBufferValid, KnownTexts) {
  const struct {
    std::size_t capacity;
    const wchar_t* text;
    const wchar_t* expected;
  } cases[] = {{64, L"", L""},
               {64, L"a<b", L"a&lt;b"},
               {64, L"&<>\"'", L"&amp;&lt;&gt;&quot;&apos;"},
               {64, L"\x01\x85\x90\xFD10", L"\x85"},
               {64, L"a\xD83D\xDE00z", L"az"},
               {64, L"\xFCFF\xFD00\xFDCF\xFDEF\xFDF0\xFFFD\xFFFE\xFFFF", L"\xFCFF\xFDF0\xFFFD"},
               {64, L"\t\r\n\x7E\x7F\xA0", L"\t\r\n\x7E\xA0"},
               // An entity that does not fit ends the text, an ordinary character is skipped.
               {8, L"abc&def", L"abc"},
               {8, L"abcdefghij", L"abcdefg"},
               {5, L"<", L""},
               {6, L"<", L"&lt;"},
               {7, L"'", L""},
               {9, L"'xy", L"&apos;xy"},
               {1, L"a", L""}};
  for (const auto& row : cases) {
    EXPECT_EQ(FilteredIn(row.capacity, row.text), row.expected) << row.capacity << row.text;
    if (row.capacity == 64) EXPECT_EQ(Filtered(row.text), row.expected);
  }
  EXPECT_EQ(Filtered(std::wstring(L"a\0<\0b", 5)), L"a&lt;b");
  EXPECT_EQ(makeXmlStrBufferValid(nullptr, 0), nullptr);
}

TEST(makeXmlStrBufferValid, CleanText_AllocatesNothing) {
  wcstring text(std::wstring(5000, L'x'));
  const Allocations allocations;
  makeXmlStrBufferValid(text);
  makeXmlStrBufferValid(text.data(), text.size() + 1);
  EXPECT_EQ(allocations.Count(), 0);
}

TEST(makeXmlStrBufferValid, AllocationFails_KeepsTheText) {
  for (const std::size_t length : {100u, 3000u}) {
    const std::wstring original = L"clean" + std::wstring(length, L'&');
    wcstring text;
    long failed = 0;
    for (const HMODULE side : {vtclass::test::LibraryUnderTest(), vtclass::test::ThisProgram()}) {
      text = original;
      failed += FailEachAllocation([&] { makeXmlStrBufferValid(text); },
                                   [&] { ASSERT_EQ(text, original); }, side);
    }
    EXPECT_GT(failed, 0);
    std::wstring buffer = original + std::wstring(length * 4 + 20, L'\0');
    const std::wstring before = buffer;
    FailEachAllocation([&] { makeXmlStrBufferValid(buffer.data(), buffer.size()); },
                       [&] { ASSERT_EQ(buffer, before); });
    EXPECT_EQ(UpToZero(buffer), text);
  }
}

}  // namespace
