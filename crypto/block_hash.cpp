#include "crypto/block_hash.h"

#include <atomic>
#include <bit>

#include "crypto/block_hash_steps.h"
#include "platform/cpu.h"

namespace vtclass::crypto {

namespace {

using Word = std::uint32_t;

constexpr std::size_t kRounds = 80;
constexpr std::array<Word, 4> kRoundConstants = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};

// What a round adds in its quarter of the rounds, but for E and the rotated A. Each sum has no
// carries, so that its terms can be added as they come.
template <std::size_t quarter>
inline Word Choice(Word b, Word c, Word d) {
  if constexpr (quarter == 0) return (b & c) + (~b & d);
  if constexpr (quarter == 2) return (b & c) + (d & (b ^ c));
  return b ^ c ^ d;
}

// The words change their places by their names, so nothing is moved.
template <std::size_t quarter>
inline void Round(Word a, Word& b, Word c, Word d, Word& e, Word added) {
  e += added + Choice<quarter>(b, c, d) + std::rotl(a, 5);
  b = std::rotr(b, 2);
}

template <std::size_t quarter>
inline void Rounds(Word& a, Word& b, Word& c, Word& d, Word& e, const Word* added) {
  for (std::size_t t = 0; t < kRounds / 4; t += 5) {
    Round<quarter>(a, b, c, d, e, added[t]);
    Round<quarter>(e, a, b, c, d, added[t + 1]);
    Round<quarter>(d, e, a, b, c, added[t + 2]);
    Round<quarter>(c, d, e, a, b, added[t + 3]);
    Round<quarter>(b, c, d, e, a, added[t + 4]);
  }
}

// A block's words with the constants of their rounds.
inline void Expand(const std::uint8_t* block, Word* added) {
  constexpr std::size_t kVectors = kRounds / 4;
  __m128i words[kVectors];
  for (std::size_t i = 0; i < kVectors; ++i) {
    words[i] = i < 4 ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + i)
                     : NextWords(words[i - 4], words[i - 3], words[i - 2], words[i - 1]);
    const __m128i constants = _mm_set1_epi32(static_cast<int>(kRoundConstants[i / 5]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(added) + i, _mm_add_epi32(words[i], constants));
  }
}

std::atomic<CompressFunction> best;

}  // namespace

void CompressPortable(ChainingWords& words, const std::uint8_t* blocks,
                      std::size_t count) noexcept {
  for (; count > 0; --count, blocks += kHashBlock) {
    Word added[kRounds];
    Expand(blocks, added);
    auto [a, b, c, d, e] = words;
    Rounds<0>(a, b, c, d, e, added);
    Rounds<1>(a, b, c, d, e, added + 20);
    Rounds<2>(a, b, c, d, e, added + 40);
    Rounds<3>(a, b, c, d, e, added + 60);
    words = {words[0] + a, words[1] + b, words[2] + c, words[3] + d, words[4] + e};
  }
}

CompressFunction BestCompress() noexcept {
  CompressFunction compress = best.load(std::memory_order_relaxed);
  if (compress == nullptr) {
    compress = platform::cpu::HasSha() ? &CompressSha : &CompressPortable;
    best.store(compress, std::memory_order_relaxed);
  }
  return compress;
}

}  // namespace vtclass::crypto
