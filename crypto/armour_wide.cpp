#include "crypto/armour.h"
#include "platform/cpu.h"

namespace vtclass::crypto {

namespace {

// Both rules work in lanes of 32 bits: three bytes there, four characters here. The wide steps read
// and write only what belongs to the text; what they leave over goes to the narrower twin.

constexpr std::size_t kBytes16 = 12, kCharacters16 = 16;
constexpr std::size_t kBytes32 = 24, kCharacters32 = 32;

VTCLASS_TARGET("ssse3") inline __m128i Load16(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

VTCLASS_TARGET("ssse3") inline void Store16(__m128i value, void* to) {
  _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

VTCLASS_TARGET("avx2") inline __m256i Load32(const void* from) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

VTCLASS_TARGET("avx2") inline void Store32(__m256i value, void* to) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), value);
}

// Where a lane's bytes b0 b1 b2 come from: as b1 b0 b2 b1, so that each six bits lie within one of
// its two words.
VTCLASS_TARGET("ssse3") inline __m128i EncodeOrder() {
  return _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
}

// The three bytes of a lane in their order, upper byte first, and the empty ones behind all.
VTCLASS_TARGET("ssse3") inline __m128i DecodeOrder() {
  return _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
}

// A multiplication shifts each word by a distance of its own.
VTCLASS_TARGET("ssse3") inline __m128i EncodeStep(__m128i bytes) {
  const __m128i pairs = _mm_shuffle_epi8(bytes, EncodeOrder());
  const __m128i even =
      _mm_mulhi_epu16(_mm_and_si128(pairs, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
  const __m128i odd =
      _mm_mullo_epi16(_mm_and_si128(pairs, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
  return _mm_add_epi8(_mm_or_si128(even, odd), _mm_set1_epi8(kFirstArmourCharacter));
}

VTCLASS_TARGET("avx2") inline __m256i EncodeStep(__m256i bytes) {
  const __m256i pairs = _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(EncodeOrder()));
  const __m256i even = _mm256_mulhi_epu16(_mm256_and_si256(pairs, _mm256_set1_epi32(0x0FC0FC00)),
                                          _mm256_set1_epi32(0x04000040));
  const __m256i odd = _mm256_mullo_epi16(_mm256_and_si256(pairs, _mm256_set1_epi32(0x003F03F0)),
                                         _mm256_set1_epi32(0x01000010));
  return _mm256_add_epi8(_mm256_or_si256(even, odd), _mm256_set1_epi8(kFirstArmourCharacter));
}

// Four values of six bits into 24 bits of a lane, and the two upper bits of the fourth with them.
VTCLASS_TARGET("ssse3") inline __m128i DecodeStep(__m128i text) {
  const __m128i values = _mm_sub_epi8(text, _mm_set1_epi8(kFirstArmourCharacter));
  const __m128i twelve =
      _mm_maddubs_epi16(_mm_and_si128(values, _mm_set1_epi8(0x3F)), _mm_set1_epi32(0x01400140));
  const __m128i unmasked = _mm_and_si128(_mm_srli_epi32(values, 24), _mm_set1_epi32(0xC0));
  const __m128i lanes = _mm_or_si128(_mm_madd_epi16(twelve, _mm_set1_epi32(0x00011000)), unmasked);
  return _mm_shuffle_epi8(lanes, DecodeOrder());
}

VTCLASS_TARGET("avx2") inline __m256i DecodeStep(__m256i text) {
  const __m256i values = _mm256_sub_epi8(text, _mm256_set1_epi8(kFirstArmourCharacter));
  const __m256i twelve = _mm256_maddubs_epi16(_mm256_and_si256(values, _mm256_set1_epi8(0x3F)),
                                              _mm256_set1_epi32(0x01400140));
  const __m256i unmasked = _mm256_and_si256(_mm256_srli_epi32(values, 24), _mm256_set1_epi32(0xC0));
  const __m256i lanes =
      _mm256_or_si256(_mm256_madd_epi16(twelve, _mm256_set1_epi32(0x00011000)), unmasked);
  const __m256i halves = _mm256_shuffle_epi8(lanes, _mm256_broadcastsi128_si256(DecodeOrder()));
  // Twelve bytes of each half, side by side.
  return _mm256_permutevar8x32_epi32(halves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
}

VTCLASS_TARGET("ssse3")
void EncodeSsse3(const std::uint8_t* bytes, std::size_t length, char* text) noexcept {
  while (length >= 16) {
    Store16(EncodeStep(Load16(bytes)), text);
    length -= kBytes16, bytes += kBytes16, text += kCharacters16;
  }
  kPortableArmour.encode(bytes, length, text);
}

VTCLASS_TARGET("ssse3")
void DecodeSsse3(const char* text, std::size_t length, std::uint8_t* bytes) noexcept {
  while (length >= 16) {
    Store16(DecodeStep(Load16(text)), bytes);
    length -= kBytes16, bytes += kBytes16, text += kCharacters16;
  }
  kPortableArmour.decode(text, length, bytes);
}

VTCLASS_TARGET("avx2")
void EncodeAvx2(const std::uint8_t* bytes, std::size_t length, char* text) noexcept {
  // The second half begins at its own twelve bytes.
  while (length >= kBytes16 + 16) {
    const __m256i both =
        _mm256_inserti128_si256(_mm256_castsi128_si256(Load16(bytes)), Load16(bytes + kBytes16), 1);
    Store32(EncodeStep(both), text);
    length -= kBytes32, bytes += kBytes32, text += kCharacters32;
  }
  EncodeSsse3(bytes, length, text);
}

VTCLASS_TARGET("avx2")
void DecodeAvx2(const char* text, std::size_t length, std::uint8_t* bytes) noexcept {
  while (length >= 32) {
    Store32(DecodeStep(Load32(text)), bytes);
    length -= kBytes32, bytes += kBytes32, text += kCharacters32;
  }
  DecodeSsse3(text, length, bytes);
}

}  // namespace

const Armour kSsse3Armour = {&EncodeSsse3, &DecodeSsse3};
const Armour kAvx2Armour = {&EncodeAvx2, &DecodeAvx2};

}  // namespace vtclass::crypto
