#ifndef VTCLASS_STRINGS_DECIMAL_H
#define VTCLASS_STRINGS_DECIMAL_H

#include <cstddef>
#include <cstdint>

#include "strings/wide_text.h"

namespace vtclass::strings {

/* The decimal digits of a number. */
class Decimal {
 public:
  explicit constexpr Decimal(std::uint64_t number) noexcept {
    do {
      digits[--first] = static_cast<WideUnit>('0' + number % 10);
      number /= 10;
    } while (number != 0);
  }

  constexpr WideView View() const noexcept { return {digits + first, kMost - first}; }

 private:
  static constexpr std::size_t kMost = 20;

  WideUnit digits[kMost];
  std::size_t first = kMost;
};

}  // namespace vtclass::strings

#endif
