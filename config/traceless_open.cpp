#include "config/traceless_open.h"

#include <cstddef>
#include <string>
#include <utility>

#include "config/no_throw.h"
#include "platform/owned.h"

namespace vtclass::config {

namespace {

using platform::OwnedRegistryKey;

constexpr wchar_t kSeparator = L'\\';

/* Cuts the last component off `path`; false when there is only one left. */
bool CutLast(std::wstring& path) {
  const std::size_t separator = path.rfind(kSeparator);
  if (separator == std::wstring::npos) return false;
  path.resize(separator);
  while (!path.empty() && path.back() == kSeparator) path.pop_back();
  return !path.empty();
}

/* How many characters at the front of `path` name a key that exists. What cannot be looked at for
 * another reason than its absence counts as existing, so it is never removed. */
std::size_t ExistingLength(HKEY parent, std::wstring path, REGSAM view) {
  do {
    OwnedRegistryKey found;
    const long status =
        ::RegOpenKeyExW(parent, path.c_str(), 0, KEY_QUERY_VALUE | view, found.Receive());
    if (status != ERROR_FILE_NOT_FOUND) return path.size();
  } while (CutLast(path));
  return 0;
}

bool IsEmpty(HKEY parent, const wchar_t* path, REGSAM view) {
  OwnedRegistryKey key;
  DWORD subkeys = 0;
  DWORD values = 0;
  return ::RegOpenKeyExW(parent, path, 0, KEY_QUERY_VALUE | view, key.Receive()) == ERROR_SUCCESS &&
         ::RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr,
                            &values, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
         subkeys == 0 && values == 0;
}

/* Removes the key `path` and those above it that are longer than `existing`, the deepest first, as
 * far as they are empty. */
void RemoveMade(HKEY parent, std::wstring path, std::size_t existing, REGSAM view) {
  while (path.size() > existing) {
    // RegDeleteKeyW knows only the native view and would miss, or hit, the wrong key.
    if (IsEmpty(parent, path.c_str(), view)) {
      ::RegDeleteKeyExW(parent, path.c_str(), view, 0);
    }
    if (!CutLast(path)) return;
  }
}

long CreateAndRemove(HKEY parent, const wchar_t* subkey, DWORD options, REGSAM access, HKEY& key,
                     DWORD& disposition) {
  const REGSAM view = access & (KEY_WOW64_64KEY | KEY_WOW64_32KEY);
  std::wstring path(subkey ? subkey : L"");
  while (!path.empty() && path.back() == kSeparator) path.pop_back();
  const std::size_t existing = path.empty() ? 0 : ExistingLength(parent, path, view);
  OwnedRegistryKey opened;
  const long status = ::RegCreateKeyExW(parent, subkey, 0, nullptr, options, access, nullptr,
                                        opened.Receive(), &disposition);
  if (status == ERROR_SUCCESS && disposition != REG_CREATED_NEW_KEY) {
    key = opened.Release();
    return status;
  }
  // Also after a failure: a create that stops at a deeper key has made the keys above it.
  RemoveMade(parent, std::move(path), existing, view);
  return status == ERROR_SUCCESS ? ERROR_FILE_NOT_FOUND : status;
}

}  // namespace

long OpenWithoutTrace(HKEY parent, const wchar_t* subkey, DWORD options, REGSAM access, HKEY& key,
                      DWORD& disposition) noexcept {
  key = nullptr;
  disposition = 0;
  // The common case, an existing key, costs one call. Options can change what rights the handle
  // has, and only the creating call knows all of them.
  if (options == REG_OPTION_NON_VOLATILE &&
      ::RegOpenKeyExW(parent, subkey, 0, access, &key) == ERROR_SUCCESS) {
    disposition = REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
  }
  key = nullptr;
  return StatusOf(
      [&] { return CreateAndRemove(parent, subkey, options, access, key, disposition); });
}

}  // namespace vtclass::config
