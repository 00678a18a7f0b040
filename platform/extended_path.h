#ifndef VTCLASS_PLATFORM_EXTENDED_PATH_H
#define VTCLASS_PLATFORM_EXTENDED_PATH_H

#include <vtclass/win32.h>

#include <string>
#include <string_view>

#include "platform/failure_code.h"

namespace vtclass::platform {

inline constexpr std::wstring_view kExtendedPrefix = L"\\\\?\\";
inline constexpr std::wstring_view kExtendedSharePrefix = L"\\\\?\\UNC\\";

/*
 * A path as the system takes it without further thought: absolute, behind "\\?\". It has no limit
 * of 260 characters, and names with blanks or dots at their end are taken as they are. A path that
 * already begins so stays as it is. One behind "\\.\" begins with "\\?\" then: it names the same,
 * but the system would go on trimming the names that a caller appends. Empty, with the reason in
 * ::GetLastError(), when the system cannot make it absolute.
 */
inline std::wstring ExtendedPath(const std::wstring& path) {
  if (path.starts_with(kExtendedPrefix)) return path;
  std::wstring full(MAX_PATH, L'\0');
  for (;;) {
    // For a path of blanks the system answers 0 and leaves the last error alone.
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length =
        ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0) {
      ::SetLastError(FailureCode(ERROR_INVALID_NAME));
      return {};
    }
    const bool fits = length < full.size();
    full.resize(length);
    if (fits) break;
  }
  // Of "//?/C:/x" too the system makes an extended path.
  const bool isDevice = full.starts_with(L"\\\\.\\") || full.starts_with(kExtendedPrefix);
  if (isDevice) return full.replace(0, kExtendedPrefix.size(), kExtendedPrefix);
  const bool isShare = full.starts_with(L"\\\\");
  return full.replace(0, isShare ? 2 : 0, isShare ? kExtendedSharePrefix : kExtendedPrefix);
}

}  // namespace vtclass::platform

#endif
