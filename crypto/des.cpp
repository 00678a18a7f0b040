#include "crypto/des.h"

#include <openssl/des.h>

#include "crypto/fixed_values.h"
#include "crypto/wipe.h"

namespace vtclass::crypto {

namespace {

static_assert(sizeof(DES_key_schedule) == kDesScheduleWords * sizeof(std::uint32_t));

// The low-level calls: they read no configuration and load no provider, so they answer the same on
// a machine whose OpenSSL has no legacy module, or allows approved algorithms only.
void Run(const void* key, std::uint32_t* schedule, const char* from, char* to, std::size_t length,
         int direction) noexcept {
  auto* const rounds = reinterpret_cast<DES_key_schedule*>(schedule);
  // Whatever the key is: its parity bits count for nothing, and a weak one is the caller's choice.
  // Its type is not const, in spite of the name.
  ::DES_set_key_unchecked(static_cast<const_DES_cblock*>(const_cast<void*>(key)), rounds);
  auto chain = kChainStart;
  ::DES_ncbc_encrypt(reinterpret_cast<const unsigned char*>(from),
                     reinterpret_cast<unsigned char*>(to), static_cast<long>(length), rounds,
                     reinterpret_cast<DES_cblock*>(&chain), direction);
  WipeStackBelow<kDepthOfDes>();
}

}  // namespace

void DesEncipher(const void* key, std::uint32_t* schedule, char* data,
                 std::size_t length) noexcept {
  Run(key, schedule, data, data, length, DES_ENCRYPT);
}

void DesDecipher(const void* key, std::uint32_t* schedule, const char* from, char* to,
                 std::size_t length) noexcept {
  Run(key, schedule, from, to, length, DES_DECRYPT);
}

}  // namespace vtclass::crypto
