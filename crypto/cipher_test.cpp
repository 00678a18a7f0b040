#include "crypto/cipher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "crypto/vectors.h"
#include "tests/support/allocations.h"

namespace {

using namespace vtclass::crypto;
using vtclass::test::TryEachAllocation;

constexpr short kDecipher = 500;

signed char* Bytes(std::string& text) { return reinterpret_cast<signed char*>(text.data()); }

short Length(const std::string& text) { return static_cast<short>(text.size()); }

// `text` through a cipher of its own, in pieces of `piece` bytes.
std::string Through(short algorithm, short direction, std::string text, std::string key,
                    std::size_t piece = 32000) {
  Encrypto cipher(algorithm, direction, Bytes(key), Length(key));
  for (std::size_t at = 0; at < text.size(); at += piece) {
    const std::size_t length = std::min(piece, text.size() - at);
    EXPECT_EQ(cipher.Encrypt(Bytes(text) + at, static_cast<short>(length)), 0);
  }
  return text;
}

TEST(EU_Open, TellsBlockSizeOrWhyNot) {
  const struct {
    short algorithm, keyLength;
    bool hasKey;
    short blockSize, error;
  } cases[] = {
      {0, 0, false, -7, 0},     {1, 0, false, 1, 0},     {3, 1, true, 1, 0},
      {3, 0, true, -7, -602},   {3, -1, true, -7, -602}, {3, 1, false, -7, -602},
      {4, 0, true, 8, 0},       {4, -1, true, 8, 0},     {4, 8, false, -7, -602},
      {2, 8, true, -7, -600},   {5, 8, true, -7, -600},  {-1, 8, true, -7, -600},
      {260, 8, true, -7, -600},
  };
  std::string key = "12345678";
  for (const auto& [algorithm, keyLength, hasKey, blockSize, error] : cases) {
    short size = -7, status = -7;
    EU_HAND* const hand =
        EU_Open(algorithm, kEncipher, hasKey ? Bytes(key) : nullptr, keyLength, &size, &status);
    EXPECT_EQ(size, blockSize) << algorithm << " " << keyLength;
    EXPECT_EQ(status, error) << algorithm << " " << keyLength;
    EXPECT_EQ(hand == nullptr, error != 0);
    EU_Close(hand);
  }
}

TEST(EU_Open, WithoutMemory_GivesNullAndTheStatus) {
  std::string key = "key";
  for (const short algorithm : std::initializer_list<short>{0, 1, 3, 4}) {
    EU_HAND* hand = nullptr;
    short error = 0;
    const short length = algorithm == 3 ? 3 : 8;
    const auto open = [&] {
      hand = EU_Open(algorithm, kEncipher, Bytes(key), length, nullptr, &error);
    };
    const auto check = [&](bool failed) {
      EXPECT_EQ(hand == nullptr, failed);
      EXPECT_EQ(error, failed ? -601 : 0);
      EU_Close(hand);
    };
    EXPECT_EQ(TryEachAllocation(open, check), algorithm == 3 ? 2 : 1);
  }
}

TEST(EU_Encrypt, RefusesWhatItCannotDo_AndLeavesTheData) {
  const struct {
    short algorithm, length;
    bool hasData;
    short status;
  } cases[] = {
      {0, 5, false, 0},    {0, 5, true, 0},      {1, 0, false, 0},    {1, -4, true, 0},
      {1, 1, false, -602}, {3, 0, false, 0},     {3, -4, true, 0},    {3, 1, false, -602},
      {4, 12, true, -603}, {4, 0, true, -603},   {4, -8, true, -603}, {4, 1, true, -603},
      {4, 8, false, -602}, {4, 12, false, -602},
  };
  std::string key = "12345678";
  for (const auto& [algorithm, length, hasData, status] : cases) {
    for (const short direction : {kEncipher, kDecipher}) {
      Encrypto cipher(algorithm, direction, Bytes(key), 8);
      std::string data = MakeMessage(16);
      EXPECT_EQ(cipher.Encrypt(hasData ? Bytes(data) : nullptr, length), status) << algorithm;
      EXPECT_EQ(cipher.GetLastError(), status);
      EXPECT_EQ(data, MakeMessage(16));
    }
  }
  EXPECT_EQ(EU_Encrypt(nullptr, Bytes(key), 8), -602);
  EXPECT_EQ(EU_ResetHand(nullptr), -602);
  EU_Close(nullptr);
}

TEST(EU_Encrypt, WithoutMemory_LeavesTheData) {
  std::string key = "12345678", data;
  Encrypto cipher(4, kDecipher, Bytes(key), 8);
  short status = 0;
  TryEachAllocation([&] { status = cipher.Encrypt(Bytes(data = MakeMessage(16)), 16); },
                    [&](bool failed) {
                      EXPECT_EQ(status, failed ? -602 : 0);
                      EXPECT_EQ(data == MakeMessage(16), failed);
                    });
}

TEST(EU_Encrypt, IsWhatOthersCompute_AndComesBack) {
  for (const TextVector& vector : kTextVectors) {
    const std::string text = MakeMessage(vector.length), key = MakeMessage(vector.length % 37 + 1);
    const std::string reversed = Through(1, kEncipher, text, "");
    const std::string substituted = Through(3, kEncipher, text, key);
    EXPECT_EQ(Fingerprint(reversed), vector.reversed) << vector.length;
    EXPECT_EQ(Fingerprint(substituted), vector.substituted) << vector.length;
    EXPECT_EQ(Through(1, kDecipher, reversed, ""), text);
    // The chain goes on from piece to piece, and any other direction deciphers.
    EXPECT_EQ(Through(3, kEncipher, text, key, 7), substituted);
    EXPECT_EQ(Through(3, 101, substituted, key, 5), text);
    const std::string blocks = MakeMessage((vector.length + 8) / 8 * 8);
    EXPECT_EQ(Through(4, 0, Through(4, kEncipher, blocks, "12345678"), "12345678"), blocks);
  }
}

TEST(EU_Encrypt, TakesTheLongestTextOfEachCipher) {
  for (const short algorithm : std::initializer_list<short>{1, 3, 4}) {
    const std::string text = MakeMessage(algorithm == 4 ? 32760 : 32767);
    const std::string made = Through(algorithm, kEncipher, text, "12345678", 32767);
    EXPECT_NE(made, text);
    EXPECT_EQ(Through(algorithm, kDecipher, made, "12345678", 32767), text);
  }
}

// DES in the standard's own words: parity bits are nothing, and the chain starts at the same place.
TEST(EU_Encrypt, Blocks_BeginAnewInEveryCall) {
  const std::string blocks = MakeMessage(16);
  const std::string made = Through(4, kEncipher, blocks, "12345678");
  EXPECT_EQ(Through(4, kEncipher, blocks, "03254769"), made);
  EXPECT_EQ(Through(4, kEncipher, blocks.substr(0, 8), "12345678"), made.substr(0, 8));
  std::string key = "12345678", again = blocks;
  Encrypto cipher(4, kEncipher, Bytes(key), 8);
  for (int i = 0; i < 2; ++i) {
    again = blocks;
    EXPECT_EQ(cipher.Encrypt(Bytes(again), 16), 0);
    EXPECT_EQ(again, made);
  }
}

TEST(EU_Encrypt, Substitution_CountsItsPositionIn16Bits) {
  // Of the chain only the byte before matters: the same byte in the same state tells the key's.
  const std::string key = "abcdefg";
  std::string text(65536 + 100, '\0');
  const std::string made = Through(3, kEncipher, text, key);
  std::uint8_t chain = 0;
  for (std::size_t i = 0; i < made.size(); ++i) {
    chain = kSubstitutes[static_cast<std::uint8_t>(key[i % 65536 % key.size()]) ^ chain];
    ASSERT_EQ(static_cast<std::uint8_t>(made[i]), chain) << i;
  }
}

TEST(EU_ResetHand, BeginsAnew) {
  std::string key = "abc", first = MakeMessage(10), second = first;
  Encrypto cipher(3, kEncipher, Bytes(key), 3);
  key = "xyz";  // the cipher has a copy
  cipher.Encrypt(Bytes(first), 10);
  EXPECT_EQ(cipher.Reset(), 0);
  cipher.Encrypt(Bytes(second), 10);
  EXPECT_EQ(second, first);
  EXPECT_EQ(first, Through(3, kEncipher, MakeMessage(10), "abc"));

  short error = 0;
  EU_HAND* const hand = EU_Open(4, kEncipher, Bytes(key = "12345678"), 8, nullptr, &error);
  EU_Encrypt(hand, Bytes(first = MakeMessage(8)), 8);
  EXPECT_NE(std::ranges::count(hand->schedule, 0u), std::ssize(hand->schedule));
  EXPECT_EQ(EU_ResetHand(hand), 0);
  EXPECT_EQ(std::ranges::count(hand->schedule, 0u), std::ssize(hand->schedule));
  EU_Close(hand);
}

TEST(Encrypto, OfAnUnknownAlgorithm_KeepsItsNumberAndRefusesAll) {
  std::string key = "12345678", data = MakeMessage(8);
  Encrypto none(7, kEncipher, Bytes(key), 8);
  EXPECT_EQ(none.GetAlgorithm(), 7);
  EXPECT_EQ(none.GetLastError(), -600);
  EXPECT_EQ(none.Encrypt(Bytes(data), 8), -602);
}

}  // namespace
