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

/* Whether the unit at `at`, which has no row, stays. Its neighbours tell of a surrogate. */
template <typename Rule>
bool KeepsUnit(WideView text, std::size_t at) {
  const WideUnit unit = text[at];
  if constexpr (Rule::kKeepsPairs) {
    if ((unit & 0xFC00) == 0xD800) return at + 1 < text.size() && IsPair(unit, text[at + 1]);
    if ((unit & 0xFC00) == 0xDC00) return at > 0 && IsPair(text[at - 1], unit);
  }
  return Rule::KeepsHigh(unit);
}

/* Rewrites the units from `begin` to `end` without a look at the room and returns the units
 * written. Requires: room for the longest replacement of each, and for one row more. */
template <typename Rule>
std::size_t PutUnits(WideView text, std::size_t begin, std::size_t end, WideUnit* out) {
  const UnitRows& rows = kRows<Rule>;
  WideUnit* at = out;
  for (std::size_t i = begin; i < end; ++i) {
    const WideUnit unit = text[i];
    if (unit < kRowCount) {
      std::memcpy(at, &rows[unit], sizeof(UnitRow));
      at += rows[unit].length;
    } else {
      *at = unit;
      at += KeepsUnit<Rule>(text, i);
    }
  }
  return static_cast<std::size_t>(at - out);
}

/* The same near the end of the room. Answers false when the next unit does not fit; of a pair that
 * stays, the first fits only together with the second. */
template <typename Rule>
bool PutFittingUnits(WideView text, std::size_t end, WideUnit* out, std::size_t room,
                     Rewritten& at) {
  for (; at.read < end; ++at.read) {
    const WideUnit unit = text[at.read];
    if (unit < kRowCount) {
      const UnitRow& row = kRows<Rule>[unit];
      if (!Rule::Fits(at.written, row.length, room)) return false;
      std::copy_n(row.text, row.length, out + at.written);
      at.written += row.length;
    } else if (KeepsUnit<Rule>(text, at.read)) {
      const bool beginsPair = Rule::kKeepsPairs && (unit & 0xFC00) == 0xD800;
      if (!Rule::Fits(at.written, beginsPair ? 2 : 1, room)) return false;
      out[at.written++] = unit;
    }
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
      at.written += PutUnits<Rule>(text, at.read, end, out + at.written);
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
 * unit whose replacement does not fit, and never inside a pair of surrogates that stays.
 */
template <typename Rule>
Rewritten Rewrite(WideView text, WideUnit* out, std::size_t room, ScanFunction scan) {
  Rewritten at;
  while (at.read < text.size()) {
    const WideUnit* const rest = text.data() + at.read;
    const std::size_t left = text.size() - at.read;
    // Not beyond the room: a caller who comes back for the rest would have it scanned again.
    const std::size_t run = scan(rest, std::min(left, room - at.written));
    CopyRun(rest, left, out + at.written, room - at.written, run);
    at.read += run;
    at.written += run;
    if (!RewriteDense<Rule>(text, out, room, at)) break;
  }
  return at;
}

}  // namespace vtclass::strings

#endif
