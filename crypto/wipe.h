#ifndef VTCLASS_CRYPTO_WIPE_H
#define VTCLASS_CRYPTO_WIPE_H

#include <cstddef>
#include <cstring>
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace vtclass::crypto {

/* Fills memory with zeros, also where nobody reads it any more: no optimizer removes that. */
inline void Wipe(void* memory, std::size_t size) noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
  __stosb(static_cast<unsigned char*>(memory), 0, size);
#else
  std::memset(memory, 0, size);
  // For all that the compiler knows, this reads it.
  __asm__ volatile("" : : "r"(memory) : "memory");
#endif
}

/*
 * Wipes `kDepth` bytes of the stack below its caller's frame, where functions that have just
 * returned kept secrets: those of other libraries do not wipe theirs.
 */
template <std::size_t kDepth>
void WipeStackBelow() noexcept;

/* The cipher of libcrypto, with all that it calls, stays within this, its digest within this... */
inline constexpr std::size_t kDepthOfDes = 512;
inline constexpr std::size_t kDepthOfMd5 = 256;
/* ... and the compressions of the block hash within this. */
inline constexpr std::size_t kDepthOfBlockHash = 1024;

/* Room for a secret of up to `kSize` bytes. What is used of it is wiped when its scope ends;
 * nothing is cleared before. */
template <std::size_t kSize>
class SecretArea {
 public:
  /* Requires: `used` is at most kSize. */
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): whoever uses it fills it
  explicit SecretArea(std::size_t used = kSize) noexcept : used(used) {}
  ~SecretArea() { Wipe(bytes, used); }
  SecretArea(const SecretArea&) = delete;
  SecretArea& operator=(const SecretArea&) = delete;

  char* Data() noexcept { return bytes; }

 private:
  std::size_t used;
  char bytes[kSize];
};

}  // namespace vtclass::crypto

#endif
