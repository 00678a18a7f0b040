#ifndef VTCLASS_STRINGS_ASCII_H
#define VTCLASS_STRINGS_ASCII_H

#include <cstddef>

#include "strings/wide_text.h"

namespace vtclass::strings {

/* True when all of `length` units are below 128; zeros are. */
bool IsAscii(const char* text, std::size_t length) noexcept;
bool IsAscii(const WideUnit* text, std::size_t length) noexcept;

/* Copies `length` units into the other width. Requires: IsAscii, and no overlap. */
void CopyAscii(const char* text, std::size_t length, WideUnit* out) noexcept;
void CopyAscii(const WideUnit* text, std::size_t length, char* out) noexcept;

}  // namespace vtclass::strings

#endif
