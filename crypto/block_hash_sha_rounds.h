#ifndef VTCLASS_CRYPTO_BLOCK_HASH_SHA_ROUNDS_H
#define VTCLASS_CRYPTO_BLOCK_HASH_SHA_ROUNDS_H

#include <bit>
#include <cstring>
#include <utility>

#include "crypto/block_hash.h"
#include "crypto/block_hash_steps.h"
#include "platform/cpu.h"

/*
 * The compression by the processor's SHA instructions, four rounds at a time. They do the rounds
 * only; the expansion of the standard, which rotates, has instructions of its own that are not
 * used.
 *
 * `Sha` gives the two instructions: Rounds<quarter>(abcd, e) and NextE(a, words). They hold the
 * first word uppermost, and the fifth in the upper quarter of a vector of its own.
 */
namespace vtclass::crypto {

template <typename Sha>
struct ShaRounds {
  // The first word uppermost, as the instructions have it.
  VTCLASS_TARGET("sha,ssse3,sse4.1") static __m128i Reversed(__m128i words) {
    return _mm_shuffle_epi32(words, 0x1B);
  }

  template <std::size_t... steps>
  VTCLASS_TARGET("sha,ssse3,sse4.1")
  static void Block(__m128i& abcd, __m128i& e, const std::uint8_t* block,
                    std::index_sequence<steps...>) {
    __m128i words[20];
    (Step<steps>(abcd, e, words, block), ...);
  }

  template <std::size_t step>
  VTCLASS_TARGET("sha,ssse3,sse4.1")
  static void Step(__m128i& abcd, __m128i& e, __m128i* words, const std::uint8_t* block) {
    if constexpr (step < 4) {
      words[step] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + step);
    } else {
      words[step] = NextWords(words[step - 4], words[step - 3], words[step - 2], words[step - 1]);
    }
    const __m128i before = abcd;
    const __m128i ordered = Reversed(words[step]);
    // At first E is there as it is; later it is what A was four rounds ago, rotated.
    const __m128i added = step == 0 ? _mm_add_epi32(e, ordered) : Sha::NextE(e, ordered);
    abcd = Sha::template Rounds<step / 5>(abcd, added);
    e = before;
  }

  VTCLASS_TARGET("sha,ssse3,sse4.1")
  static void Compress(ChainingWords& words, const std::uint8_t* blocks,
                       std::size_t count) noexcept {
    __m128i abcd = Reversed(_mm_loadu_si128(reinterpret_cast<const __m128i*>(words.data())));
    __m128i e = _mm_slli_si128(_mm_cvtsi32_si128(std::bit_cast<int>(words[4])), 12);
    for (; count > 0; --count, blocks += kHashBlock) {
      const __m128i abcdBefore = abcd, eBefore = e;
      Block(abcd, e, blocks, std::make_index_sequence<20>());
      e = Sha::NextE(e, eBefore);
      abcd = _mm_add_epi32(abcd, abcdBefore);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(words.data()), Reversed(abcd));
    words[4] = std::bit_cast<Word>(_mm_cvtsi128_si32(_mm_srli_si128(e, 12)));
  }

  using Word = std::uint32_t;
};

}  // namespace vtclass::crypto

#endif
