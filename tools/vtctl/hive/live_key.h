#ifndef VTCLASS_TOOLS_VTCTL_HIVE_LIVE_KEY_H
#define VTCLASS_TOOLS_VTCTL_HIVE_LIVE_KEY_H

#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "hive/compare.h"
#include "platform/owned.h"

namespace vtctl {

/* What a registry key holds; its data lies in `storage`. */
struct LiveKey {
  vtclass::hive::KeyContents contents;
  std::vector<std::vector<unsigned char>> storage;
};

/* Opens a subkey for reading. A symbolic link is opened itself and not followed: it could lead out
 * of the tree or back into it. The system's status. */
LSTATUS OpenBelow(HKEY parent, const std::wstring& name, vtclass::platform::OwnedRegistryKey& key);

/* All values and subkeys of a key, of any size. The system's status. */
LSTATUS ReadLiveKey(HKEY key, LiveKey& live);

}  // namespace vtctl

#endif
