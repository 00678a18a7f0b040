#ifndef VTCLASS_CRYPTO_TEXT_LENGTH_H
#define VTCLASS_CRYPTO_TEXT_LENGTH_H

#include <cstddef>
#include <cstdint>

namespace vtclass::crypto {

/*
 * How many bytes of `text` stand before its terminating zero, `most` at most. The C run time's
 * count takes as long as decoding an armour does.
 *
 * Reads in whole aligned blocks of 16 bytes, up to the one with the zero or the last byte: that may
 * be beyond the text, but never on another page of memory.
 */
std::size_t TextLength(const char* text, std::size_t most = SIZE_MAX) noexcept;

}  // namespace vtclass::crypto

#endif
