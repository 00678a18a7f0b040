#ifndef VTCLASS_TOOLS_VTCTL_SHARED_KEY_READER_H
#define VTCLASS_TOOLS_VTCTL_SHARED_KEY_READER_H

#include <vtclass/win32.h>

#include <map>
#include <string>
#include <vector>

#include "platform/owned.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/value.h"
#include "vtclass/config.h"

namespace vtctl {

/* Which key of which registry the operator means. */
struct KeyTarget {
  KeyPath path;
  std::wstring machine; /* empty: this computer */
  unsigned view = 0;    /* Configuration::access64BitView, access32BitView or 0 */
};

/* What a key holds; by name, so that two readings can be compared. */
struct KeyContents {
  std::map<std::wstring, Value> values;
  std::vector<std::wstring> subkeys;
  unsigned long unreadable = 0; /* entries that the key counts and that could not be read */
};

/* The key opened for reading in the wanted view, on the wanted machine. Its iterators get it as
 * their parent, because they know neither views nor machines. */
class KeyHandle {
 public:
  /* The system's status. */
  LSTATUS Open(const KeyTarget& target);
  HKEY Get() const { return key.Get(); }

 private:
  vtclass::platform::OwnedRegistryKey remoteRoot;
  vtclass::platform::OwnedRegistryKey key;
};

/* One value through the typed loads that the product's components use. The status in
 * `key.GetErrorCode()` when it fails. */
bool LoadValue(Configuration& key, const wchar_t* name, Value& out);

/* The key `subkey` below `parent` ("" for `parent` itself). */
KeyContents ReadKey(HKEY parent, const std::wstring& subkey);

}  // namespace vtctl

#endif
