#ifndef VTCLASS_CRYPTO_BLOCK_HASH_H
#define VTCLASS_CRYPTO_BLOCK_HASH_H

#include <array>
#include <cstddef>
#include <cstdint>

/*
 * The compression of the library's own 160-bit hash. Its rounds are those of the Secure Hash
 * Standard; on purpose the words of a block are little-endian and the expansion rotates nothing, so
 * the results are others.
 */
namespace vtclass::crypto {

using ChainingWords = std::array<std::uint32_t, 5>;
inline constexpr std::size_t kHashBlock = 64;

inline constexpr ChainingWords kFirstWords = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476,
                                              0xC3D2E1F0};

/* Takes `count` blocks into the words. */
using CompressFunction = void (*)(ChainingWords& words, const std::uint8_t* blocks,
                                  std::size_t count) noexcept;

/* Every x86-64 processor has what this one needs. */
void CompressPortable(ChainingWords& words, const std::uint8_t* blocks, std::size_t count) noexcept;
/* Requires: platform::cpu::HasSha(). */
void CompressSha(ChainingWords& words, const std::uint8_t* blocks, std::size_t count) noexcept;

/* The faster that this machine runs; asked once, then remembered. Threads: any. */
CompressFunction BestCompress() noexcept;

}  // namespace vtclass::crypto

#endif
