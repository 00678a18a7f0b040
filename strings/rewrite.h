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

/* What one unit becomes, for every unit. */
template <typename Rule>
UnitRow RowOf(WideUnit unit) {
  if (unit < kRowCount) return kRows<Rule>[unit];
  return {{unit}, Rule::KeepsHigh(unit)};
}

/* Rewrites `count` units without a look at the room and returns the units written.
 * Requires: room for the longest replacement of each, and for one row more. */
template <typename Rule>
std::size_t PutUnits(const WideUnit* units, std::size_t count, WideUnit* out) {
  const UnitRows& rows = kRows<Rule>;
  WideUnit* at = out;
  for (std::size_t i = 0; i < count; ++i) {
    const WideUnit unit = units[i];
    if (unit < kRowCount) {
      std::memcpy(at, &rows[unit], sizeof(UnitRow));
      at += rows[unit].length;
    } else {
      *at = unit;
      at += Rule::KeepsHigh(unit);
    }
  }
  return static_cast<std::size_t>(at - out);
}

/* The same near the end of the room. Answers false when the next unit does not fit. */
template <typename Rule>
bool PutFittingUnits(WideView units, std::size_t end, WideUnit* out, std::size_t room,
                     Rewritten& at) {
  for (; at.read < end; ++at.read) {
    const UnitRow row = RowOf<Rule>(units[at.read]);
    if (!Rule::Fits(at.written, row.length, room)) return false;
    std::copy_n(row.text, row.length, out + at.written);
    at.written += row.length;
  }
  return true;
}

/*
 * Rewrites units one after the other, without a branch on what they are, for as long as it finds
 * some to change: text that holds one often holds more, and a branch on each would be mispredicted.
 * Answers false when the next unit does not fit.
 */
template <typename Rule>
bool RewriteDense(WideView text, WideUnit* out, std::size_t room, Rewritten& at) {
  constexpr std::size_t kStep = 16;
  std::size_t ahead = 0;
  do {
    const std::size_t end = std::min(at.read + kStep, text.size());
    ahead = at.written - at.read;
    if (room - at.written >= kStep * kLongestRow + kRowUnits) {
      at.written += PutUnits<Rule>(text.data() + at.read, end - at.read, out + at.written);
      at.read = end;
    } else if (!PutFittingUnits<Rule>(text, end, out, room, at)) {
      return false;
    }
  } while (at.read < text.size() && at.written - at.read != ahead);
  return true;
}

/* Copies units that stay as they are. A short run is copied in whole steps where both sides have
 * the room; a call would cost more than the copy. */
inline void CopyRun(const WideUnit* from, std::size_t readable, WideUnit* to, std::size_t room,
                    std::size_t run) {
  constexpr std::size_t kStep = 8;
  constexpr std::size_t kLongRun = 64;
  if (run > kLongRun || readable - run < kStep || room - run < kStep) {
    std::memcpy(to, from, run * sizeof(WideUnit));
    return;
  }
  for (std::size_t at = 0; at < run; at += kStep) {
    std::memcpy(to + at, from + at, kStep * sizeof(WideUnit));
  }
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
    const std::size_t left = text.size() - at.read;
    const std::size_t run = std::min(scan(rest, left), room - at.written);
    CopyRun(rest, left, out + at.written, room - at.written, run);
    at.read += run;
    at.written += run;
    if (!RewriteDense<Rule>(text, out, room, at)) break;
  }
  return at;
}

}  // namespace vtclass::strings

#endif
