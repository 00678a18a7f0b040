#include "log/job/entry_text.h"

#include "strings/decimal.h"
#include "strings/unit_scan.h"

namespace vtclass::log {

bool MakeClosingTag(WideView tag, WideText& closing) {
  const std::size_t bracket = tag.find('<');
  if (bracket == WideView::npos) return false;
  const WideView name = tag.substr(bracket + 1);
  const std::size_t end = name.find_first_of(VTCLASS_WIDE(" \t"));
  closing.assign(tag.substr(0, bracket + 1));
  closing.push_back('/');
  closing.append(name.substr(0, end));
  if (end != WideView::npos) closing.push_back('>');
  return true;
}

UmiPrefix::UmiPrefix(std::uint32_t code) {
  constexpr std::uint32_t kHasIdentifier = 0x20000000;
  if ((code & kHasIdentifier) == 0) return;
  Append(VTCLASS_WIDE("<UMI>Q-79-"));
  // The upper half goes out whole: readers look identifiers up with severity and customer bits.
  Append(strings::Decimal(code >> 16).View());
  Append(VTCLASS_WIDE("-"));
  Append(strings::Decimal(code & 0xFFFF).View());
  Append(VTCLASS_WIDE("</UMI>"));
}

void UmiPrefix::Append(WideView part) { length += part.copy(text.data() + length, part.size()); }

std::size_t UnbracketUtilityPartition(WideUnit* text, std::size_t length) {
  constexpr WideView kBracketed = VTCLASS_WIDE("<Utility Partition>");
  constexpr WideView kName = kBracketed.substr(1, kBracketed.size() - 2);
  const strings::ScanFunction skip = strings::BestScan().xmlEscape;
  for (std::size_t at = 0; (at += skip(text + at, length - at)) < length; ++at) {
    if (!WideView(text + at, length - at).starts_with(kBracketed)) continue;
    const std::size_t tail = at + kBracketed.size();
    kName.copy(text + at, kName.size());
    // The terminating zero moves along.
    WideView::traits_type::move(text + at + kName.size(), text + tail, length - tail + 1);
    return length - (kBracketed.size() - kName.size());
  }
  return length;
}

}  // namespace vtclass::log
