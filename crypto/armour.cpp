#include "crypto/armour.h"

#include <atomic>
#include <cstring>

#include "platform/cpu.h"

namespace vtclass::crypto {

namespace {

constexpr std::uint64_t kFirstCharacters = 0x3030303030303030;
constexpr std::size_t kStepBytes = 6;

// One instruction: compilers know the pattern.
constexpr std::uint64_t Reversed(std::uint64_t word) noexcept {
  word = (word >> 8 & 0x00FF00FF00FF00FF) | (word & 0x00FF00FF00FF00FF) << 8;
  word = (word >> 16 & 0x0000FFFF0000FFFF) | (word & 0x0000FFFF0000FFFF) << 16;
  return word >> 32 | word << 32;
}

std::uint64_t LoadBigEndian(const void* from) noexcept {
  std::uint64_t word;
  std::memcpy(&word, from, sizeof word);
  return Reversed(word);
}

void StoreBigEndian(std::uint64_t word, void* to) noexcept {
  word = Reversed(word);
  std::memcpy(to, &word, sizeof word);
}

// The upper 48 bits become eight times six bits, each in a byte of its own.
constexpr std::uint64_t Spread(std::uint64_t bits) noexcept {
  bits = (bits >> 8 & 0x00FFFFFF00000000) | (bits >> 16 & 0x0000000000FFFFFF);
  bits = (bits & 0x00FFF00000FFF000) << 4 | (bits & 0x00000FFF00000FFF);
  return (bits & 0x0FC00FC00FC00FC0) << 2 | (bits & 0x003F003F003F003F);
}

// The way back, into the upper 48 bits. The fourth byte of four brings its two upper bits along.
constexpr std::uint64_t Gather(std::uint64_t values) noexcept {
  const std::uint64_t unmasked = values & 0x000000C0000000C0;
  std::uint64_t bits = (values & 0x3F003F003F003F00) >> 2 | (values & 0x003F003F003F003F);
  bits = (bits & 0x0FFF00000FFF0000) >> 4 | (bits & 0x00000FFF00000FFF);
  bits |= unmasked;
  return (bits << 8 & 0xFFFFFF0000000000) | (bits << 16 & 0x000000FFFFFF0000);
}

// Byte by byte, modulo 256: nothing is borrowed from a neighbour.
constexpr std::uint64_t ValuesOf(std::uint64_t characters) noexcept {
  constexpr std::uint64_t kTops = 0x8080808080808080;
  return ((characters | kTops) - kFirstCharacters) ^ (~characters & kTops);
}

char CharacterOf(int value) noexcept {
  return static_cast<char>(kFirstArmourCharacter + (value & 0x3F));
}

int ValueOf(char character) noexcept {
  return static_cast<std::uint8_t>(character - kFirstArmourCharacter);
}

void EncodePortable(const std::uint8_t* bytes, std::size_t length, char* text) noexcept {
  // Six bytes at a time, as long as eight may be read.
  for (; length >= 8; length -= kStepBytes, bytes += kStepBytes, text += 8) {
    StoreBigEndian(Spread(LoadBigEndian(bytes)) + kFirstCharacters, text);
  }
  for (; length >= 3; length -= 3, bytes += 3, text += 4) {
    text[0] = CharacterOf(bytes[0] >> 2);
    text[1] = CharacterOf(bytes[0] << 4 | bytes[1] >> 4);
    text[2] = CharacterOf(bytes[1] << 2 | bytes[2] >> 6);
    text[3] = CharacterOf(bytes[2]);
  }
  if (length == 0) return;
  const int second = length == 2 ? bytes[1] : 0;
  text[0] = CharacterOf(bytes[0] >> 2);
  text[1] = CharacterOf(bytes[0] << 4 | second >> 4);
  if (length == 2) text[2] = CharacterOf(second << 2);
}

void DecodePortable(const char* text, std::size_t length, std::uint8_t* bytes) noexcept {
  // Eight characters at a time, as long as eight bytes may be written.
  for (; length >= 8; length -= kStepBytes, bytes += kStepBytes, text += 8) {
    StoreBigEndian(Gather(ValuesOf(LoadBigEndian(text))), bytes);
  }
  const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
  for (;; length -= 3, bytes += 3, text += 4) {
    if (length < 1) return;
    bytes[0] = byte(ValueOf(text[0]) << 2 | (ValueOf(text[1]) >> 4 & 3));
    if (length < 2) return;
    bytes[1] = byte(ValueOf(text[1]) << 4 | (ValueOf(text[2]) >> 2 & 15));
    if (length < 3) return;
    bytes[2] = byte(ValueOf(text[2]) << 6 | ValueOf(text[3]));
  }
}

const Armour& Fastest() noexcept {
  if (platform::cpu::HasAvx2()) return kAvx2Armour;
  return platform::cpu::HasSsse3() ? kSsse3Armour : kPortableArmour;
}

std::atomic<const Armour*> best;

}  // namespace

const Armour kPortableArmour = {&EncodePortable, &DecodePortable};

const Armour& BestArmour() noexcept {
  const Armour* armour = best.load(std::memory_order_relaxed);
  if (armour == nullptr) {
    armour = &Fastest();
    best.store(armour, std::memory_order_relaxed);
  }
  return *armour;
}

int EncodeArmour(int length, const char* data, int* outLength, char* out) noexcept {
  if (length <= 0 || !data || !outLength || !out) return -1;
  const std::optional<int> capacity = ArmourCapacity(length);
  if (!capacity) return -1;
  if (*outLength < *capacity) {
    *outLength = *capacity;
    return 0;
  }
  const auto bytes = static_cast<std::size_t>(length);
  BestArmour().encode(reinterpret_cast<const std::uint8_t*>(data), bytes, out);
  out[ArmouredLength(bytes)] = '\0';
  return *outLength = static_cast<int>(ArmouredLength(bytes) + 1);
}

int DecodeArmour(const char* text, std::size_t characters, int* outLength, char* out) noexcept {
  if (!text || !outLength || !out) return -1;
  const std::size_t length = DisarmedLength(characters);
  if (length < 1 || length > INT_MAX) return -1;
  const bool fits = *outLength >= 0 && static_cast<std::size_t>(*outLength) >= length;
  *outLength = static_cast<int>(length);
  if (!fits) return 0;
  BestArmour().decode(text, length, reinterpret_cast<std::uint8_t*>(out));
  return *outLength;
}

}  // namespace vtclass::crypto
