#include "tools/vtctl/shared/paths.h"

#include <vtclass/win32.h>

#include "platform/extended_path.h"
#include "tools/vtctl/shared/printable.h"

using vtclass::platform::ExtendedPath;
using vtclass::platform::kExtendedPrefix;

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

}  // namespace

Path::Path(const std::wstring& written) : system(ExtendedPath(written)), written(written) {
  if (system.empty()) error = ::GetLastError();
}

std::wstring Path::Shown() const { return Printable(PlainPath(system)); }

Path Path::operator/(const std::wstring& name) const {
  Path below;
  below.system = system.ends_with(L'\\') ? system + name : system + L'\\' + name;
  return below;
}

unsigned long MakeFolders(const Path& folder) {
  return folder.Error() != ERROR_SUCCESS ? folder.Error() : MakeFolders(folder.System());
}

}  // namespace vtctl
