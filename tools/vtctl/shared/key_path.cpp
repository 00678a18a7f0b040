#include "tools/vtctl/shared/key_path.h"

#include <utility>

#include "tools/vtctl/shared/key_path_text.h"

namespace vtctl {
namespace {

// In the order of kRootNames.
const HKEY kRoots[] = {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, HKEY_CLASSES_ROOT, HKEY_USERS,
                       HKEY_CURRENT_CONFIG};
static_assert(std::size(kRoots) == std::size(kRootNames));

}  // namespace

std::optional<KeyPath> ParseKeyPath(std::wstring_view text) {
  std::optional<KeyPathText> split = SplitKeyPath(text);
  if (!split) return std::nullopt;
  return KeyPath{kRoots[split->root], std::move(split->subkey)};
}

std::wstring KeyName(const KeyPath& path) {
  std::wstring name;
  for (std::size_t root = 0; root < std::size(kRoots); ++root) {
    if (kRoots[root] == path.root) name = kRootNames[root].longName;
  }
  return path.subkey.empty() ? name : name + L"\\" + path.subkey;
}

}  // namespace vtctl
