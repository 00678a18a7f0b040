#include "tools/vtctl/shared/paths.h"

#include <vtclass/win32.h>

#include "tools/vtctl/shared/printable.h"

namespace vtctl {
namespace {

constexpr std::wstring_view kLong = L"\\\\?\\";
constexpr std::wstring_view kLongShare = L"\\\\?\\UNC\\";

// Empty, with the reason in ::GetLastError(), when the system cannot make it absolute.
std::wstring SystemPath(const std::wstring& path) {
  if (path.starts_with(kLong)) return path;
  std::wstring full(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0) return {};
    const bool fits = length < full.size();
    full.resize(length);
    if (fits) break;
  }
  if (full.starts_with(L"\\\\.\\")) return full;
  if (full.starts_with(L"\\\\")) return std::wstring(kLongShare) + full.substr(2);
  return std::wstring(kLong) + full;
}

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

unsigned long MakeFolders(const std::wstring& systemPath) {
  if (IsFolder(systemPath) || ::CreateDirectoryW(systemPath.c_str(), nullptr)) return ERROR_SUCCESS;
  const DWORD error = ::GetLastError();
  if (error == ERROR_ALREADY_EXISTS) return ERROR_DIRECTORY;  // a file has that name
  const size_t end = systemPath.find_last_of(L'\\');
  if (error != ERROR_PATH_NOT_FOUND || end == std::wstring::npos || end <= kLong.size()) {
    return error;
  }
  const unsigned long above = MakeFolders(systemPath.substr(0, end));
  if (above != ERROR_SUCCESS) return above;
  return ::CreateDirectoryW(systemPath.c_str(), nullptr) ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace

Path::Path(const std::wstring& written) : system(SystemPath(written)), written(written) {
  if (system.empty()) error = ::GetLastError();
}

std::wstring Path::Shown() const {
  if (system.starts_with(kLongShare)) {
    return Printable(L"\\\\" + system.substr(kLongShare.size()));
  }
  return Printable(system.starts_with(kLong) ? system.substr(kLong.size()) : system);
}

Path Path::operator/(const std::wstring& name) const {
  Path below;
  below.system = system.ends_with(L'\\') ? system + name : system + L'\\' + name;
  return below;
}

unsigned long MakeFolders(const Path& folder) {
  return folder.Error() != ERROR_SUCCESS ? folder.Error() : MakeFolders(folder.System());
}

}  // namespace vtctl
