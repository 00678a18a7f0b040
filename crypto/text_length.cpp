#include "crypto/text_length.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>

namespace vtclass::crypto {

namespace {

// A bit for each zero of a block.
unsigned ZerosOf(const char* block) noexcept {
  const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(block));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

}  // namespace

std::size_t TextLength(const char* text, std::size_t most) noexcept {
  constexpr std::size_t kBlock = 16;
  if (most == 0) return 0;
  const std::size_t before = reinterpret_cast<std::uintptr_t>(text) % kBlock;
  const char* block = text - before;
  // Counted from the first block's begin; what stands there before the text does not end it.
  const std::size_t end = most > SIZE_MAX - before ? SIZE_MAX : most + before;
  unsigned zeros = ZerosOf(block) >> before << before;
  std::size_t at = 0;
  while (zeros == 0 && end - at > kBlock) {
    at += kBlock;
    zeros = ZerosOf(block + at);
  }
  const std::size_t found =
      zeros == 0 ? end : at + static_cast<std::size_t>(std::countr_zero(zeros));
  return std::min(found, end) - before;
}

}  // namespace vtclass::crypto
