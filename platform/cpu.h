#ifndef VTCLASS_PLATFORM_CPU_H
#define VTCLASS_PLATFORM_CPU_H

#include <immintrin.h>

#include <cstdint>

/*
 * Where compilers differ about the processor: how it is asked, and how one function is compiled for
 * more instructions than the rest (Microsoft's compiler takes any intrinsic anywhere). No
 * windows.h: pure functions stand on it too.
 */
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#define VTCLASS_TARGET(features)
#else
#include <cpuid.h>
#define VTCLASS_TARGET(features) __attribute__((target(features)))
#endif

namespace vtclass::platform::cpu {

struct Registers {
  std::uint32_t eax, ebx, ecx, edx;
};

inline Registers Query(std::uint32_t leaf, std::uint32_t subleaf) noexcept {
  Registers out{};
#if defined(_MSC_VER) && !defined(__clang__)
  int values[4];
  __cpuidex(values, static_cast<int>(leaf), static_cast<int>(subleaf));
  out = {static_cast<std::uint32_t>(values[0]), static_cast<std::uint32_t>(values[1]),
         static_cast<std::uint32_t>(values[2]), static_cast<std::uint32_t>(values[3])};
#else
  __cpuid_count(leaf, subleaf, out.eax, out.ebx, out.ecx, out.edx);
#endif
  return out;
}

/* Extended control register 0. Requires: the OSXSAVE bit of leaf 1. */
VTCLASS_TARGET("xsave") inline std::uint64_t ExtendedControl() noexcept {
  return static_cast<std::uint64_t>(_xgetbv(0));
}

/*
 * What this processor runs. Each of them asks it, which takes microseconds on a virtual machine:
 * whoever chooses by it remembers the choice.
 */

inline bool HasSsse3() noexcept {
  constexpr std::uint32_t kSsse3 = 1u << 9;  // leaf 1, ecx
  return (Query(1, 0).ecx & kSsse3) != 0;
}

/* AVX2, and an operating system that keeps its registers. */
inline bool HasAvx2() noexcept {
  constexpr std::uint32_t kOsSavesRegisters = 1u << 27;  // leaf 1, ecx: OSXSAVE
  constexpr std::uint32_t kAvx = 1u << 28;               // leaf 1, ecx
  constexpr std::uint32_t kAvx2 = 1u << 5;               // leaf 7, ebx
  constexpr std::uint64_t kXmmAndYmmState = 0x6;         // extended control register 0
  if (Query(0, 0).eax < 7) return false;
  const std::uint32_t features = Query(1, 0).ecx;
  if ((features & kOsSavesRegisters) == 0 || (features & kAvx) == 0) return false;
  // A processor may offer AVX2 under a system that would lose the registers at a thread switch.
  if ((ExtendedControl() & kXmmAndYmmState) != kXmmAndYmmState) return false;
  return (Query(7, 0).ebx & kAvx2) != 0;
}

/* The SHA instructions, and SSSE3 and SSE4.1, which every processor with them has. */
inline bool HasSha() noexcept {
  constexpr std::uint32_t kSha = 1u << 29;    // leaf 7, ebx
  constexpr std::uint32_t kSse41 = 1u << 19;  // leaf 1, ecx
  if (Query(0, 0).eax < 7 || (Query(1, 0).ecx & kSse41) == 0) return false;
  return HasSsse3() && (Query(7, 0).ebx & kSha) != 0;
}

}  // namespace vtclass::platform::cpu

#endif
