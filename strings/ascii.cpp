#include "strings/ascii.h"

#include <emmintrin.h>

namespace vtclass::strings {

namespace {

constexpr std::size_t kBlock = 16;

bool CopyBlock(const char* text, WideUnit* out) noexcept {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i zero = _mm_setzero_si128();
  auto* const units = reinterpret_cast<__m128i*>(out);
  _mm_storeu_si128(units, _mm_unpacklo_epi8(bytes, zero));
  _mm_storeu_si128(units + 1, _mm_unpackhi_epi8(bytes, zero));
  return _mm_movemask_epi8(bytes) == 0;
}

bool CopyBlock(const WideUnit* text, char* out) noexcept {
  const auto* const units = reinterpret_cast<const __m128i*>(text);
  const __m128i first = _mm_loadu_si128(units);
  const __m128i second = _mm_loadu_si128(units + 1);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(first, second));
  const __m128i beyond =
      _mm_and_si128(_mm_or_si128(first, second), _mm_set1_epi16(static_cast<short>(0xFF80)));
  return _mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())) == 0xFFFF;
}

template <typename From, typename To>
bool Copy(const From* text, std::size_t length, To* out) noexcept {
  std::size_t at = 0;
  for (; at + kBlock <= length; at += kBlock) {
    if (!CopyBlock(text + at, out + at)) return false;
  }
  // The rest as one block that overlaps the last.
  if (at < length && length >= kBlock) {
    return CopyBlock(text + length - kBlock, out + length - kBlock);
  }
  unsigned all = 0;
  for (; at < length; ++at) {
    all |= static_cast<unsigned>(text[at]);
    out[at] = static_cast<To>(text[at]);
  }
  return all < 128;
}

}  // namespace

bool CopyAscii(const char* text, std::size_t length, WideUnit* out) noexcept {
  return Copy(text, length, out);
}

bool CopyAscii(const WideUnit* text, std::size_t length, char* out) noexcept {
  return Copy(text, length, out);
}

}  // namespace vtclass::strings
