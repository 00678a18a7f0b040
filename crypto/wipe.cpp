#include "crypto/wipe.h"

#include <cstring>

namespace vtclass::crypto {

namespace {

// Read from memory at each call: the compiler cannot know that it only fills, and so keeps the
// call.
void* (*const volatile fill)(void*, int, std::size_t) = &std::memset;

}  // namespace

void Wipe(void* memory, std::size_t size) noexcept { fill(memory, 0, size); }

// Not in the header: inlined it would wipe a part of its caller's frame instead.
void WipeStackBelow() noexcept {
  constexpr std::size_t kDeepest = 1024;  // the cipher and the digest need less than half of it
  const SecretArea<kDeepest> area;
}

}  // namespace vtclass::crypto
