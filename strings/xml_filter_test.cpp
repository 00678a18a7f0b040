#include "strings/xml_filter.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "platform/cpu.h"
#include "strings/random_text.h"
#include "strings/xml_escape.h"
#include "strings/xml_reference.h"

namespace vtclass::strings {
namespace {

constexpr WideView kUntouched = VTCLASS_WIDE("untouched");

std::vector<const UnitScan*> Scans() {
  std::vector<const UnitScan*> scans = {&kSse2Scan};
  if (vtclass::platform::cpu::HasAvx2()) scans.push_back(&kAvx2Scan);
  return scans;
}

// Every unit, at every place of a block and in texts of every length.
TEST(XmlFilter, EveryUnit_IsFoundWhereverItStands) {
  for (const UnitScan* scan : Scans()) {
    for (std::uint32_t value = 0; value <= 0xFFFF; ++value) {
      const std::size_t length = 1 + std::size_t{value} * 7 % 100;
      const std::size_t at = std::size_t{value} * 13 % length;
      WideText text(length, 'x');
      text[at] = static_cast<WideUnit>(value);
      const WideText expected = reference::Filter(text);
      ASSERT_EQ(FilteredPrefix(text, *scan), expected == text ? length : at) << value;
      const bool isPlain = reference::Escape(text, true) == text;
      ASSERT_EQ(scan->xmlEscape(text.data(), length), isPlain ? length : at) << value;
      ASSERT_EQ(TextLength(text.data(), length, *scan), value == 0 ? at : length);
      WideText out(length + 7, 0);
      ASSERT_EQ(out.substr(0, FilterInto(text, out.data(), out.size(), *scan)), expected) << value;
    }
  }
}

TEST(XmlFilter, EveryRoom_GivesWhatThePlainRuleGives) {
  std::mt19937 random(20240607);
  for (int round = 0; round < 4000; ++round) {
    const WideText text = RandomText(random, random() % 150, random() % 3 == 0 ? 60 : 5);
    const std::size_t capacity = 1 + random() % (round % 2 == 0 ? 20 : 900);
    WideText expected(capacity, 0);
    expected.resize(reference::Filter(text, expected.data(), capacity));
    for (const UnitScan* scan : Scans()) {
      WideText out(capacity - 1, 0);
      out += kUntouched;
      const std::size_t written = FilterInto(text, out.data(), capacity - 1, *scan);
      ASSERT_EQ(out.substr(0, written), expected) << "round " << round;
      ASSERT_EQ(out.substr(capacity - 1), kUntouched) << "round " << round;
    }
  }
}

// A caller that makes room bit by bit gets the whole text, and no unit's replacement in two parts.
TEST(XmlEscape, InPieces_GivesWhatThePlainRuleGives) {
  std::mt19937 random(20240608);
  for (int round = 0; round < 8000; ++round) {
    const bool escape = round % 2 == 0;
    const UnitScan& scan = *Scans()[static_cast<std::size_t>(round / 2) % Scans().size()];
    const WideText text = RandomText(random, random() % 150, random() % 3 == 0 ? 60 : 5);
    WideText whole;
    for (WideView rest = text; !rest.empty();) {
      const std::size_t room = kLongestEscape + random() % 60;
      WideText out(room, 0);
      out += kUntouched;
      std::size_t consumed = 0;
      const std::size_t written = EscapeInto(rest, escape, out.data(), room, &consumed, scan);
      ASSERT_EQ(out.substr(0, written), reference::Escape(rest.substr(0, consumed), escape));
      ASSERT_EQ(out.substr(room), kUntouched);
      ASSERT_TRUE(consumed == rest.size() || written + kLongestEscape > room);
      whole += out.substr(0, written);
      rest.remove_prefix(consumed);
    }
    ASSERT_EQ(whole, reference::Escape(text, escape)) << "round " << round;
  }
}

}  // namespace
}  // namespace vtclass::strings
