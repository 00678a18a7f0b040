#include "crypto/sealed_text.h"

#include <cstring>

#include "crypto/armour.h"

namespace vtclass::crypto {

bool OpenSealedText(std::string_view text, char* out, int outSize, Decipher decipher) noexcept {
  int length = outSize;
  const bool decoded = DecodeArmour(text.data(), text.size(), &length, out) > 0;
  const std::size_t whole = WholeBlocks(static_cast<std::size_t>(length));
  if (decoded && whole <= static_cast<std::size_t>(outSize) && decipher(out, whole)) return true;
  std::memset(out, 0, static_cast<std::size_t>(outSize));
  return false;
}

bool OpenSealedBlock(std::string_view text, char* out, int* outLength, Decipher decipher) noexcept {
  const int room = *outLength;
  const int decoded = DecodeArmour(text.data(), text.size(), outLength, out);
  if (decoded < 0) *outLength = 0;  // a text too short to hold anything, or longer than any room
  const auto length = static_cast<std::size_t>(*outLength);
  if (decoded > 0 && length % kCipherBlock == 0 && decipher(out, length)) return true;
  if (room > 0) std::memset(out, 0, decoded > 0 ? length : 1);
  return false;
}

}  // namespace vtclass::crypto
