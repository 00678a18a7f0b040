#include "log/file_opening.h"

#include <iterator>
#include <utility>

namespace vtclass::log {

using platform::OwnedFile;

DWORD OpenFile(int openMode, const wchar_t* path, OwnedFile* file, Position* size) {
  static constexpr DWORD kDispositions[] = {CREATE_ALWAYS, OPEN_EXISTING, CREATE_NEW};
  if (openMode < 0 || openMode >= static_cast<int>(std::size(kDispositions))) {
    return ERROR_INVALID_PARAMETER;
  }
  OwnedFile opened(::CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                 kDispositions[openMode], FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!opened) return ::GetLastError();
  Position end = 0;
  if (openMode == kAppend) {
    if (const DWORD failure = GoToEnd(opened.Get(), &end)) return failure;
  }
  *file = std::move(opened);
  *size = end;
  return ERROR_SUCCESS;
}

DWORD AppendByteOrderMark(HANDLE file, Position* size) {
  static constexpr unsigned char kByteOrderMark[] = {0xFF, 0xFE};
  return AppendWhole(file, kByteOrderMark, sizeof(kByteOrderMark), size);
}

DWORD OpenTrace(int openMode, const wchar_t* path, bool unicode, OwnedFile* file, Position* size) {
  OwnedFile opened;
  Position end = 0;
  if (const DWORD failure = OpenFile(openMode, path, &opened, &end)) return failure;
  if (unicode && openMode != kAppend) {
    if (const DWORD failure = AppendByteOrderMark(opened.Get(), &end)) return failure;
  }
  *file = std::move(opened);
  *size = end;
  return ERROR_SUCCESS;
}

DWORD OpenOrMakeTrace(const wchar_t* path, bool unicode, OwnedFile* file, Position* size) {
  OwnedFile opened;
  Position end = 0;
  DWORD failure = OpenFile(kAppend, path, &opened, &end);
  if (failure == ERROR_FILE_NOT_FOUND) failure = OpenFile(kCreateNew, path, &opened, &end);
  // Also where an earlier try made the file and the disk had no room for its mark.
  if (failure == ERROR_SUCCESS && unicode && end == 0) {
    failure = AppendByteOrderMark(opened.Get(), &end);
  }
  if (failure != ERROR_SUCCESS) return failure;
  *file = std::move(opened);
  *size = end;
  return ERROR_SUCCESS;
}

}  // namespace vtclass::log
