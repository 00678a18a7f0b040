#ifndef VTCLASS_TESTS_SUPPORT_XML_REFERENCE_H
#define VTCLASS_TESTS_SUPPORT_XML_REFERENCE_H

#include <cstddef>

#include "strings/wide_text.h"

/*
 * The rules of the XML filter and of the job log's escaping, said once more in the plainest way:
 * unit by unit, without a table. Tests and fuzzers compare the fast forms with these, benchmarks
 * show what the fast forms save. No part of the library.
 */
namespace vtclass::strings::reference {

inline WideView Entity(WideUnit unit) {
  if (unit == '&') return VTCLASS_WIDE("&amp;");
  if (unit == '<') return VTCLASS_WIDE("&lt;");
  if (unit == '>') return VTCLASS_WIDE("&gt;");
  if (unit == '"') return VTCLASS_WIDE("&quot;");
  if (unit == '\'') return VTCLASS_WIDE("&apos;");
  return {};
}

inline bool IsDropped(WideUnit unit) {
  const bool valid = unit == 0x09 || unit == 0x0A || unit == 0x0D ||
                     (unit >= 0x20 && unit <= 0xD7FF) || (unit >= 0xE000 && unit <= 0xFFFD);
  if (!valid) return true;
  if ((unit >= 0x7F && unit <= 0x84) || (unit >= 0x86 && unit <= 0x9F)) return true;
  return unit >= 0xFD00 && unit <= 0xFDEF;
}

/* `capacity` units, one of which is for the terminating zero that is not written here. */
inline std::size_t Filter(WideView text, WideUnit* out, std::size_t capacity) {
  std::size_t written = 0;
  for (const WideUnit unit : text) {
    if (IsDropped(unit)) continue;
    const WideView entity = Entity(unit);
    if (entity.empty()) {
      if (written < capacity - 1) out[written++] = unit;
      continue;
    }
    if (written + entity.size() >= capacity - 1) break;
    for (const WideUnit part : entity) out[written++] = part;
  }
  return written;
}

inline WideText Filter(WideView text) {
  WideText out(text.size() * 6 + 2, 0);
  out.resize(Filter(text, out.data(), out.size()));
  return out;
}

inline bool IsXmlCharacter(WideView text, std::size_t at) {
  const WideUnit unit = text[at];
  if (unit >= 0xD800 && unit <= 0xDBFF) {
    return at + 1 < text.size() && text[at + 1] >= 0xDC00 && text[at + 1] <= 0xDFFF;
  }
  if (unit >= 0xDC00 && unit <= 0xDFFF) {
    return at > 0 && text[at - 1] >= 0xD800 && text[at - 1] <= 0xDBFF;
  }
  if (unit < 0x20) return unit == 0x09 || unit == 0x0A || unit == 0x0D;
  return unit != 0xFFFE && unit != 0xFFFF;
}

/* What the unit at `at` becomes. */
inline WideText EscapedUnit(WideView text, std::size_t at, bool escape) {
  if (text[at] == '\n') return VTCLASS_WIDE("\r\n");
  if (escape && !IsXmlCharacter(text, at)) return {};
  const WideView entity = escape ? Entity(text[at]) : WideView();
  return WideText(entity.empty() ? text.substr(at, 1) : entity);
}

inline WideText Escape(WideView text, bool escape) {
  WideText out;
  for (std::size_t at = 0; at < text.size(); ++at) out += EscapedUnit(text, at, escape);
  return out;
}

}  // namespace vtclass::strings::reference

#endif
