#include "log/file_opening.h"

#include <iterator>
#include <string>
#include <utility>

namespace vtclass::log {

using platform::OwnedFile;

namespace {

// "C:\", "C:/", or two separators: a server's name or a device's.
bool IsFull(const wcstring& path) {
  const auto isSeparator = [&](std::size_t at) { return path[at] == L'\\' || path[at] == L'/'; };
  if (path.size() < 3) return false;
  return (path[1] == L':' && isSeparator(2)) || (isSeparator(0) && isSeparator(1));
}

}  // namespace

wcstring FullName(const wchar_t* path) {
  wcstring name(path);
  if (IsFull(name)) return name;
  std::wstring full(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetFullPathNameW(name.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0) return name;
    if (length < full.size()) return wcstring(full.c_str());
    full.resize(length + std::size_t{1});
  }
}

DWORD OpenFile(int openMode, const wchar_t* path, bool unicode, OwnedFile* file, Position* size) {
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
    if (unicode && end % sizeof(wchar_t) != 0) {
      if (const DWORD failure = CutAt(opened.Get(), --end)) return failure;
    }
  }
  *file = std::move(opened);
  *size = end;
  return ERROR_SUCCESS;
}

DWORD AppendByteOrderMark(HANDLE file, Position* size, bool* torn) {
  static constexpr unsigned char kByteOrderMark[] = {0xFF, 0xFE};
  return AppendWhole(file, kByteOrderMark, sizeof(kByteOrderMark), size, torn);
}

DWORD OpenTrace(int openMode, const wchar_t* path, bool unicode, OwnedFile* file, Position* size) {
  OwnedFile opened;
  Position end = 0;
  if (const DWORD failure = OpenFile(openMode, path, unicode, &opened, &end)) return failure;
  if (unicode && openMode != kAppend) {
    bool torn = false;
    if (const DWORD failure = AppendByteOrderMark(opened.Get(), &end, &torn)) return failure;
  }
  *file = std::move(opened);
  *size = end;
  return ERROR_SUCCESS;
}

DWORD OpenOrMakeTrace(const wchar_t* path, bool unicode, OwnedFile* file, Position* size) {
  OwnedFile opened;
  Position end = 0;
  DWORD failure = OpenFile(kAppend, path, unicode, &opened, &end);
  if (failure == ERROR_FILE_NOT_FOUND) failure = OpenFile(kCreateNew, path, unicode, &opened, &end);
  // Also where an earlier try made the file and the disk had no room for its mark, or for half.
  if (failure == ERROR_SUCCESS && unicode && end == 0) {
    bool torn = false;
    failure = AppendByteOrderMark(opened.Get(), &end, &torn);
  }
  if (failure != ERROR_SUCCESS) return failure;
  *file = std::move(opened);
  *size = end;
  return ERROR_SUCCESS;
}

}  // namespace vtclass::log
