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
    std::string text;
    while (text.size() < length) text += static_cast<char>(random());
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

struct Answer {
  int count, outLength;
  std::string out;
  bool operator==(const Answer&) const = default;
};

void PrintTo(const Answer& answer, std::ostream* stream) {
  *stream << answer.count << " " << answer.outLength << " '" << answer.out << "'";
}

template <typename Operation>
Answer Ask(int room, Operation operation) {
  Answer answer = {0, room, std::string(8, kCanary)};
  answer.count = operation(&answer.outLength, answer.out.data());
  return answer;
}

TEST(ASCIIZEncode, AsksForItsRoom_AndTellsWhatItWrote) {
  const std::string untouched(8, kCanary);
  const struct {
    int length, room;
    Answer expected;
  } cases[] = {
      {1, 5, {3, 3, std::string("00\0^^^^^", 8)}},
      {1, 4, {0, 5, untouched}},
      {3, 9, {5, 5, std::string("0000\0^^^", 8)}},
      {3, 8, {0, 9, untouched}},
      {2, 5, {4, 4, std::string("000\0^^^^", 8)}},
      {64, 0, {0, 89, untouched}},
      {64, -5, {0, 89, untouched}},
      {0, 9, {-1, 9, untouched}},
      {-3, 9, {-1, 9, untouched}},
      {1610612732, 8, {0, 2147483645, untouched}},
      {1610612733, 8, {-1, 8, untouched}},
      {INT_MAX, 8, {-1, 8, untouched}},
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
  const std::string untouched(8, kCanary);
  const struct {
    const char* text;
    int room;
    Answer expected;
  } cases[] = {
      {"I", 8, {-1, 8, untouched}},     {"", 8, {-1, 8, untouched}},
      {nullptr, 8, {-1, 8, untouched}}, {"H@", 1, {1, 1, "a^^^^^^^"}},
      {"HF8", 8, {2, 2, "ab^^^^^^"}},   {"HF9S", 3, {3, 3, "abc^^^^^"}},
      {"HF9SI", 8, {3, 3, "abc^^^^^"}}, {"HF9S", 2, {0, 3, untouched}},
      {"HF9S", -1, {0, 3, untouched}},
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

TEST(ASCIIZDecode, SixtyFourBytes_AreEightySixCharacters) {
  std::string bytes = MakeMessage(64), text(89, kCanary), back(64, kCanary);
  int length = 89;
  EXPECT_EQ(ASCIIZEncode(64, bytes.data(), &length, text.data()), 87);
  length = 64;
  EXPECT_EQ(ASCIIZDecode(text.data(), &length, back.data()), 64);
  EXPECT_EQ(back, bytes);
}

}  // namespace
