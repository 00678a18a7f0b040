#include "strings/xml_filter.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "strings/random_text.h"
#include "strings/xml_escape.h"
#include "strings/xml_reference.h"

namespace vtclass::strings {
namespace {

constexpr WideUnit kUntouched = 0x5A5A;

std::vector<const UnitScan*> Scans() {
  std::vector<const UnitScan*> scans = {&kSse2Scan};
  if (HasAvx2()) scans.push_back(&kAvx2Scan);
  return scans;
}

// Every unit at every place of a block, and at the end of a text of every length.
TEST(XmlFilter, EveryUnit_IsFoundWhereverItStands) {
  for (const UnitScan* scan : Scans()) {
    for (std::uint32_t value = 0; value <= 0xFFFF; ++value) {
      const auto unit = static_cast<WideUnit>(value);
      const bool kept = !reference::IsDropped(unit) && reference::Entity(unit).empty();
      const std::size_t length = 1 + value * 7 % 100;
      const std::size_t at = value * 13 % length;
      WideText text(length, 'x');
      text[at] = unit;
      ASSERT_EQ(FilteredPrefix(text, *scan), kept ? length : at) << value;
      WideText out(length + 7, 0);
      out.resize(FilterInto(text, out.data(), out.size(), *scan));
      ASSERT_EQ(out, reference::Filter(text)) << value;
    }
  }
}

TEST(XmlFilter, EveryRoom_GivesWhatThePlainRuleGives) {
  std::mt19937 random(20240607);
  for (int round = 0; round < 4000; ++round) {
    const std::size_t length = random() % 150;
    const WideText text = RandomText(random, length, random() % 3 == 0 ? 60 : 5);
    const std::size_t capacity = 1 + random() % (round % 2 == 0 ? 20 : 900);
    WideText expected(capacity, 0);
    expected.resize(reference::Filter(text, expected.data(), capacity));
    for (const UnitScan* scan : Scans()) {
      WideText out(capacity + 8, kUntouched);
      const std::size_t written = FilterInto(text, out.data(), capacity - 1, *scan);
      ASSERT_EQ(out.substr(0, written), expected) << "round " << round;
      ASSERT_EQ(out.substr(capacity - 1), WideText(9, kUntouched)) << "round " << round;
    }
  }
}

// A caller that grows its buffer bit by bit gets the whole text.
TEST(XmlEscape, InPieces_GivesWhatThePlainRuleGives) {
  std::mt19937 random(20240608);
  for (int round = 0; round < 4000; ++round) {
    const bool escape = round % 2 == 0;
    const WideText text = RandomText(random, random() % 150, random() % 3 == 0 ? 60 : 5);
    for (const UnitScan* scan : Scans()) {
      WideText whole;
      WideView rest = text;
      while (!rest.empty()) {
        const std::size_t room = kLongestEscape + random() % 60;
        WideText out(room + 8, kUntouched);
        std::size_t consumed = 0;
        const std::size_t written = EscapeInto(rest, escape, out.data(), room, &consumed, *scan);
        ASSERT_GT(consumed, 0u);
        ASSERT_EQ(out.substr(room), WideText(8, kUntouched));
        whole += out.substr(0, written);
        rest.remove_prefix(consumed);
      }
      ASSERT_EQ(whole, reference::Escape(text, escape)) << "round " << round;
    }
  }
}

TEST(XmlEscape, UnitThatDoesNotFit_IsLeftWhole) {
  struct Case {
    WideView text;
    std::size_t room, written, consumed;
  };
  const Case cases[] = {{VTCLASS_WIDE("ab&c"), 6, 2, 2},
                        {VTCLASS_WIDE("ab&c"), 7, 7, 3},
                        {VTCLASS_WIDE("a\n"), 2, 1, 1},
                        {VTCLASS_WIDE("a\n"), 3, 3, 2},
                        {VTCLASS_WIDE("abc"), 2, 2, 2},
                        {VTCLASS_WIDE("\"q"), 5, 0, 0},
                        {WideView(), 4, 0, 0}};
  for (const Case& row : cases) {
    WideUnit out[8];
    std::size_t consumed = 99;
    EXPECT_EQ(EscapeInto(row.text, true, out, row.room, &consumed), row.written);
    EXPECT_EQ(consumed, row.consumed);
  }
}

}  // namespace
}  // namespace vtclass::strings
