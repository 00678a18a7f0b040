#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "crypto/block_hash.h"
#include "crypto/fixed_values.h"
#include "crypto/md5.h"
#include "crypto/text_length.h"
#include "crypto/wipe.h"
#include "vtclass/crypto.h"

using namespace vtclass::crypto;

// Other modules hold these objects in memory of their own.
static_assert(sizeof(md5_ndmp) == 144 && sizeof(sha256) == 128);
static_assert(sizeof(SecureHashAlgorithm) == 104);

namespace {

constexpr std::size_t kField = 32;
constexpr std::size_t kChallenge = 64;

using Field = char[kField];
using Challenge = char[kChallenge];

void SetField(Field& field, const char* text, unsigned long long length) noexcept {
  std::memset(field, 0, kField);
  if (text) std::memcpy(field, text, std::min<std::size_t>(length, kField - 1));
}

void GetField(const Field& field, char* out) noexcept {
  std::memcpy(out, field, std::strlen(field) + 1);
}

// As the C run time's generator has it, whose numbers have 15 bits.
void Randomize(Challenge& challenge) noexcept {
  // NOLINTBEGIN(concurrency-mt-unsafe, cert-msc50-cpp, cert-msc51-cpp): the interface says rand
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  for (std::size_t i = 0; i < kChallenge; i += 2) {
    const auto number = static_cast<std::uint16_t>(std::rand());
    std::memcpy(challenge + i, &number, sizeof number);
  }
  // NOLINTEND(concurrency-mt-unsafe, cert-msc50-cpp, cert-msc51-cpp)
}

}  // namespace

md5_ndmp::md5_ndmp() noexcept {
  std::memcpy(userName, kDefaultUserName.data(), kDefaultUserName.size());
  std::memcpy(password, kDefaultPassword.data(), kDefaultPassword.size());
  Randomize(challenge);
}

void md5_ndmp::SetMD5UserName(char* name, unsigned __int64 length) noexcept {
  SetField(userName, name, length);
}

void md5_ndmp::SetMD5Password(char* text, unsigned __int64 length) noexcept {
  SetField(password, text, length);
}

void md5_ndmp::GetMD5UserName(char* out) noexcept { GetField(userName, out); }

void md5_ndmp::SetMD5Challenge(char* theirs) noexcept {
  std::memcpy(challenge, theirs, sizeof challenge);
}

void md5_ndmp::GetMD5Challenge(char* out) noexcept {
  std::memcpy(out, challenge, sizeof challenge);
}

void md5_ndmp::CreateMD5Digest(char* out) noexcept {
  constexpr std::size_t kMessage = 128;
  // All in pieces of fixed sizes, which cost next to nothing. The password ends the message: what
  // the field holds beyond it falls behind that.
  SecretArea<kMessage + kField> area;
  char* const message = area.Data();
  const std::size_t length = TextLength(password, kField - 1);
  std::memset(message, 0, kMessage / 2);
  std::memcpy(message, password, kField);
  std::memset(message + length, 0, kField);
  std::memcpy(message + kMessage - length, password, kField);
  std::memcpy(message + kMessage / 2 - length, challenge, kChallenge);
  Md5(message, kMessage, reinterpret_cast<std::uint8_t*>(digest));
  std::memcpy(out, digest, sizeof digest);
}

void sha256::GetSHA256UserName(char* out) noexcept { GetField(userName, out); }

void sha256::GetSHA256Challenge(char* out) noexcept {
  std::memcpy(out, challenge, sizeof challenge);
}

void sha256::SetSHA256Challenge(char* theirs) noexcept {
  std::memcpy(challenge, theirs, sizeof challenge);
}

SecureHashAlgorithm::SecureHashAlgorithm() noexcept { Reset(); }

SecureHashAlgorithm::SecureHashAlgorithm(const SecureHashAlgorithm& other) noexcept = default;

SecureHashAlgorithm::~SecureHashAlgorithm() { Reset(); }

void SecureHashAlgorithm::Reset() noexcept {
  words = kFirstWords;
  Wipe(block, sizeof block);
  blockBytes = 0;
  totalBytes = 0;
}

void SecureHashAlgorithm::Feed(const unsigned char* data, std::size_t length) noexcept {
  const auto compress = [this](const unsigned char* blocks, std::size_t count) {
    BestCompress()(words, blocks, count);
    WipeStackBelow<kDepthOfBlockHash>();
  };
  if (blockBytes > 0) {
    const std::size_t taken = std::min(length, kHashBlock - blockBytes);
    std::memcpy(block + blockBytes, data, taken);
    blockBytes += static_cast<unsigned int>(taken);
    if (blockBytes < kHashBlock) return;
    compress(block, 1);
    data += taken;
    length -= taken;
  }
  const std::size_t whole = length / kHashBlock;
  if (whole > 0) compress(data, whole);
  blockBytes = static_cast<unsigned int>(length % kHashBlock);
  if (blockBytes > 0) std::memcpy(block, data + whole * kHashBlock, blockBytes);
}

void SecureHashAlgorithm::hashBlock(const void* data, unsigned int length) noexcept {
  if (length == 0) return;
  totalBytes += length;
  Feed(static_cast<const unsigned char*>(data), length);
}

void SecureHashAlgorithm::finishHash(unsigned int& a, unsigned int& b, unsigned int& c,
                                     unsigned int& d, unsigned int& e) noexcept {
  // By design the byte 1 where the standard has 0x80, and the count of bytes, least significant
  // first, where it has that of bits.
  constexpr std::size_t kCountAt = 56;
  constexpr std::size_t kCountBytes = 8;
  unsigned char padding[kHashBlock + kCountBytes] = {1};
  const std::size_t count = (kHashBlock + kCountAt - 1 - blockBytes) % kHashBlock + 1;
  std::memcpy(padding + count, &totalBytes, sizeof totalBytes);
  Feed(padding, count + kCountBytes);
  a = words[0];
  b = words[1];
  c = words[2];
  d = words[3];
  e = words[4];
  Reset();
}
