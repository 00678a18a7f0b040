#include "strings/xml_filter.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/cpu.h"
#include "strings/xml_escape.h"
#include "tests/support/xml_reference.h"

namespace vtclass::strings {
namespace {

std::vector<const UnitScan*> Scans() {
  std::vector<const UnitScan*> scans = {&kSse2Scan};
  if (vtclass::platform::cpu::HasAvx2()) scans.push_back(&kAvx2Scan);
  return scans;
}

// Every unit, at every place of a block and in texts of every length. Any texts in any room are the
// fuzzers' (fuzz_xml_filter, fuzz_xml_escape).
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

}  // namespace
}  // namespace vtclass::strings
