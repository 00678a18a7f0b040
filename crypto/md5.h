#ifndef VTCLASS_CRYPTO_MD5_H
#define VTCLASS_CRYPTO_MD5_H

#include <cstddef>
#include <cstdint>

namespace vtclass::crypto {

inline constexpr std::size_t kMd5Digest = 16;

/* The digest of a message; zeros when it cannot be computed. Leaves nothing of the message on the
 * stack below. */
void Md5(const void* message, std::size_t length, std::uint8_t* digest) noexcept;

}  // namespace vtclass::crypto

#endif
