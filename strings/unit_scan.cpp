#include "strings/unit_scan.h"

#include <atomic>
#include <cstdint>

#include "strings/cpu.h"

namespace vtclass::strings {

namespace {

constexpr std::uint32_t kOsSavesRegisters = 1u << 27;  // leaf 1, ecx: OSXSAVE
constexpr std::uint32_t kAvx = 1u << 28;               // leaf 1, ecx
constexpr std::uint32_t kAvx2 = 1u << 5;               // leaf 7, ebx
constexpr std::uint64_t kXmmAndYmmState = 0x6;         // extended control register 0

std::atomic<const UnitScan*> best;

}  // namespace

bool HasAvx2() noexcept {
  if (cpu::Query(0, 0).eax < 7) return false;
  const std::uint32_t features = cpu::Query(1, 0).ecx;
  if ((features & kOsSavesRegisters) == 0 || (features & kAvx) == 0) return false;
  // A processor may offer AVX2 under a system that would lose the registers at a thread switch.
  if ((cpu::ExtendedControl() & kXmmAndYmmState) != kXmmAndYmmState) return false;
  return (cpu::Query(7, 0).ebx & kAvx2) != 0;
}

const UnitScan& BestScan() noexcept {
  const UnitScan* scan = best.load(std::memory_order_relaxed);
  if (scan == nullptr) {
    scan = HasAvx2() ? &kAvx2Scan : &kSse2Scan;
    best.store(scan, std::memory_order_relaxed);
  }
  return *scan;
}

}  // namespace vtclass::strings
