#ifndef VTCLASS_CONFIG_SDK_DEBUG_LEVEL_H
#define VTCLASS_CONFIG_SDK_DEBUG_LEVEL_H

namespace vtclass::config {

/* The level, 1 to 4, that a stored mask of the SDK's debug level stands for. A higher bit counts
 * only when the lower ones are set. */
constexpr unsigned long SdkDebugLevel(unsigned long mask) noexcept {
  if (!(mask & 0x2)) return 1;
  if (!(mask & 0x4)) return 2;
  return mask & 0x8 ? 4 : 3;
}

}  // namespace vtclass::config

#endif
