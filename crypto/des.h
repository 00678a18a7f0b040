#ifndef VTCLASS_CRYPTO_DES_H
#define VTCLASS_CRYPTO_DES_H

#include <cstddef>
#include <cstdint>

/*
 * Single DES in cipher block chaining mode. Both leave neither the key nor a text on the stack
 * below, but the schedule of the key's rounds in `schedule`. Requires: the length is a multiple of
 * kDesBlock.
 */
namespace vtclass::crypto {

inline constexpr std::size_t kDesBlock = 8;
inline constexpr std::size_t kDesScheduleWords = 32;

/* In place. */
void DesEncipher(const void* key, std::uint32_t* schedule, char* data, std::size_t length) noexcept;

void DesDecipher(const void* key, std::uint32_t* schedule, const char* from, char* to,
                 std::size_t length) noexcept;

}  // namespace vtclass::crypto

#endif
