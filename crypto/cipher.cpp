#include "crypto/cipher.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "crypto/des.h"
#include "crypto/stream_ciphers.h"
#include "crypto/wipe.h"

namespace vtclass::crypto {

namespace {

// Memory comes from malloc: where there is none, `new` would throw inside the library, and what the
// registers hold, keys and texts among it, would be copied to the stack for that.

enum Algorithm : short { kNone = 0, kReversal = 1, kSubstitution = 3, kDes = 4 };

constexpr short kUnknownAlgorithm = -600;
constexpr short kNoMemory = -601;
constexpr short kBadArguments = -602;
constexpr short kNotWholeBlocks = -603;

static_assert(kDesBlock == sizeof(EU_HAND::key.bytes));
static_assert(kDesScheduleWords <= std::size(decltype(EU_HAND::schedule){}));

void OpenDes(EU_HAND& hand, short direction, const void* key) noexcept {
  hand.algorithm = kDes;
  hand.direction = direction;
  std::memcpy(hand.key.bytes, key, kDesBlock);
}

short RunDes(EU_HAND& hand, char* data, std::size_t length) noexcept {
  if (hand.direction == kEncipher) {
    DesEncipher(hand.key.bytes, hand.schedule, data, length);
    return 0;
  }
  // Between the halves of an area of our own: the caller's bytes change when all of them are known.
  const std::size_t size = 2 * length;
  auto* const area = static_cast<char*>(std::malloc(size));
  if (!area) return kBadArguments;
  std::memcpy(area, data, length);
  DesDecipher(hand.key.bytes, hand.schedule, area, area + length, length);
  std::memcpy(data, area + length, length);
  Wipe(area, size);
  std::free(area);
  return 0;
}

short EncryptBlocks(EU_HAND& hand, signed char* data, short length) noexcept {
  if (!data) return kBadArguments;
  if (length <= 0 || length % static_cast<short>(kDesBlock) != 0) return kNotWholeBlocks;
  return RunDes(hand, reinterpret_cast<char*>(data), static_cast<std::size_t>(length));
}

short EncryptBytes(EU_HAND& hand, signed char* data, short length) noexcept {
  if (length <= 0) return 0;
  if (!data) return kBadArguments;
  auto* const bytes = reinterpret_cast<std::uint8_t*>(data);
  const auto count = static_cast<std::size_t>(length);
  const bool encipher = hand.direction == kEncipher;
  if (hand.algorithm == kReversal) {
    Reverse(bytes, count, encipher);
    return 0;
  }
  Chain chain = {hand.chainingByte, static_cast<std::uint16_t>(hand.position)};
  Substitute(bytes, count, encipher, hand.key.copy, static_cast<std::size_t>(hand.keyLength),
             chain);
  hand.chainingByte = chain.byte;
  hand.position = static_cast<short>(chain.position);
  return 0;
}

short OpenSubstitution(EU_HAND& hand, const signed char* key, short keyLength) noexcept {
  if (!key || keyLength <= 0) return kBadArguments;
  hand.key.copy = static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(keyLength)));
  if (!hand.key.copy) return kNoMemory;
  std::copy_n(key, keyLength, hand.key.copy);
  hand.keyLength = keyLength;
  hand.flags[0] = 1;
  return 0;
}

// The status; the block size stays as it was where there is none.
short Open(EU_HAND& hand, const signed char* key, short keyLength, short& blockSize) noexcept {
  short status = 0;
  switch (hand.algorithm) {
    case kNone:
      return 0;
    case kReversal:
      blockSize = 1;
      return 0;
    case kSubstitution:
      status = OpenSubstitution(hand, key, keyLength);
      if (status == 0) blockSize = 1;
      return status;
    case kDes:
      if (!key) return kBadArguments;
      OpenDes(hand, hand.direction, key);
      blockSize = static_cast<short>(kDesBlock);
      return 0;
    default:
      return kUnknownAlgorithm;
  }
}

}  // namespace

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): the schedule is made when it is used
CredentialCipher::CredentialCipher(short direction) noexcept {
  OpenDes(hand, direction, kCredentialKey.data());
}

CredentialCipher::~CredentialCipher() {
  Wipe(hand.key.bytes, sizeof hand.key.bytes);
  Wipe(hand.schedule, kDesScheduleWords * sizeof hand.schedule[0]);
}

bool CredentialCipher::Run(char* data, std::size_t length) noexcept {
  if (length == 0 || length % kDesBlock != 0) return false;
  return RunDes(hand, data, length) == 0;
}

}  // namespace vtclass::crypto

using namespace vtclass::crypto;

EU_HAND* EU_Open(short algorithm, short direction, signed char* key, short keyLength,
                 short* blockSize, short* error) noexcept {
  short noSize = 0;
  auto* hand = static_cast<EU_HAND*>(std::calloc(1, sizeof(EU_HAND)));
  short status = kNoMemory;
  if (hand) {
    hand->algorithm = algorithm;
    hand->direction = direction;
    status = Open(*hand, key, keyLength, blockSize ? *blockSize : noSize);
  }
  if (status != 0) {
    std::free(hand);
    hand = nullptr;
  }
  if (error) *error = status;
  return hand;
}

short EU_Encrypt(EU_HAND* hand, signed char* data, short length) noexcept {
  if (!hand) return kBadArguments;
  switch (hand->algorithm) {
    case kReversal:
    case kSubstitution:
      return EncryptBytes(*hand, data, length);
    case kDes:
      return EncryptBlocks(*hand, data, length);
    default:
      return 0;
  }
}

short EU_ResetHand(EU_HAND* hand) noexcept {
  if (!hand) return kBadArguments;
  if (hand->algorithm == kSubstitution) {
    hand->chainingByte = 0;
    hand->position = 0;
  }
  if (hand->algorithm == kDes) Wipe(hand->schedule, sizeof hand->schedule);
  return 0;
}

void EU_Close(EU_HAND* hand) noexcept {
  if (!hand) return;
  if (hand->algorithm == kSubstitution) {
    Wipe(hand->key.copy, static_cast<std::size_t>(hand->keyLength));
    std::free(hand->key.copy);
  }
  Wipe(hand, sizeof *hand);
  std::free(hand);
}
