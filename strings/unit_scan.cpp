#include "strings/unit_scan.h"

#include <atomic>

#include "platform/cpu.h"

namespace vtclass::strings {

namespace {

std::atomic<const UnitScan*> best;

}  // namespace

const UnitScan& BestScan() noexcept {
  const UnitScan* scan = best.load(std::memory_order_relaxed);
  if (scan == nullptr) {
    scan = platform::cpu::HasAvx2() ? &kAvx2Scan : &kSse2Scan;
    best.store(scan, std::memory_order_relaxed);
  }
  return *scan;
}

}  // namespace vtclass::strings
