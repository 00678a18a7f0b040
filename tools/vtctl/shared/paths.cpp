#include "tools/vtctl/shared/paths.h"

#include <vtclass/win32.h>

#include <string_view>

#include "platform/extended_path.h"
#include "tools/vtctl/shared/printable.h"

using vtclass::platform::ExtendedPath;
using vtclass::platform::kExtendedPrefix;
using vtclass::platform::kExtendedSharePrefix;

namespace vtctl {
namespace {

bool IsFolder(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

unsigned long MakeFolders(const std::wstring& systemPath) {
  if (IsFolder(systemPath) || ::CreateDirectoryW(systemPath.c_str(), nullptr)) return ERROR_SUCCESS;
  const DWORD error = ::GetLastError();
  if (error == ERROR_ALREADY_EXISTS) return ERROR_DIRECTORY;  // a file has that name
  const size_t end = systemPath.find_last_of(L'\\');
  if (error != ERROR_PATH_NOT_FOUND || end == std::wstring::npos || end <= kExtendedPrefix.size()) {
    return error;
  }
  const unsigned long above = MakeFolders(systemPath.substr(0, end));
  if (above != ERROR_SUCCESS) return above;
  return ::CreateDirectoryW(systemPath.c_str(), nullptr) ? ERROR_SUCCESS : ::GetLastError();
}

std::wstring PlainPath(std::wstring_view systemPath) {
  if (systemPath.starts_with(kExtendedSharePrefix)) {
    return L"\\\\" + std::wstring(systemPath.substr(kExtendedSharePrefix.size()));
  }
  // Volumes and devices that have no letter are nothing without the prefix.
  constexpr size_t kColon = kExtendedPrefix.size() + 1;
  const bool hasLetter = systemPath.starts_with(kExtendedPrefix) &&
                         systemPath.size() > kColon + 1 && systemPath.substr(kColon, 2) == L":\\";
  return std::wstring(systemPath.substr(hasLetter ? kExtendedPrefix.size() : 0));
}

}  // namespace

Path::Path(const std::wstring& written) : system(ExtendedPath(written)), written(written) {
  if (system.empty()) error = ::GetLastError();
}

std::wstring Path::Shown() const { return Printable(PlainPath(system)); }

std::wstring Path::Stored() const { return Storable(PlainPath(system)); }

Path Path::operator/(const std::wstring& name) const {
  Path below;
  below.system = system.ends_with(L'\\') ? system + name : system + L'\\' + name;
  return below;
}

std::wstring Quoted(const Path& path) { return L"\"" + path.Written() + L"\""; }

unsigned long MakeFolders(const Path& folder) {
  return folder.Error() != ERROR_SUCCESS ? folder.Error() : MakeFolders(folder.System());
}

}  // namespace vtctl
