#ifndef VTCLASS_TOOLS_VTCTL_SHARED_KEY_PATH_H
#define VTCLASS_TOOLS_VTCTL_SHARED_KEY_PATH_H

#include <vtclass/win32.h>

#include <optional>
#include <string>
#include <string_view>

namespace vtctl {

/* A key as the operator names it: "HKCU\Software\Name". */
struct KeyPath {
  HKEY root = HKEY_LOCAL_MACHINE;
  std::wstring subkey; /* empty: the root itself */
};

/*
 * Reads HKLM, HKCU, HKCR, HKU, HKCC or their long names in any case, then the subkey; without a
 * root the key lies below HKEY_LOCAL_MACHINE. "Computer\" in front, as the registry editor copies
 * it, and backslashes at the end are passed over. Nothing when a root "HKEY_..." is unknown or a
 * part between two backslashes is empty.
 */
std::optional<KeyPath> ParseKeyPath(std::wstring_view text);

/* The full name of the key, with the root's long name. */
std::wstring KeyName(const KeyPath& path);

}  // namespace vtctl

#endif
