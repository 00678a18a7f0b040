#ifndef VTCLASS_CRYPTO_CIPHER_H
#define VTCLASS_CRYPTO_CIPHER_H

#include "crypto/fixed_values.h"
#include "vtclass/crypto.h"

namespace vtclass::crypto {

/* The credentials' cipher, open for one operation: its key is wiped with it. */
class CredentialCipher {
 public:
  explicit CredentialCipher(short direction) noexcept;
  ~CredentialCipher();
  CredentialCipher(const CredentialCipher&) = delete;
  CredentialCipher& operator=(const CredentialCipher&) = delete;

  /* False, with the data as it was, where the length is no positive multiple of 8 or memory runs
   * out. */
  bool Run(char* data, std::size_t length) noexcept;

 private:
  EU_HAND hand;
};

}  // namespace vtclass::crypto

#endif
