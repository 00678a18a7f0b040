#include <gtest/gtest.h>

#include <new>
#include <random>

#include "strings/random_text.h"
#include "strings/xml_reference.h"
#include "tests/support/allocations.h"
#include "vtclass/strings.h"

namespace {

using vtclass::strings::RandomText;
using vtclass::test::Allocations;
namespace reference = vtclass::strings::reference;

std::wstring Filtered(const std::wstring& text) {
  wcstring out(text);
  EXPECT_EQ(&makeXmlStrBufferValid(out), &out);
  return out;
}

std::wstring FilteredIn(std::size_t capacity, const std::wstring& text) {
  std::wstring buffer(capacity + 4, L'#');
  text.copy(buffer.data(), text.size());
  if (text.size() < capacity) buffer[text.size()] = L'\0';
  EXPECT_EQ(makeXmlStrBufferValid(buffer.data(), capacity), buffer.data());
  EXPECT_EQ(buffer.substr(capacity), L"####") << "written beyond the capacity";
  return buffer.c_str();
}

TEST(makeXmlStrBufferValid, KnownTexts) {
  const struct {
    const wchar_t* text;
    const wchar_t* expected;
  } cases[] = {{L"", L""},
               {L"plain", L"plain"},
               {L"a<b", L"a&lt;b"},
               {L"&<>\"'", L"&amp;&lt;&gt;&quot;&apos;"},
               {L"\x01\x85\x90\xFD10", L"\x85"},
               {L"a\xD83D\xDE00z", L"az"},
               {L"\xFCFF\xFD00\xFDCF\xFDEF\xFDF0\xFFFD\xFFFE\xFFFF", L"\xFCFF\xFDF0\xFFFD"},
               {L"\t\r\n\x7E\x7F\xA0", L"\t\r\n\x7E\xA0"}};
  for (const auto& row : cases) {
    EXPECT_EQ(Filtered(row.text), row.expected);
    EXPECT_EQ(FilteredIn(64, row.text), row.expected);
  }
  EXPECT_EQ(Filtered(std::wstring(L"a\0<\0b", 5)), L"a&lt;b");
}

TEST(makeXmlStrBufferValid, BufferThatIsFull_HoldsNoCutEntity) {
  const struct {
    std::size_t capacity;
    const wchar_t* text;
    const wchar_t* expected;
  } cases[] = {{8, L"abc&def", L"abc"},
               {8, L"abcdefg", L"abcdefg"},
               {1, L"", L""},
               {6, L"<", L"<"},
               {2, L"&", L""},
               {8,
                L"a\x01"
                L"bcdefg",
                L"abcdefg"},
               {11, L"abc\x01\x01&defg", L"abc&amp;d"}};
  for (const auto& row : cases) {
    std::wstring expected(row.capacity, L'\0');
    expected.resize(reference::Filter(row.text, expected.data(), row.capacity));
    EXPECT_EQ(FilteredIn(row.capacity, row.text), expected) << row.capacity << row.text;
  }
  // Without a terminating zero the text ends with the buffer.
  EXPECT_EQ(FilteredIn(8, L"abcdefgh"), L"abcdefg");
  EXPECT_EQ(FilteredIn(1, L"a"), L"");
  wchar_t untouched[] = L"a<b";
  EXPECT_EQ(makeXmlStrBufferValid(untouched, 0), untouched);
  EXPECT_STREQ(untouched, L"a<b");
  EXPECT_EQ(makeXmlStrBufferValid(nullptr, 0), nullptr);
}

TEST(makeXmlStrBufferValid, RandomTexts_GiveWhatThePlainRuleGives) {
  std::mt19937 random(20240609);
  for (int round = 0; round < 3000; ++round) {
    const unsigned percent = round % 3 == 0 ? 60 : 4;
    const std::wstring text = RandomText(random, random() % (round % 50 == 0 ? 5000 : 40), percent);
    ASSERT_EQ(Filtered(text), reference::Filter(text)) << "round " << round;
    const std::wstring visible = text.c_str();
    for (std::size_t capacity = 1; capacity <= 20; ++capacity) {
      const std::wstring shown = visible.substr(0, capacity);
      std::wstring expected(capacity, 0);
      expected.resize(reference::Filter(shown, expected.data(), capacity));
      ASSERT_EQ(FilteredIn(capacity, shown), expected) << "round " << round << ", " << capacity;
    }
    const std::size_t ample = visible.size() * 6 + 2;
    ASSERT_EQ(FilteredIn(ample, visible), reference::Filter(visible)) << "round " << round;
  }
}

TEST(makeXmlStrBufferValid, CleanText_AllocatesNothing) {
  wcstring text(std::wstring(5000, L'x'));
  const wchar_t* const memory = text.data();
  const Allocations allocations;
  makeXmlStrBufferValid(text);
  makeXmlStrBufferValid(text.data(), text.size() + 1);
  EXPECT_EQ(allocations.Count(), 0);
  EXPECT_EQ(text.data(), memory);
}

TEST(makeXmlStrBufferValid, AllocationFails_KeepsTheText) {
  for (const std::size_t length : {100u, 1000u, 20000u}) {
    const std::wstring original = L"clean" + std::wstring(length, L'&');
    for (const bool asBuffer : {false, true}) {
      bool needed = false;
      for (long n = 1;; ++n) {
        wcstring text(original);
        if (asBuffer) text.resize(length * 5 + 20);
        const std::wstring before = text;
        Allocations allocations;
        allocations.FailAt(n);
        try {
          asBuffer ? void(makeXmlStrBufferValid(text.data(), text.size()))
                   : void(makeXmlStrBufferValid(text));
        } catch (const std::bad_alloc&) {
          ASSERT_EQ(text, before) << n;
        }
        if (!allocations.Failed()) {
          EXPECT_EQ(text.c_str(), reference::Filter(original));
          break;
        }
        needed = true;
        ASSERT_EQ(text, before) << "failure " << n << " was swallowed";
      }
      EXPECT_EQ(needed, !asBuffer || length > 2048);
    }
  }
}

}  // namespace
