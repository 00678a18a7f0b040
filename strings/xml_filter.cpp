#include "strings/xml_filter.h"

#include "strings/rewrite.h"

namespace vtclass::strings {

std::size_t TextLength(const WideUnit* text, std::size_t limit, const UnitScan& scan) {
  return scan.zero(text, limit);
}

std::size_t FilteredPrefix(WideView text, const UnitScan& scan) {
  return scan.xmlFilter(text.data(), text.size());
}

// An ordinary unit that does not fit is skipped by the rule, while an entity ends the text. Once an
// ordinary unit does not fit there is no room for an entity either, so both may end here.
std::size_t FilterInto(WideView text, WideUnit* out, std::size_t room, const UnitScan& scan) {
  return Rewrite<XmlFilterRule>(text, out, room, scan.xmlFilter).written;
}

}  // namespace vtclass::strings
