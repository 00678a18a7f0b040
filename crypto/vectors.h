#ifndef VTCLASS_CRYPTO_VECTORS_H
#define VTCLASS_CRYPTO_VECTORS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

/* What crypto/make_vectors.py has computed, and what the tests hold against it. For tests only. */
namespace vtclass::crypto {

/* Results for MakeMessage(length), as their Fingerprint. */
struct TextVector {
  int length;
  std::uint64_t sealed;      /* by EncryptAndAsciify; of nothing where that refuses */
  std::uint64_t armoured;    /* of nothing for a length of 0 */
  std::uint64_t substituted; /* by the key MakeMessage(length % 37 + 1) */
  std::uint64_t reversed;
  std::array<std::uint32_t, 5> hash;
};

inline constexpr TextVector kTextVectors[] = {
#define VTCLASS_TEXT_VECTORS
#include "crypto/vectors.inc"
#undef VTCLASS_TEXT_VECTORS
};

/* The digests for MakePassword(0) to MakePassword(31) and the challenge MakeMessage(64). */
inline constexpr std::string_view kLoginVectors[] = {
#define VTCLASS_LOGIN_VECTORS
#include "crypto/vectors.inc"
#undef VTCLASS_LOGIN_VECTORS
};

inline std::string MakeMessage(int length) {
  std::string made;
  auto state = static_cast<std::uint32_t>(length);
  for (int i = 0; i < length; ++i) {
    state = state * 1664525 + 1013904223;
    made += static_cast<char>(state >> 24);
  }
  return made;
}

/* Without zeros. */
inline std::string MakePassword(int length) {
  std::string made = MakeMessage(length);
  for (char& byte : made) byte = static_cast<char>(static_cast<unsigned char>(byte) % 255 + 1);
  return made;
}

/* FNV-1a. */
inline std::uint64_t Fingerprint(std::string_view bytes) {
  std::uint64_t value = 0xCBF29CE484222325;
  for (const char byte : bytes) value = (value ^ static_cast<std::uint8_t>(byte)) * 0x100000001B3;
  return value;
}

}  // namespace vtclass::crypto

#endif
