#ifndef VTCLASS_CRYPTO_MACHINE_SEAL_H
#define VTCLASS_CRYPTO_MACHINE_SEAL_H

#include <cstddef>
#include <string_view>

namespace vtclass::crypto {

/* What a machine-bound seal of this form begins with. '~' lies beyond the armour's characters;
 * another form of the seal gets another number. */
inline constexpr std::string_view kMachineMark = "~1~";

/* True for what begins as a machine-bound seal does, of whatever form. No armour begins so. */
constexpr bool BeginsAsMachineSeal(std::string_view text) noexcept {
  return text.starts_with(kMachineMark.front());
}

/* Opens one into `out`, which holds zeros; false, with zeros in all of it, where that fails, its
 * form is another than this library's, or the text is longer than `size` bytes. */
bool OpenMachineSeal(std::string_view seal, char* out, std::size_t size) noexcept;

}  // namespace vtclass::crypto

#endif
