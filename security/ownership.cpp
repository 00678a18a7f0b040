#include <vtclass/win32.h>

#include <cwchar>
#include <string>
#include <utility>
#include <vector>

#include "platform/extended_path.h"
#include "platform/failure_code.h"
#include "platform/no_throw.h"
#include "platform/owned.h"
#include "platform/reparse_point.h"
#include "security/folder_path.h"
#include "security/take_over.h"
#include "vtclass/security.h"

using vtclass::OwnershipReport;
using vtclass::OwnershipStep;
using vtclass::platform::ExtendedPath;
using vtclass::platform::FailureCode;
using vtclass::platform::IsLink;
using vtclass::platform::IsReparsePoint;
using vtclass::platform::OwnedFileSearch;
using vtclass::platform::StatusOf;
using vtclass::security::NamesNothing;
using vtclass::security::TakeOver;
using vtclass::security::TakeOverReparsePoint;
using vtclass::security::WithoutTrailingBackslashes;

namespace {

bool IsDots(const wchar_t* name) {
  return std::wcscmp(name, L".") == 0 || std::wcscmp(name, L"..") == 0;
}

bool IsFolder(const wchar_t* path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Takes a folder and everything below it over. The folders that are being listed stand in a list of
// its own: a tree may be deeper than any stack.
class TreeWalk {
 public:
  TreeWalk(std::wstring folder, OwnershipReport report, void* context)
      : path(std::move(folder)), report(report), context(context) {}

  // 0, or the status of the first failure; 1223 when the report ended the walk before any.
  DWORD Run() {
    if (!Tell(vtclass::ownershipTaken, TakeOver(path.c_str())) || !Enter()) return result;
    while (!folders.empty()) {
      Folder& folder = folders.back();
      path.resize(folder.pathLength);
      ::SetLastError(ERROR_SUCCESS);
      if (!std::exchange(folder.hasEntry, false) && !::FindNextFileW(folder.search.Get(), &entry)) {
        const DWORD error = FailureCode();
        if (error != ERROR_NO_MORE_FILES && !Tell(vtclass::folderNotListed, error)) break;
        folders.pop_back();
      } else if (!IsDots(entry.cFileName) && !TakeEntry()) {
        break;
      }
    }
    return result;
  }

 private:
  struct Folder {
    OwnedFileSearch search;
    std::size_t pathLength;
    bool hasEntry; /* `entry` is its first one */
  };

  // Whether the walk goes on.
  bool TakeEntry() {
    if (!path.ends_with(L'\\')) path += L'\\';
    path += entry.cFileName;
    const bool isWalked =
        (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !IsLink(entry);
    const DWORD status =
        IsReparsePoint(entry) ? TakeOverReparsePoint(path.c_str()) : TakeOver(path.c_str());
    if (!Tell(vtclass::ownershipTaken, status)) return false;
    return !isWalked || Enter();
  }

  // Begins to list the folder `path`. Whether the walk goes on.
  bool Enter() {
    const std::size_t length = path.size();
    path += path.ends_with(L'\\') ? L"*" : L"\\*";
    ::SetLastError(ERROR_SUCCESS);
    OwnedFileSearch search(::FindFirstFileW(path.c_str(), &entry));
    const DWORD error = FailureCode();
    path.resize(length);
    if (search) {
      folders.push_back({std::move(search), length, true});
      return true;
    }
    // The root of an empty volume lists not even "." and "..": no file is found there.
    const bool isEmpty =
        error == ERROR_NO_MORE_FILES || (error == ERROR_FILE_NOT_FOUND && IsFolder(path.c_str()));
    return isEmpty || Tell(vtclass::folderNotListed, error);
  }

  // Whether the walk goes on.
  bool Tell(OwnershipStep step, DWORD status) {
    if (result == ERROR_SUCCESS) result = status;
    const bool goesOn =
        report ? report(step, path.c_str(), status, context) : status == ERROR_SUCCESS;
    if (!goesOn && result == ERROR_SUCCESS) result = ERROR_CANCELLED;
    return goesOn;
  }

  std::wstring path;  // what is looked at
  const OwnershipReport report;
  void* const context;
  DWORD result = ERROR_SUCCESS;
  WIN32_FIND_DATAW entry = {};  // what was listed last
  std::vector<Folder> folders;  // that are being listed, each in the one before
};

// `work` with the path as the system takes it; a status.
template <typename Work>
DWORD WithPath(const wchar_t* path, Work work) noexcept {
  if (!path || NamesNothing(path)) return ERROR_INVALID_PARAMETER;
  return StatusOf([&]() -> DWORD {
    std::wstring system = ExtendedPath(path);
    return system.empty() ? ::GetLastError() : work(system);
  });
}

// The functions that are called report as those do that they call.
int AsResult(DWORD status) noexcept {
  if (status == ERROR_SUCCESS) return 1;
  ::SetLastError(status);
  return 0;
}

}  // namespace

unsigned long vtclass::border::TakeFolderOwnership(const wchar_t* path, OwnershipReport report,
                                                   void* context) noexcept {
  return WithPath(path, [&](std::wstring& folder) {
    folder.resize(WithoutTrailingBackslashes(folder).size());
    return TreeWalk(std::move(folder), report, context).Run();
  });
}

int TakeOwnership(const wchar_t* path) noexcept {
  return AsResult(WithPath(path, [](const std::wstring& file) { return TakeOver(file.c_str()); }));
}

int TakeFolderOwnership(const wchar_t* path) noexcept {
  return AsResult(vtclass::border::TakeFolderOwnership(path, nullptr, nullptr));
}
