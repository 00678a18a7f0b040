#ifndef VTCLASS_CRYPTO_SEALED_TEXT_H
#define VTCLASS_CRYPTO_SEALED_TEXT_H

#include <cstddef>
#include <string_view>

/*
 * Opening a sealed text, whatever its bytes are. The cipher is a parameter: it works in place on a
 * multiple of kCipherBlock bytes and answers false where it cannot.
 */
namespace vtclass::crypto {

using Decipher = bool (*)(char* data, std::size_t length) noexcept;

inline constexpr std::size_t kCipherBlock = 8;
/* The most characters that a reader takes. */
inline constexpr std::size_t kLongestSealedText = 1024;

constexpr std::size_t WholeBlocks(std::size_t length) noexcept {
  return (length + kCipherBlock - 1) / kCipherBlock * kCipherBlock;
}

/* The rule of DeasciifyAndDecrypt: fills `out`, which holds zeros, or leaves zeros in all of it. */
bool OpenSealedText(std::string_view text, char* out, int outSize, Decipher decipher) noexcept;

/* The rule of EU_DeasciifyAndDecrypt on a text of which the length is known: `*outLength` is the
 * room, and becomes the count of bytes in the armour. A failure leaves an empty string. */
bool OpenSealedBlock(std::string_view text, char* out, int* outLength, Decipher decipher) noexcept;

}  // namespace vtclass::crypto

#endif
