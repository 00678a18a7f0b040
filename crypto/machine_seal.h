#ifndef VTCLASS_CRYPTO_MACHINE_SEAL_H
#define VTCLASS_CRYPTO_MACHINE_SEAL_H

#include <cstddef>
#include <string_view>

namespace vtclass::crypto {

/* True for what begins as a machine-bound seal does. No armour begins so. */
bool IsMachineSeal(std::string_view text) noexcept;

/* Opens one into `out`, which holds zeros; false, with zeros in all of it, where that fails or the
 * text is longer than `size` bytes. */
bool OpenMachineSeal(std::string_view seal, char* out, std::size_t size) noexcept;

}  // namespace vtclass::crypto

#endif
