#include "strings/ascii.h"

#include <emmintrin.h>

namespace vtclass::strings {

namespace {

constexpr std::size_t kBlock = 16;

__m128i Load(const void* memory) { return _mm_loadu_si128(static_cast<const __m128i*>(memory)); }

void Store(void* memory, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(memory), value); }

// A block has the bits of all its units in its answer, so that many are tested at once.
__m128i BitsOfBlock(const char* text) { return Load(text); }
__m128i BitsOfBlock(const WideUnit* text) {
  return _mm_or_si128(Load(text), Load(text + kBlock / 2));
}

bool IsBelow128(__m128i bits, const char*) { return _mm_movemask_epi8(bits) == 0; }
bool IsBelow128(__m128i bits, const WideUnit*) {
  const __m128i beyond = _mm_and_si128(bits, _mm_set1_epi16(static_cast<short>(0xFF80)));
  return _mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())) == 0xFFFF;
}

void CopyBlock(const char* text, WideUnit* out) {
  const __m128i bytes = Load(text);
  Store(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
  Store(out + kBlock / 2, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}
void CopyBlock(const WideUnit* text, char* out) {
  Store(out, _mm_packus_epi16(Load(text), Load(text + kBlock / 2)));
}

// What is left of a text of a block or more is done as one block that overlaps the last.
template <typename Unit>
bool IsAsciiText(const Unit* text, std::size_t length) {
  if (length < kBlock) {
    unsigned all = 0;
    for (std::size_t at = 0; at < length; ++at) all |= static_cast<unsigned>(text[at]);
    return all < 128;
  }
  __m128i bits = BitsOfBlock(text + length - kBlock);
  for (std::size_t at = 0; at + kBlock <= length; at += kBlock) {
    bits = _mm_or_si128(bits, BitsOfBlock(text + at));
  }
  return IsBelow128(bits, text);
}

template <typename From, typename To>
void CopyText(const From* text, std::size_t length, To* out) {
  if (length < kBlock) {
    for (std::size_t at = 0; at < length; ++at) out[at] = static_cast<To>(text[at]);
    return;
  }
  for (std::size_t at = 0; at + kBlock <= length; at += kBlock) CopyBlock(text + at, out + at);
  CopyBlock(text + length - kBlock, out + length - kBlock);
}

}  // namespace

bool IsAscii(const char* text, std::size_t length) noexcept { return IsAsciiText(text, length); }

bool IsAscii(const WideUnit* text, std::size_t length) noexcept {
  return IsAsciiText(text, length);
}

void CopyAscii(const char* text, std::size_t length, WideUnit* out) noexcept {
  CopyText(text, length, out);
}

void CopyAscii(const WideUnit* text, std::size_t length, char* out) noexcept {
  CopyText(text, length, out);
}

}  // namespace vtclass::strings
