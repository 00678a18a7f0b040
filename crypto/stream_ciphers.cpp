#include "crypto/stream_ciphers.h"

#include <algorithm>

#include "crypto/fixed_values.h"

namespace vtclass::crypto {

void Reverse(std::uint8_t* data, std::size_t length, bool encipher) noexcept {
  constexpr int kAdded = 43;
  const int added = encipher ? kAdded : -kAdded;
  std::reverse(data, data + length);
  // By itself, and not while they change places: the one in the middle stays and gets it too.
  for (std::size_t i = 0; i < length; ++i) data[i] = static_cast<std::uint8_t>(data[i] + added);
}

void Substitute(std::uint8_t* data, std::size_t length, bool encipher, const std::uint8_t* key,
                std::size_t keyLength, Chain& chain) noexcept {
  for (std::size_t i = 0; i < length; ++i) {
    // The position wraps at 65,536 whatever the key's length: there the key begins again early.
    const int mask = key[chain.position++ % keyLength] ^ chain.byte;
    if (encipher) {
      chain.byte = data[i] = kSubstitutes[static_cast<std::uint8_t>(mask ^ data[i])];
    } else {
      chain.byte = data[i];
      data[i] = static_cast<std::uint8_t>(kOriginals[data[i]] ^ mask);
    }
  }
}

}  // namespace vtclass::crypto
