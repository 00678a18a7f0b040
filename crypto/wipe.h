#ifndef VTCLASS_CRYPTO_WIPE_H
#define VTCLASS_CRYPTO_WIPE_H

#include <array>
#include <cstddef>

namespace vtclass::crypto {

/* Fills memory with zeros, also where nobody reads it any more: no optimizer removes that. */
void Wipe(void* memory, std::size_t size) noexcept;

/*
 * Wipes the stack below the caller's frame, where functions that have just returned kept secrets:
 * those of other libraries do not wipe theirs. Reaches as deep as theirs do.
 */
void WipeStackBelow() noexcept;

/* Room for a secret, wiped when its scope ends. What is not wanted at first is not cleared. */
template <std::size_t kSize>
class SecretArea {
 public:
  SecretArea() noexcept {}  // NOLINT(modernize-use-equals-default): leaves the bytes as they are
  ~SecretArea() { Wipe(bytes, kSize); }
  SecretArea(const SecretArea&) = delete;
  SecretArea& operator=(const SecretArea&) = delete;

  char* Data() noexcept { return bytes; }

 private:
  char bytes[kSize];
};

}  // namespace vtclass::crypto

#endif
