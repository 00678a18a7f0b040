#include "crypto/text_length.h"

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstdint>

namespace vtclass::crypto {

namespace {

constexpr std::size_t kBlock = 64;

__m128i Quarter(const char* block, std::size_t which) noexcept {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(block) + which);
}

// A bit for each zero of 16 bytes.
std::uint64_t ZerosOf(__m128i bytes) noexcept {
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

bool HasZero(const char* block) noexcept {
  const __m128i first = _mm_min_epu8(Quarter(block, 0), Quarter(block, 1));
  const __m128i second = _mm_min_epu8(Quarter(block, 2), Quarter(block, 3));
  return ZerosOf(_mm_min_epu8(first, second)) != 0;
}

// A bit for each zero of a block.
std::uint64_t ZerosOf(const char* block) noexcept {
  return ZerosOf(Quarter(block, 0)) | ZerosOf(Quarter(block, 1)) << 16 |
         ZerosOf(Quarter(block, 2)) << 32 | ZerosOf(Quarter(block, 3)) << 48;
}

}  // namespace

std::size_t TextLength(const char* text, std::size_t most) noexcept {
  if (most == 0) return 0;
  const std::size_t before = reinterpret_cast<std::uintptr_t>(text) % kBlock;
  const char* block = text - before;
  // Counted from the first block's begin; what stands there before the text does not end it.
  const std::size_t end = most > SIZE_MAX - before ? SIZE_MAX : most + before;
  std::uint64_t zeros = ZerosOf(block) >> before << before;
  std::size_t at = 0;
  while (zeros == 0 && end - at > kBlock) {
    at += kBlock;
    if (HasZero(block + at)) zeros = ZerosOf(block + at);
  }
  const std::size_t found =
      zeros == 0 ? end : at + static_cast<std::size_t>(std::countr_zero(zeros));
  return std::min(found, end) - before;
}

}  // namespace vtclass::crypto
