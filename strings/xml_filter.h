#ifndef VTCLASS_STRINGS_XML_FILTER_H
#define VTCLASS_STRINGS_XML_FILTER_H

#include <cstddef>

#include "strings/unit_scan.h"
#include "strings/wide_text.h"

/* The filter behind makeXmlStrBufferValid, whose header says what it drops and escapes. */
namespace vtclass::strings {

/* No unit becomes more units than this. A room of this many a unit, and one more, never ends. */
inline constexpr std::size_t kLongestEntity = 6;

/* How many of `limit` units come before the first zero. */
std::size_t TextLength(const WideUnit* text, std::size_t limit, const UnitScan& scan = BestScan());

/* How many units at the start of `text` the filter leaves as they are. Zero is not among them. */
std::size_t FilteredPrefix(WideView text, const UnitScan& scan = BestScan());

/*
 * Writes the filtered `text` to `out` and returns how many units that are, at most `room`; no zero
 * is added. An entity that does not fit, with one unit to spare, ends the text. Units of `out`
 * within `room` but beyond those written may be overwritten too.
 * Requires: `out` has room for `room` units and does not overlap `text`.
 */
std::size_t FilterInto(WideView text, WideUnit* out, std::size_t room,
                       const UnitScan& scan = BestScan());

}  // namespace vtclass::strings

#endif
