#ifndef VTCLASS_CLIENT_CRYPTO_H
#define VTCLASS_CLIENT_CRYPTO_H

/*
 * What vtclass/crypto.h compiles into its callers: strings are filled on the side that owns them.
 * Included by that header.
 */

namespace vtclass::border {

/* The operations behind those of the same names; 8 also when the string's owner has no memory. */
VTCLASS_API unsigned long SealForMachine(const NarrowSink& sealed, const char* text,
                                         std::size_t length) noexcept;
VTCLASS_API unsigned long OpenForMachine(const NarrowSink& text, const char* sealed,
                                         std::size_t length) noexcept;

}  // namespace vtclass::border

namespace vtclass {

inline unsigned long SealForMachine(std::string_view text, std::string& sealed) {
  return border::SealForMachine(sealed, text.data(), text.size());
}

inline unsigned long OpenForMachine(std::string_view sealed, std::string& text) {
  return border::OpenForMachine(text, sealed.data(), sealed.size());
}

}  // namespace vtclass

#endif
