#include "crypto/md5.h"

#include <openssl/md5.h>

#include <algorithm>

#include "crypto/wipe.h"

namespace vtclass::crypto {

void Md5(const void* message, std::size_t length, std::uint8_t* digest) noexcept {
  MD5_CTX state;
  // The low-level calls, as for the cipher. The state holds the end of the message until then.
  const bool done = ::MD5_Init(&state) == 1 && ::MD5_Update(&state, message, length) == 1 &&
                    ::MD5_Final(digest, &state) == 1;
  if (!done) std::fill_n(digest, kMd5Digest, std::uint8_t{0});
  Wipe(&state, sizeof state);
  WipeStackBelow<kDepthOfMd5>();
}

}  // namespace vtclass::crypto
