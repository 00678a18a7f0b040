#include <openssl/crypto.h>

#include <cstddef>

#include "crypto/wipe.h"

// libcrypto keeps these two beside its detection of the processor, and that is a static constructor
// which asks the processor and the environment whenever the DLL is loaded. Defined here, the whole
// of that stays out of the DLL: the cipher and the digest use nothing else of it.

extern "C" void OPENSSL_cleanse(void* ptr, std::size_t len) { vtclass::crypto::Wipe(ptr, len); }

// In a time that tells nothing of the contents.
extern "C" int CRYPTO_memcmp(const void* a, const void* b, std::size_t len) {
  const auto* const first = static_cast<const volatile unsigned char*>(a);
  const auto* const second = static_cast<const volatile unsigned char*>(b);
  unsigned char difference = 0;
  for (std::size_t i = 0; i < len; ++i) difference |= first[i] ^ second[i];
  return difference;
}
