#include "crypto/block_hash_sha_rounds.h"

namespace vtclass::crypto {

namespace {

struct Processor {
  template <std::size_t quarter>
  VTCLASS_TARGET("sha")
  static __m128i Rounds(__m128i abcd, __m128i e) {
    return _mm_sha1rnds4_epu32(abcd, e, quarter);
  }

  VTCLASS_TARGET("sha") static __m128i NextE(__m128i a, __m128i words) {
    return _mm_sha1nexte_epu32(a, words);
  }
};

}  // namespace

void CompressSha(ChainingWords& words, const std::uint8_t* blocks, std::size_t count) noexcept {
  ShaRounds<Processor>::Compress(words, blocks, count);
}

}  // namespace vtclass::crypto
