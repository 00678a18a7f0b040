#ifndef VTCLASS_STRINGS_CPU_H
#define VTCLASS_STRINGS_CPU_H

#include <immintrin.h>

#include <cstdint>

/*
 * Where compilers differ about the processor: how it is asked, and how one function is compiled for
 * more instructions than the rest (Microsoft's compiler takes any intrinsic anywhere).
 */
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#define VTCLASS_TARGET(features)
#else
#include <cpuid.h>
#define VTCLASS_TARGET(features) __attribute__((target(features)))
#endif

namespace vtclass::strings::cpu {

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

}  // namespace vtclass::strings::cpu

#endif
