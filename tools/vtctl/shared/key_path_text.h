#ifndef VTCLASS_TOOLS_VTCTL_SHARED_KEY_PATH_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_KEY_PATH_TEXT_H

#include <cstddef>
#include <optional>

#include "strings/wide_text.h"

namespace vtctl {

/* The names of the registry's roots; the first is that of a key that names none. */
struct RootNames {
  vtclass::WideView shortName;
  vtclass::WideView longName;
};
inline constexpr RootNames kRootNames[] = {
    {VTCLASS_WIDE("HKLM"), VTCLASS_WIDE("HKEY_LOCAL_MACHINE")},
    {VTCLASS_WIDE("HKCU"), VTCLASS_WIDE("HKEY_CURRENT_USER")},
    {VTCLASS_WIDE("HKCR"), VTCLASS_WIDE("HKEY_CLASSES_ROOT")},
    {VTCLASS_WIDE("HKU"), VTCLASS_WIDE("HKEY_USERS")},
    {VTCLASS_WIDE("HKCC"), VTCLASS_WIDE("HKEY_CURRENT_CONFIG")},
};

/* A key's name in two parts: the place of its root in kRootNames, and what is below. */
struct KeyPathText {
  std::size_t root = 0;
  vtclass::WideText subkey;
};

/* Reads what ParseKeyPath (key_path.h) does. */
std::optional<KeyPathText> SplitKeyPath(vtclass::WideView text);

}  // namespace vtctl

#endif
