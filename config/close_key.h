#ifndef VTCLASS_CONFIG_CLOSE_KEY_H
#define VTCLASS_CONFIG_CLOSE_KEY_H

#include <vtclass/win32.h>

#include <utility>

#include "platform/owned.h"

namespace vtclass::config {

/* Closes a key that a data member holds, if it is open, and sets the member null. */
inline void CloseKey(HKEY& key) noexcept {
  platform::OwnedRegistryKey(std::exchange(key, nullptr)).Reset();
}

}  // namespace vtclass::config

#endif
