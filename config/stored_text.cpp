#include "config/stored_text.h"

#include <new>

namespace vtclass::config {

bool IsTextType(DWORD type) noexcept {
  return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

long StoredText::Read(HKEY key, const wchar_t* name) noexcept {
  wchar_t* buffer = small;
  DWORD capacity = sizeof(small);
  for (int query = 1;; ++query) {
    DWORD type = REG_NONE;
    bytes = capacity;
    const long status =
        ::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
    if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA) return status;
    // Looked at before the length: a value of another type is a wrong type however long it is.
    if (!IsTextType(type)) return kWrongType;
    if (status == ERROR_SUCCESS || query == kMaxQueries) return status;
    const std::size_t units = bytes / sizeof(wchar_t) + 1;
    large.reset(new (std::nothrow) wchar_t[units]);
    if (!large) return ERROR_NOT_ENOUGH_MEMORY;
    buffer = large.get();
    capacity = bytes;
  }
}

}  // namespace vtclass::config
