#include <cstring>

#include "crypto/armour.h"
#include "crypto/cipher.h"
#include "crypto/machine_seal.h"
#include "crypto/sealed_text.h"
#include "crypto/text_length.h"
#include "crypto/wipe.h"
#include "vtclass/crypto.h"

using namespace vtclass::crypto;

namespace {

constexpr unsigned int kCredentialAlgorithm = 4;
constexpr short kDecipher = 500;
constexpr unsigned int kDone = 0;
constexpr unsigned int kFailed = 1;
constexpr int kShortText = 64;  // what the two older pairs seal, always as a whole
constexpr int kLongestShortArmour = 91;
constexpr int kLongestText = 1024;

bool DecipherCredential(char* data, std::size_t length) noexcept {
  return CredentialCipher(kDecipher).Run(data, length);
}

// Seals `length` bytes with zeros behind them, `whole` together, through an area of our own.
template <std::size_t kSize>
bool Seal(const char* text, std::size_t length, std::size_t whole, char* out, int* outLength) {
  SecretArea<kSize> area(whole);
  std::memcpy(area.Data(), text, length);
  std::memset(area.Data() + length, 0, whole - length);
  return CredentialCipher(kEncipher).Run(area.Data(), whole) &&
         EncodeArmour(static_cast<int>(whole), area.Data(), outLength, out) > 0;
}

bool SealShortText(const char* text, char* out, int* outLength) {
  return Seal<kShortText>(text, TextLength(text, kShortText), kShortText, out, outLength);
}

}  // namespace

int ASCIIZEncode(int length, char* data, int* outLength, char* out) noexcept {
  return EncodeArmour(length, data, outLength, out);
}

int ASCIIZDecode(char* text, int* outLength, char* out) noexcept {
  return DecodeArmour(text, text ? TextLength(text) : 0, outLength, out);
}

unsigned int EU_EncAndAsciify(char* text, int textLength, char* out, int* outLength) noexcept {
  if (!out || !outLength) return kFailed;
  const int room = *outLength;
  if (text && textLength <= kShortText && SealShortText(text, out, outLength)) return kDone;
  if (room > 0) *out = '\0';
  return kFailed;
}

unsigned int EU_DeasciifyAndDecrypt(char* armoured, int armouredLength, char* out,
                                    int* outLength) noexcept {
  if (!out || !outLength) return kFailed;
  if (!armoured || armouredLength > kLongestShortArmour) {
    if (*outLength > 0) *out = '\0';
    return kFailed;
  }
  const std::string_view text(armoured, TextLength(armoured));
  return OpenSealedBlock(text, out, outLength, &DecipherCredential) ? kDone : kFailed;
}

bool EncryptAndAsciify(unsigned int algorithm, char* out, int outSize, const char* text,
                       int textLength) noexcept {
  if (!out || outSize < 1) return false;
  std::memset(out, 0, static_cast<std::size_t>(outSize));
  if (!text || textLength <= 0) return true;
  if (algorithm != kCredentialAlgorithm || textLength > kLongestText) return false;
  const auto length = static_cast<std::size_t>(textLength);
  return Seal<kLongestText>(text, length, WholeBlocks(length), out, &outSize);
}

bool KNWVEncryptAndAsciify(unsigned int algorithm, char* out, const char* text) noexcept {
  constexpr int kRoom = 128;
  if (!out) return false;
  int room = kRoom;
  if (algorithm == kCredentialAlgorithm && text && SealShortText(text, out, &room)) return true;
  *out = '\0';
  return false;
}

bool DeasciifyAndDecrypt(unsigned int algorithm, char* out, int outSize, char* armoured) noexcept {
  if (!out || outSize < 1) return false;
  const auto size = static_cast<std::size_t>(outSize);
  std::memset(out, 0, size);
  if (!armoured) return false;
  if (*armoured == '\0') return true;
  if (algorithm != kCredentialAlgorithm) return false;
  const std::string_view text(armoured, TextLength(armoured, kLongestSealedText));
  if (BeginsAsMachineSeal(text))
    return OpenMachineSeal({armoured, TextLength(armoured)}, out, size);
  return OpenSealedText(text, out, outSize, &DecipherCredential);
}
