#include "config/traceless_open.h"

namespace vtclass::config {

namespace {

// These say how a key is to be made, and mean nothing for one that exists.
constexpr DWORD kCreatingOptions = REG_OPTION_VOLATILE | REG_OPTION_CREATE_LINK;

DWORD DispositionOf(long status) noexcept {
  if (status == ERROR_SUCCESS) return REG_OPENED_EXISTING_KEY;
  return status == ERROR_FILE_NOT_FOUND ? REG_CREATED_NEW_KEY : 0;
}

}  // namespace

long OpenWithoutTrace(HKEY parent, const wchar_t* subkey, DWORD options, REGSAM access, HKEY& key,
                      DWORD& disposition) noexcept {
  const long status = ::RegOpenKeyExW(parent, subkey, options & ~kCreatingOptions, access, &key);
  if (status != ERROR_SUCCESS) key = nullptr;
  disposition = DispositionOf(status);
  return status;
}

}  // namespace vtclass::config
