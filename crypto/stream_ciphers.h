#ifndef VTCLASS_CRYPTO_STREAM_CIPHERS_H
#define VTCLASS_CRYPTO_STREAM_CIPHERS_H

#include <cstddef>
#include <cstdint>

/* The two ciphers that take any number of bytes. Both work in place. */
namespace vtclass::crypto {

/* Reverses the order of the bytes, and adds a constant to each, or takes it away. */
void Reverse(std::uint8_t* data, std::size_t length, bool encipher) noexcept;

/* Where chained substitution stands: the enciphered byte before, and how many there were. */
struct Chain {
  std::uint8_t byte;
  std::uint16_t position;
};

/* Chained substitution by a key of `keyLength` bytes, which is not 0. Moves `chain` on. */
void Substitute(std::uint8_t* data, std::size_t length, bool encipher, const std::uint8_t* key,
                std::size_t keyLength, Chain& chain) noexcept;

}  // namespace vtclass::crypto

#endif
