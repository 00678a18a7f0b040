#ifndef VTCLASS_CRYPTO_BLOCK_HASH_STEPS_H
#define VTCLASS_CRYPTO_BLOCK_HASH_STEPS_H

#include <emmintrin.h>

/* What the forms of the compression have in common. Vectors hold four words, the first lowest. */
namespace vtclass::crypto {

/* The words 16 to 19 behind `a` (0 to 3), `b`, `c` and `d` (12 to 15). */
inline __m128i NextWords(__m128i a, __m128i b, __m128i c, __m128i d) noexcept {
  const __m128i two = _mm_castpd_si128(
      _mm_shuffle_pd(_mm_castsi128_pd(a), _mm_castsi128_pd(b), 1));  // words 2 to 5
  const __m128i older = _mm_xor_si128(_mm_xor_si128(a, two), c);
  const __m128i three = _mm_xor_si128(older, _mm_srli_si128(d, 4));
  // The fourth word needs the first of these four: nothing is rotated, so that is added last.
  return _mm_xor_si128(three, _mm_slli_si128(three, 12));
}

}  // namespace vtclass::crypto

#endif
