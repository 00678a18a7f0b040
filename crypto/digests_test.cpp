#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>

#include "crypto/block_hash_sha_rounds.h"
#include "crypto/vectors.h"
#include "platform/cpu.h"
#include "tests/support/import_hook.h"
#include "vtclass/crypto.h"

namespace {

using namespace vtclass::crypto;
using vtclass::test::Replace;

std::string Hex(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    for (const int half : {byte >> 4 & 15, byte & 15}) text += "0123456789abcdef"[half];
  }
  return text;
}

std::string Digest(md5_ndmp& login) {
  std::string digest(16, '?');
  login.CreateMD5Digest(digest.data());
  return Hex(digest);
}

std::string UserName(md5_ndmp& login) {
  std::string name(40, '^');
  login.GetMD5UserName(name.data());
  EXPECT_EQ(name[std::strlen(name.c_str()) + 1], '^');
  return name.c_str();
}

TEST(md5_ndmp, DigestIsWhatOthersCompute_ForEveryPassword) {
  md5_ndmp login;
  login.SetMD5Challenge(MakeMessage(64).data());
  for (int length = 0; length < 32; ++length) {
    std::string password = MakePassword(length);
    login.SetMD5Password(password.data(), password.size());
    const auto expected = kLoginVectors[static_cast<std::size_t>(length)];
    EXPECT_EQ(Digest(login), expected) << length;
    EXPECT_EQ(Hex({reinterpret_cast<const char*>(&login) + 128, 16}), expected);
  }
}

TEST(md5_ndmp, KeepsThirtyOneBytes) {
  std::string longest = MakePassword(64);
  const struct {
    const char* text;
    std::size_t length;
    std::string kept;
  } cases[] = {
      {longest.data(), 40, longest.substr(0, 31)},
      {longest.data(), 32, longest.substr(0, 31)},
      {longest.data(), 31, longest.substr(0, 31)},
      {longest.data(), ~0ull, longest.substr(0, 31)},
      {longest.data(), 3, longest.substr(0, 3)},
      {longest.data(), 0, ""},
      {nullptr, 5, ""},
      {"a\0b", 3, "a"},
  };
  for (const auto& [text, length, kept] : cases) {
    md5_ndmp login, other;
    char challenge[64];
    login.GetMD5Challenge(challenge);
    other.SetMD5Challenge(challenge);
    login.SetMD5UserName(const_cast<char*>(text), length);
    EXPECT_EQ(UserName(login), kept) << length;
    login.SetMD5Password(const_cast<char*>(text), length);
    other.SetMD5Password(const_cast<char*>(kept.data()), kept.size());
    EXPECT_EQ(Digest(login), Digest(other)) << length;
  }
}

TEST(md5_ndmp, BeginsWithItsOwnCredentials_AndARandomChallenge) {
  unsigned seed = 0;
  int drawn = 0;
  const auto seeds = Replace<decltype(std::srand)>("srand", [&](unsigned value) { seed = value; });
  const auto draws = Replace<decltype(std::rand)>("rand", [&] { return 0x7F00 + drawn++; });
  const auto times =
      Replace<decltype(::_time64)>("_time64", [](auto) { return std::time_t{0x1'2345'6789}; });
  const auto login = std::make_unique<md5_ndmp>();
  std::string challenge(64, '?'), expected;
  login->GetMD5Challenge(challenge.data());
  for (int i = 0; i < 32; ++i) (expected += static_cast<char>(i)) += '\x7F';
  EXPECT_EQ(challenge, expected);
  EXPECT_EQ(seed, 0x23456789u);
  EXPECT_EQ(UserName(*login).size(), 16u);
  // The password is none that a caller would set, and the digest is clear.
  const std::string own = Digest(*login);
  login->SetMD5Password(nullptr, 0);
  EXPECT_NE(Digest(*login), own);
  const md5_ndmp fresh;
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&fresh) + 128, 16), std::string(16, '\0'));
}

TEST(sha256, HoldsAChallenge_AndIsEmptyAtFirst) {
  sha256 fields;
  std::string name(4, '^'), challenge(64, '^');
  fields.GetSHA256UserName(name.data());
  EXPECT_EQ(name, std::string("\0^^^", 4));
  fields.GetSHA256Challenge(challenge.data());
  EXPECT_EQ(challenge, std::string(64, '\0'));
  fields.SetSHA256Challenge(MakeMessage(64).data());
  fields.GetSHA256Challenge(challenge.data());
  EXPECT_EQ(challenge, MakeMessage(64));
}

std::array<unsigned, 5> Finish(SecureHashAlgorithm& hash) {
  std::array<unsigned, 5> words = {};
  hash.finishHash(words[0], words[1], words[2], words[3], words[4]);
  return words;
}

TEST(SecureHashAlgorithm, IsWhatOthersCompute_HoweverTheTextIsSplit) {
  std::mt19937 random(11);
  SecureHashAlgorithm hash;  // one for all: finishing begins anew
  for (const TextVector& vector : kTextVectors) {
    const std::string text = MakeMessage(vector.length);
    hash.hashBlock(text.data(), static_cast<unsigned>(text.size()));
    EXPECT_EQ(Finish(hash), vector.hash) << vector.length;
    for (const unsigned most : {1u, 63u, 64u, 65u, 200u}) {
      for (std::size_t at = 0; at < text.size();) {
        const std::size_t piece = std::min<std::size_t>(random() % most + 1, text.size() - at);
        hash.hashBlock(text.data() + at, static_cast<unsigned>(piece));
        hash.hashBlock(nullptr, 0);
        at += piece;
      }
      EXPECT_EQ(Finish(hash), vector.hash) << vector.length << " " << most;
    }
  }
}

TEST(SecureHashAlgorithm, CountsIn32Bits) {
  const std::string text = MakeMessage(128);
  SecureHashAlgorithm hash;
  // As if four gigabytes but one block had been added, each of them with no effect on the words.
  constexpr std::uint32_t kSoFar = 0u - 64;
  std::memcpy(reinterpret_cast<char*>(&hash) + 96, &kSoFar, sizeof kSoFar);
  hash.hashBlock(text.data(), 128);
  std::string last(64, '\0');
  last[0] = 1;
  last[56] = 64;
  ChainingWords words = kFirstWords;
  CompressPortable(words, reinterpret_cast<const std::uint8_t*>((text + last).data()), 3);
  EXPECT_EQ(Finish(hash), words);
}

// The processor's two instructions, as its manual defines them.
struct PlainInstructions {
  using Words = std::array<std::uint32_t, 4>;  // the lowest first

  template <std::size_t quarter>
  static __m128i Rounds(__m128i abcd, __m128i e) {
    constexpr std::uint32_t kConstants[] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};
    auto [d, c, b, a] = std::bit_cast<Words>(abcd);
    const Words added = std::bit_cast<Words>(e);
    std::uint32_t fifth = 0;  // the first word of `e` has it already
    for (std::size_t i = 0; i < 4; ++i) {
      const std::uint32_t f = quarter == 0   ? (b & c) ^ (~b & d)
                              : quarter == 2 ? (b & c) ^ (b & d) ^ (c & d)
                                             : b ^ c ^ d;
      const std::uint32_t next = f + std::rotl(a, 5) + added[3 - i] + fifth + kConstants[quarter];
      fifth = d;
      d = c;
      c = std::rotl(b, 30);
      b = a;
      a = next;
    }
    return std::bit_cast<__m128i>(Words{d, c, b, a});
  }

  static __m128i NextE(__m128i a, __m128i words) {
    auto made = std::bit_cast<Words>(words);
    made[3] += std::rotl(std::bit_cast<Words>(a)[3], 30);
    return std::bit_cast<__m128i>(made);
  }
};

void CompareWithPortable(CompressFunction compress) {
  for (const std::size_t count : {0u, 1u, 2u, 17u}) {
    const std::string blocks = MakeMessage(static_cast<int>(64 * count));
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(blocks.data());
    ChainingWords expected = kFirstWords, made = kFirstWords;
    CompressPortable(expected, bytes, count);
    compress(made, bytes, count);
    EXPECT_EQ(made, expected) << count;
  }
}

TEST(SecureHashAlgorithm, FormForTheProcessorsInstructions_GivesTheSame) {
  CompareWithPortable(&ShaRounds<PlainInstructions>::Compress);
}

TEST(SecureHashAlgorithm, ByTheProcessorsInstructions_GivesTheSame) {
  if (!vtclass::platform::cpu::HasSha()) {
    GTEST_SKIP() << "this processor has no SHA instructions";
  }
  CompareWithPortable(&CompressSha);
}

}  // namespace
