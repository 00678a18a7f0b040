#ifndef VTCLASS_STRINGS_REWRITE_H
#define VTCLASS_STRINGS_REWRITE_H

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "strings/unit_rules.h"
#include "strings/unit_scan.h"

namespace vtclass::strings {

/* How far a rewriting came: units read of the text, and units written. */
struct Rewritten {
  std::size_t read = 0;
  std::size_t written = 0;
};

/*
 * Rewrites units one after the other, without a branch on what they are, for as long as it finds
 * some to change: text that holds one often holds more, and a branch on each would be mispredicted.
 * Answers false when the next unit does not fit.
 */
template <typename Rule>
bool RewriteDense(WideView text, WideUnit* out, std::size_t room, Rewritten& at) {
  constexpr std::size_t kStep = 16;
  const UnitRows& rows = kRows<Rule>;
  const WideUnit* const units = text.data();
  std::size_t read = at.read;
  std::size_t written = at.written;
  bool fits = true;
  bool changed = true;
  while (changed && fits && read < text.size()) {
    const std::size_t end = std::min(read + kStep, text.size());
    const std::size_t ahead = written - read;
    while (read < end && room - written >= kRowUnits) {
      const WideUnit unit = units[read++];
      if (unit < kRowCount) {
        std::memcpy(out + written, &rows[unit], sizeof(UnitRow));
        written += rows[unit].length;
      } else {
        out[written] = unit;
        written += Rule::KeepsHigh(unit);
      }
    }
    for (; read < end; ++read) {
      UnitRow row = units[read] < kRowCount ? rows[units[read]] : UnitRow{{units[read]}, 0};
      if (units[read] >= kRowCount) row.length = Rule::KeepsHigh(units[read]);
      fits = Rule::Fits(written, row.length, room);
      if (!fits) break;
      std::copy_n(row.text, row.length, out + written);
      written += row.length;
    }
    changed = written - read != ahead;
  }
  at = {read, written};
  return fits;
}

/*
 * Writes `text`, rewritten by `Rule`, to `out`, which has room for `room` units and does not
 * overlap the text; units of it beyond those written may be overwritten too. Stops before the first
 * unit whose replacement does not fit.
 */
template <typename Rule>
Rewritten Rewrite(WideView text, WideUnit* out, std::size_t room, ScanFunction scan) {
  Rewritten at;
  while (at.read < text.size()) {
    const WideUnit* const rest = text.data() + at.read;
    const std::size_t run = std::min(scan(rest, text.size() - at.read), room - at.written);
    std::memcpy(out + at.written, rest, run * sizeof(WideUnit));
    at.read += run;
    at.written += run;
    if (!RewriteDense<Rule>(text, out, room, at)) break;
  }
  return at;
}

}  // namespace vtclass::strings

#endif
