#include <benchmark/benchmark.h>
#include <openssl/des.h>
#include <openssl/evp.h>
#include <openssl/md5.h>
#include <openssl/sha.h>
#include <vtclass/crypto.h>

#include <array>
#include <bit>
#include <cstring>
#include <random>
#include <string>

#include "crypto/armour.h"
#include "crypto/block_hash.h"
#include "crypto/fixed_values.h"

// Sealing, armour and digests beside libcrypto's own operations and the plain form of the rules.
namespace {

using namespace vtclass::crypto;

constexpr std::size_t kMegabyte = 1 << 20;

std::string RandomBytes(std::size_t length) {
  std::mt19937 random(14);
  std::string bytes(length, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

const unsigned char* Unsigned(const std::string& bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

unsigned char* Unsigned(std::string& bytes) {
  return reinterpret_cast<unsigned char*>(bytes.data());
}

// ---- Sealing 64 bytes, and opening them ----

void OursSeal(benchmark::State& state) {
  const std::string text = RandomBytes(64);
  char out[89];
  for (auto _ : state) {
    EncryptAndAsciify(4, out, sizeof out, text.data(), 64);
    benchmark::DoNotOptimize(out);
  }
}

void OursOpen(benchmark::State& state) {
  char sealed[89], out[65];
  EncryptAndAsciify(4, sealed, sizeof sealed, RandomBytes(64).data(), 64);
  for (auto _ : state) {
    DeasciifyAndDecrypt(4, out, sizeof out, sealed);
    benchmark::DoNotOptimize(out);
  }
}

void Des(benchmark::State& state, int direction) {
  std::string bytes = RandomBytes(64);
  auto key = kCredentialKey;
  for (auto _ : state) {
    DES_key_schedule schedule;
    auto chain = kChainStart;
    ::DES_set_key_unchecked(reinterpret_cast<const_DES_cblock*>(&key), &schedule);
    ::DES_ncbc_encrypt(Unsigned(bytes), Unsigned(bytes), 64, &schedule,
                       reinterpret_cast<DES_cblock*>(&chain), direction);
    benchmark::DoNotOptimize(bytes.data());
  }
}

// ---- Armour ----

void OursEncode(benchmark::State& state, int length) {
  std::string bytes = RandomBytes(static_cast<std::size_t>(length));
  std::string text(bytes.size() * 2, '\0');
  for (auto _ : state) {
    int room = static_cast<int>(text.size());
    benchmark::DoNotOptimize(ASCIIZEncode(length, bytes.data(), &room, text.data()));
  }
}

void OursDecode(benchmark::State& state, int length) {
  std::string bytes = RandomBytes(static_cast<std::size_t>(length));
  std::string text(bytes.size() * 2, '\0');
  int room = static_cast<int>(text.size());
  ASCIIZEncode(length, bytes.data(), &room, text.data());
  for (auto _ : state) {
    room = length;
    benchmark::DoNotOptimize(ASCIIZDecode(text.data(), &room, bytes.data()));
  }
}

void PortableEncode(benchmark::State& state, int length) {
  const std::string bytes = RandomBytes(static_cast<std::size_t>(length));
  std::string text(bytes.size() * 2, '\0');
  for (auto _ : state) {
    kPortableArmour.encode(Unsigned(bytes), bytes.size(), text.data());
    benchmark::DoNotOptimize(text.data());
  }
}

void PortableDecode(benchmark::State& state, int length) {
  std::string bytes = RandomBytes(static_cast<std::size_t>(length));
  std::string text(bytes.size() * 2, '\0');
  kPortableArmour.encode(Unsigned(bytes), bytes.size(), text.data());
  for (auto _ : state) {
    kPortableArmour.decode(text.data(), bytes.size(), Unsigned(bytes));
    benchmark::DoNotOptimize(bytes.data());
  }
}

void Base64Encode(benchmark::State& state, int length) {
  const std::string bytes = RandomBytes(static_cast<std::size_t>(length));
  std::string text(bytes.size() * 2, '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(::EVP_EncodeBlock(Unsigned(text), Unsigned(bytes), length));
  }
}

void Base64Decode(benchmark::State& state, int length) {
  std::string bytes = RandomBytes(static_cast<std::size_t>(length) + 2);
  std::string text(bytes.size() * 2, '\0');
  const int characters = ::EVP_EncodeBlock(Unsigned(text), Unsigned(bytes), length);
  for (auto _ : state) {
    benchmark::DoNotOptimize(::EVP_DecodeBlock(Unsigned(bytes), Unsigned(text), characters));
  }
}

// ---- Digests ----

void OursDigest(benchmark::State& state) {
  md5_ndmp login;
  char digest[16];
  for (auto _ : state) {
    login.CreateMD5Digest(digest);
    benchmark::DoNotOptimize(digest);
  }
}

void Md5Of128Bytes(benchmark::State& state) {
  const std::string bytes = RandomBytes(128);
  unsigned char digest[16];
  for (auto _ : state) {
    MD5_CTX md5;
    ::MD5_Init(&md5);
    ::MD5_Update(&md5, bytes.data(), bytes.size());
    ::MD5_Final(digest, &md5);
    benchmark::DoNotOptimize(digest);
  }
}

void OursHash(benchmark::State& state) {
  const std::string bytes = RandomBytes(kMegabyte);
  SecureHashAlgorithm hash;
  unsigned a, b, c, d, e;
  for (auto _ : state) {
    hash.hashBlock(bytes.data(), static_cast<unsigned>(bytes.size()));
    hash.finishHash(a, b, c, d, e);
    benchmark::DoNotOptimize(a);
  }
}

// The rule as it is told: a byte at a time, and a round after the other.
class PlainHash {
 public:
  void Add(const unsigned char* data, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
      block[used++] = data[i];
      if (used == kHashBlock) Compress();
    }
  }
  unsigned First() const { return words[0]; }

 private:
  void Compress() {
    unsigned w[80];
    std::memcpy(w, block, sizeof block);
    for (int t = 16; t < 80; ++t) w[t] = w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16];
    auto [a, b, c, d, e] = words;
    for (int t = 0; t < 80; ++t) {
      unsigned f, k;
      if (t < 20) {
        f = (b & c) | (~b & d), k = 0x5A827999;
      } else if (t < 40) {
        f = b ^ c ^ d, k = 0x6ED9EBA1;
      } else if (t < 60) {
        f = (b & c) | (b & d) | (c & d), k = 0x8F1BBCDC;
      } else {
        f = b ^ c ^ d, k = 0xCA62C1D6;
      }
      const unsigned next = std::rotl(a, 5) + f + e + w[t] + k;
      e = d, d = c, c = std::rotr(b, 2), b = a, a = next;
    }
    words = {words[0] + a, words[1] + b, words[2] + c, words[3] + d, words[4] + e};
    used = 0;
  }

  ChainingWords words = kFirstWords;
  unsigned char block[kHashBlock];
  std::size_t used = 0;
};

void PlainHashOfMegabyte(benchmark::State& state) {
  const std::string bytes = RandomBytes(kMegabyte);
  for (auto _ : state) {
    PlainHash hash;
    hash.Add(Unsigned(bytes), bytes.size());
    benchmark::DoNotOptimize(hash.First());
  }
}

void Sha1OfMegabyte(benchmark::State& state) {
  const std::string bytes = RandomBytes(kMegabyte);
  unsigned char digest[20];
  for (auto _ : state) {
    ::SHA1(Unsigned(bytes), bytes.size(), digest);
    benchmark::DoNotOptimize(digest);
  }
}

}  // namespace

BENCHMARK(OursSeal)->Name("Crypto/Seal64/ours");
BENCHMARK_CAPTURE(Des, Encipher, DES_ENCRYPT)->Name("Crypto/Seal64/limit_des");
BENCHMARK(OursOpen)->Name("Crypto/Open64/ours");
BENCHMARK_CAPTURE(Des, Decipher, DES_DECRYPT)->Name("Crypto/Open64/limit_des");
BENCHMARK_CAPTURE(OursEncode, Of64, 64)->Name("Crypto/Encode64/ours");
BENCHMARK_CAPTURE(Base64Encode, Of64, 64)->Name("Crypto/Encode64/peer_base64");
BENCHMARK_CAPTURE(OursDecode, Of64, 64)->Name("Crypto/Decode64/ours");
BENCHMARK_CAPTURE(Base64Decode, Of64, 64)->Name("Crypto/Decode64/peer_base64");
BENCHMARK_CAPTURE(OursEncode, OfMegabyte, kMegabyte)->Name("Crypto/Encode1M/ours");
BENCHMARK_CAPTURE(Base64Encode, OfMegabyte, kMegabyte)->Name("Crypto/Encode1M/peer_base64");
BENCHMARK_CAPTURE(OursDecode, OfMegabyte, kMegabyte)->Name("Crypto/Decode1M/ours");
BENCHMARK_CAPTURE(Base64Decode, OfMegabyte, kMegabyte)->Name("Crypto/Decode1M/peer_base64");
BENCHMARK_CAPTURE(PortableEncode, Portable, kMegabyte)->Name("Crypto/EncodePortable1M/ours");
BENCHMARK_CAPTURE(Base64Encode, BesidePortable, kMegabyte)
    ->Name("Crypto/EncodePortable1M/peer_base64");
BENCHMARK_CAPTURE(PortableDecode, Portable, kMegabyte)->Name("Crypto/DecodePortable1M/ours");
BENCHMARK_CAPTURE(Base64Decode, BesidePortable, kMegabyte)
    ->Name("Crypto/DecodePortable1M/peer_base64");
BENCHMARK(OursDigest)->Name("Crypto/Digest/ours");
BENCHMARK(Md5Of128Bytes)->Name("Crypto/Digest/limit_md5");
BENCHMARK(OursHash)->Name("Crypto/Hash1M/ours");
BENCHMARK(PlainHashOfMegabyte)->Name("Crypto/Hash1M/plain");
BENCHMARK(Sha1OfMegabyte)->Name("Crypto/Hash1M/peer_sha1");

BENCHMARK_MAIN();
