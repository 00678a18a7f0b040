#ifndef VTCLASS_TESTS_SUPPORT_RANDOM_TEXT_H
#define VTCLASS_TESTS_SUPPORT_RANDOM_TEXT_H

#include <cstddef>
#include <random>

#include "strings/wide_text.h"

/* Texts for tests and benchmarks. No part of the library. */
namespace vtclass::strings {

/* `length` units of which about `percent` in a hundred lie at the borders of the rules; the others
 * are letters. */
inline WideText RandomText(std::mt19937& random, std::size_t length, unsigned percent) {
  static constexpr WideUnit kSpecial[] = {
      '&',    '<',    '>',    '"',    '\'',   '\n',   '\t',   '\r',   0x00,   0x01,
      0x1F,   0x20,   0x7E,   0x7F,   0x84,   0x85,   0x86,   0x9F,   0xA0,   0xFF,
      0x100,  0x126,  0x7FFF, 0x8000, 0xD7FF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000,
      0xFCFF, 0xFD00, 0xFDCF, 0xFDEF, 0xFDF0, 0xFFFD, 0xFFFE, 0xFFFF, 0x3C00, 0x263C};
  WideText text(length, 0);
  for (WideUnit& unit : text) {
    unit = random() % 100 < percent ? kSpecial[random() % std::size(kSpecial)]
                                    : static_cast<WideUnit>('a' + random() % 26);
  }
  return text;
}

}  // namespace vtclass::strings

#endif
