#ifndef VTCLASS_STRINGS_ASCII_H
#define VTCLASS_STRINGS_ASCII_H

#include <cstddef>

#include "strings/wide_text.h"

namespace vtclass::strings {

/*
 * Copies `length` units below 128, zeros too, into the other width. False when a unit is not below
 * 128; some of the text has been copied then. Writes nothing beyond `length` units.
 */
bool CopyAscii(const char* text, std::size_t length, WideUnit* out) noexcept;
bool CopyAscii(const WideUnit* text, std::size_t length, char* out) noexcept;

}  // namespace vtclass::strings

#endif
