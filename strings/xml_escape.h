#ifndef VTCLASS_STRINGS_XML_ESCAPE_H
#define VTCLASS_STRINGS_XML_ESCAPE_H

#include <cstddef>

#include "strings/unit_scan.h"
#include "strings/wide_text.h"

namespace vtclass::strings {

/* No unit becomes more units than this: room for so many a unit always suffices. */
inline constexpr std::size_t kLongestEscape = 6;

/*
 * Writes `text` to `out` with each line feed as carriage return and line feed and, with `escape`,
 * & < > " ' as &amp; &lt; &gt; &quot; &apos; and without what XML 1.0 cannot hold: the controls but
 * for tab, line feed and carriage return, surrogates without their partner, U+FFFE and U+FFFF.
 * Every other unit is copied as it is, without `escape` zeros too.
 *
 * Returns how many units were written, at most `room`, and in `*consumed` how many units of `text`
 * they stand for: fewer than all when the next one does not fit whole, but never one half of a
 * pair. The caller then makes room and goes on from there, with all that is left: a piece that ends
 * in half a pair loses it. Units of `out` within `room` but beyond those written may be
 * overwritten. Requires: `out` has room for `room` units and does not overlap `text`.
 */
std::size_t EscapeInto(WideView text, bool escape, WideUnit* out, std::size_t room,
                       std::size_t* consumed, const UnitScan& scan = BestScan());

}  // namespace vtclass::strings

#endif
