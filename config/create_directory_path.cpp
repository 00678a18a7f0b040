#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "config/replica_names.h"
#include "platform/extended_path.h"
#include "platform/failure_code.h"
#include "platform/no_throw.h"
#include "security/folder_path.h"
#include "vtclass/replication.h"

using vtclass::config::ParentLength;
using vtclass::platform::ExtendedPath;
using vtclass::platform::FailureCode;
using vtclass::platform::StatusOf;
using vtclass::security::WithoutTrailingBackslashes;

namespace {

enum class Found { nothing, directory, file };

Found Look(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return Found::nothing;
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? Found::directory : Found::file;
}

DWORD Make(const std::wstring& path) {
  return ::CreateDirectoryW(path.c_str(), nullptr) ? ERROR_SUCCESS : FailureCode();
}

// Up to what exists or can be made, and down again: a path may have thousands of parts, too many
// for calls within calls. It is made absolute once and whole: blanks and dots at the end of a part
// count for the system where something stands behind them, and not where a path ends.
DWORD MakeWithParents(const std::wstring& given) {
  constexpr std::size_t kLongestPath = 32767;
  std::wstring path = ExtendedPath(given);
  if (path.empty()) return FailureCode();
  path.resize(WithoutTrailingBackslashes(path).size());
  if (path.size() > kLongestPath) return ERROR_FILENAME_EXCED_RANGE;
  std::vector<std::size_t> missing;
  for (std::wstring at = path;; at.resize(missing.back())) {
    const Found found = Look(at);
    if (found == Found::file) return ERROR_ALREADY_EXISTS;
    if (found == Found::directory) break;
    const DWORD status = Make(at);
    if (status == ERROR_SUCCESS) break;
    const std::size_t parent = ParentLength(at);
    if (parent == 0) return status;
    missing.push_back(parent);
  }
  // `missing` holds the lengths of the parents: that of what lies below each is one further on.
  while (!missing.empty()) {
    missing.pop_back();
    const std::size_t length = missing.empty() ? path.size() : missing.back();
    const DWORD status = Make(path.substr(0, length));
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

}  // namespace

bool CreateDirectoryPath(const wcstring& path) noexcept {
  const DWORD status = StatusOf([&] { return MakeWithParents(path); });
  if (status != ERROR_SUCCESS) ::SetLastError(status);
  return status == ERROR_SUCCESS;
}
