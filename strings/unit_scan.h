#ifndef VTCLASS_STRINGS_UNIT_SCAN_H
#define VTCLASS_STRINGS_UNIT_SCAN_H

#include <cstddef>

#include "strings/wide_text.h"

namespace vtclass::strings {

/* How many units at the start of `text` a rewriting leaves as they are. Reads in wide steps, but
 * nothing beyond `length` units. */
using ScanFunction = std::size_t (*)(const WideUnit* text, std::size_t length);

/* The scan of each rule of unit_rules.h for one instruction set. */
struct UnitScan {
  ScanFunction xmlFilter;
  ScanFunction xmlEscape;
  ScanFunction lineFeed;
  ScanFunction zero;
};

/* Every x86-64 processor has this one. */
extern const UnitScan kSse2Scan;

/* Requires: platform::cpu::HasAvx2(). */
extern const UnitScan kAvx2Scan;

/* The fastest that this machine runs; asked once, then remembered. Threads: any. */
const UnitScan& BestScan() noexcept;

}  // namespace vtclass::strings

#endif
