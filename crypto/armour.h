#ifndef VTCLASS_CRYPTO_ARMOUR_H
#define VTCLASS_CRYPTO_ARMOUR_H

#include <climits>
#include <cstddef>
#include <cstdint>
#include <optional>

/*
 * Bytes as printable text: each six bits become one character, from '0' to 'o'. Three bytes make
 * four characters; one or two that are left over make two or three.
 */
namespace vtclass::crypto {

inline constexpr char kFirstArmourCharacter = '0';

/* How many characters `length` bytes become, without a terminator. */
constexpr std::size_t ArmouredLength(std::size_t length) noexcept {
  return length / 3 * 4 + (length % 3 == 0 ? 0 : length % 3 + 1);
}

/* How many bytes `characters` characters hold. One character alone holds none. */
constexpr std::size_t DisarmedLength(std::size_t characters) noexcept {
  return characters / 4 * 3 + characters % 4 * 3 / 4;
}

/* The room that callers give for the armour of `length` bytes, which is up to four characters more
 * than it needs; nothing where no int holds it. Requires: not negative. */
constexpr std::optional<int> ArmourCapacity(int length) noexcept {
  constexpr int kMostGroups = (INT_MAX - 5) / 4;
  if (length / 3 > kMostGroups) return std::nullopt;
  return length / 3 * 4 + 5;
}

/* The two rules for one instruction set. */
struct Armour {
  /* Writes the ArmouredLength(length) characters of `length` bytes, no terminator. */
  void (*encode)(const std::uint8_t* bytes, std::size_t length, char* text) noexcept;

  /*
   * Writes `length` bytes. Reads as many characters as ArmouredLength says, whatever they are: of
   * one that is no armour only those bits are cut that leave the byte. `bytes` may not overlap the
   * text.
   */
  void (*decode)(const char* text, std::size_t length, std::uint8_t* bytes) noexcept;
};

extern const Armour kPortableArmour;
/* Requires: platform::cpu::HasSsse3(), HasAvx2(). */
extern const Armour kSsse3Armour;
extern const Armour kAvx2Armour;

/* The fastest that this machine runs; asked once, then remembered. Threads: any. */
const Armour& BestArmour() noexcept;

/*
 * The public operations on a text of which the length is known: -1 for what cannot be done, 0 with
 * the room needed in `*outLength` where it is too small, otherwise the count, also in `*outLength`.
 */
int EncodeArmour(int length, const char* data, int* outLength, char* out) noexcept;
int DecodeArmour(const char* text, std::size_t characters, int* outLength, char* out) noexcept;

}  // namespace vtclass::crypto

#endif
