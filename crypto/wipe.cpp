#include "crypto/wipe.h"

#include <emmintrin.h>

namespace vtclass::crypto {

// Not in the header: inlined it would wipe a part of its caller's frame instead.
template <std::size_t kDepth>
void WipeStackBelow() noexcept {
  // In the widest steps that every processor has: a call would take longer.
  volatile __m128i area[kDepth / sizeof(__m128i)];
  for (volatile __m128i& each : area) each = _mm_setzero_si128();
}

template void WipeStackBelow<kDepthOfDes>() noexcept;
template void WipeStackBelow<kDepthOfMd5>() noexcept;
template void WipeStackBelow<kDepthOfBlockHash>() noexcept;

}  // namespace vtclass::crypto
