#include "strings/xml_escape.h"

#include "strings/rewrite.h"

namespace vtclass::strings {

std::size_t EscapeInto(WideView text, bool escape, WideUnit* out, std::size_t room,
                       std::size_t* consumed, const UnitScan& scan) {
  const Rewritten end = escape ? Rewrite<XmlEscapeRule>(text, out, room, scan.xmlEscape)
                               : Rewrite<LineFeedRule>(text, out, room, scan.lineFeed);
  *consumed = end.read;
  return end.written;
}

}  // namespace vtclass::strings
