#include "crypto/armour.h"

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "crypto/vectors.h"
#include "platform/cpu.h"
#include "vtclass/crypto.h"

namespace {

using namespace vtclass::crypto;

constexpr char kCanary = '\x5E';
constexpr int kLongest = 1100;

std::vector<const Armour*> Forms() {
  std::vector<const Armour*> forms = {&kPortableArmour};
  if (vtclass::platform::cpu::HasSsse3()) forms.push_back(&kSsse3Armour);
  if (vtclass::platform::cpu::HasAvx2()) forms.push_back(&kAvx2Armour);
  return forms;
}

std::string Encoded(const Armour& armour, const std::string& bytes) {
  const std::vector<std::uint8_t> in(bytes.begin(), bytes.end());
  std::string text(ArmouredLength(bytes.size()) + 40, kCanary);
  armour.encode(in.data(), in.size(), text.data());
  EXPECT_EQ(text.substr(text.size() - 40), std::string(40, kCanary)) << bytes.size();
  return text.substr(0, text.size() - 40);
}

std::string Decoded(const Armour& armour, const std::string& text) {
  const std::vector<char> in(text.begin(), text.end());
  std::string bytes(DisarmedLength(text.size()) + 40, kCanary);
  armour.decode(in.data(), bytes.size() - 40, reinterpret_cast<std::uint8_t*>(bytes.data()));
  EXPECT_EQ(bytes.substr(bytes.size() - 40), std::string(40, kCanary)) << text.size();
  return bytes.substr(0, bytes.size() - 40);
}

// The rule of the decoder as it is told, for any characters.
std::string DecodedPlainly(const std::string& text) {
  const auto value = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) - 48 : 0;
  };
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); i += 4) {
    bytes += static_cast<char>(value(i) << 2 | (value(i + 1) >> 4 & 3));
    bytes += static_cast<char>(value(i + 1) << 4 | (value(i + 2) >> 2 & 15));
    bytes += static_cast<char>(value(i + 2) << 6 | value(i + 3));
  }
  return bytes.substr(0, text.size() * 3 >> 2);
}

TEST(Armour, IsWhatOthersCompute_InEveryForm) {
  for (const TextVector& vector : kTextVectors) {
    for (const Armour* form : Forms()) {
      EXPECT_EQ(Fingerprint(Encoded(*form, MakeMessage(vector.length))), vector.armoured)
          << vector.length;
    }
  }
}

TEST(Armour, OfEveryLength_ComesBack_InEveryForm) {
  for (int length = 0; length <= kLongest; ++length) {
    const std::string bytes = MakeMessage(length);
    const std::string text = Encoded(kPortableArmour, bytes);
    for (const Armour* form : Forms()) {
      EXPECT_EQ(Encoded(*form, bytes), text) << length;
      EXPECT_EQ(Decoded(*form, text), bytes) << length;
    }
  }
}

TEST(Armour, OfAnyCharacters_IsDecodedAsTheRuleSays_InEveryForm) {
  std::mt19937 random(7);
  for (std::size_t length = 0; length < 300; ++length) {
    std::string text(length, '\0');
    for (char& each : text) each = static_cast<char>(random());
    for (const Armour* form : Forms()) EXPECT_EQ(Decoded(*form, text), DecodedPlainly(text));
  }
}

// A page of memory that no readable one follows.
class GuardedPage {
 public:
  GuardedPage()
      : memory(static_cast<char*>(::VirtualAlloc(nullptr, 2 * kSize, MEM_RESERVE, PAGE_NOACCESS))) {
    EXPECT_TRUE(::VirtualAlloc(memory, kSize, MEM_COMMIT, PAGE_READWRITE));
  }
  ~GuardedPage() { ::VirtualFree(memory, 0, MEM_RELEASE); }
  GuardedPage(const GuardedPage&) = delete;
  GuardedPage& operator=(const GuardedPage&) = delete;

  static constexpr std::size_t kSize = 4096;
  char* End() const { return memory + kSize; }

 private:
  char* memory;
};

// "count length out" of an operation with this room.
template <typename Operation>
std::string Ask(int room, Operation operation) {
  std::string out(8, kCanary);
  const int count = operation(&room, out.data());
  return std::to_string(count) + " " + std::to_string(room) + " " + out;
}

std::string Untouched(int count, int room) {
  return std::to_string(count) + " " + std::to_string(room) + " " + std::string(8, kCanary);
}

TEST(ASCIIZEncode, AsksForItsRoom_AndTellsWhatItWrote) {
  const struct {
    int length, room;
    std::string expected;
  } cases[] = {
      {1, 5, std::string("3 3 00\0^^^^^", 12)},
      {1, 4, Untouched(0, 5)},
      {3, 9, std::string("5 5 0000\0^^^", 12)},
      {3, 8, Untouched(0, 9)},
      {2, 5, std::string("4 4 000\0^^^^", 12)},
      {64, 0, Untouched(0, 89)},
      {64, -5, Untouched(0, 89)},
      {0, 9, Untouched(-1, 9)},
      {-3, 9, Untouched(-1, 9)},
      {1610612732, 8, Untouched(0, 2147483645)},
      {1610612733, 8, Untouched(-1, 8)},
      {INT_MAX, 8, Untouched(-1, 8)},
  };
  char zeros[8] = {};
  for (const auto& [length, room, expected] : cases) {
    EXPECT_EQ(Ask(room, [&](int* outLength,
                            char* out) { return ASCIIZEncode(length, zeros, outLength, out); }),
              expected)
        << length;
  }
  int room = 8;
  EXPECT_EQ(ASCIIZEncode(1, nullptr, &room, zeros), -1);
  EXPECT_EQ(ASCIIZEncode(1, zeros, &room, nullptr), -1);
  EXPECT_EQ(ASCIIZEncode(1, zeros, nullptr, zeros), -1);
}

TEST(ASCIIZDecode, TellsItsCount_AndWritesNoMore) {
  const struct {
    const char* text;
    int room;
    std::string expected;
  } cases[] = {
      {"I", 8, Untouched(-1, 8)},   {"", 8, Untouched(-1, 8)},    {nullptr, 8, Untouched(-1, 8)},
      {"H@", 1, "1 1 a^^^^^^^"},    {"HF8", 8, "2 2 ab^^^^^^"},   {"HF9S", 3, "3 3 abc^^^^^"},
      {"HF9SI", 8, "3 3 abc^^^^^"}, {"HF9S", 2, Untouched(0, 3)}, {"HF9S", -1, Untouched(0, 3)},
  };
  for (const auto& [text, room, expected] : cases) {
    std::string in = text ? text : "";
    const auto decode = [&](int* outLength, char* out) {
      return ASCIIZDecode(text ? in.data() : nullptr, outLength, out);
    };
    EXPECT_EQ(Ask(room, decode), expected) << (text ? text : "null");
  }
  char text[] = "HF9S";
  int room = 8;
  EXPECT_EQ(ASCIIZDecode(text, &room, nullptr), -1);
  EXPECT_EQ(ASCIIZDecode(text, nullptr, text), -1);
}

// Wherever the text lies in its last page, nothing behind that is touched.
TEST(ASCIIZDecode, ReadsNoPageBehindTheText) {
  const GuardedPage page;
  for (std::size_t length = 2; length < 70; ++length) {
    for (std::size_t behind = 0; behind < 20; ++behind) {
      char* const text = page.End() - behind - length - 1;
      std::memset(page.End() - GuardedPage::kSize, '\0', GuardedPage::kSize);
      std::memset(text, '5', length);
      char out[64];
      int room = sizeof out;
      ASSERT_EQ(ASCIIZDecode(text, &room, out), static_cast<int>(length * 3 / 4)) << length;
      std::memset(page.End() - GuardedPage::kSize, '5', GuardedPage::kSize);
      text[length] = '\0';
      room = sizeof out;
      ASSERT_EQ(ASCIIZDecode(text, &room, out), static_cast<int>(length * 3 / 4)) << length;
    }
  }
}

TEST(DeasciifyAndDecrypt, ReadsOneThousandAndTwentyFourCharactersAtMost) {
  const GuardedPage page;
  std::memset(page.End() - 1024, '5', 1024);
  char out[768];
  EXPECT_TRUE(DeasciifyAndDecrypt(4, out, sizeof out, page.End() - 1024));
}

}  // namespace
