#include "log/debug/rename_when_max_size_reached.h"

#include <utility>

#include "log/debug/log_names.h"
#include "log/file_opening.h"
#include "platform/hresult.h"

namespace vtclass::log {

using platform::HResultOfFailure;

namespace {

// How far above the count the clean-up looks for files of an earlier, larger count.
constexpr std::uint32_t kCleanUpRange = 20;

DWORD FailureOf(BOOL done) {
  if (done) return ERROR_SUCCESS;
  const DWORD failure = ::GetLastError();
  return failure == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : failure;
}

bool Exists(const WideText& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

RenameWhenMaxSizeReached::RenameWhenMaxSizeReached(std::uint32_t count, WideText extension)
    : count(count), extension(std::move(extension)) {}

long RenameWhenMaxSizeReached::MakeRoom(LiveFile& live) {
  // Leftovers that cannot be moved now must not keep the live file from rolling.
  if (!std::exchange(cleanedUp, true)) CleanUp(live.path);
  // Moving it takes a file that nobody has open.
  live.file.Reset();
  long result = RenameFiles(live.path, count, &nextToFree);
  if (result == S_OK) result = RollingRename(live.path);
  // The fresh file, or after a failure the one that is still there: its text is kept in any case.
  const DWORD failure = OpenOrMakeTrace(live.path, live.unicode, &live.file, &live.size);
  return failure == ERROR_SUCCESS ? result : HResultOfFailure(failure);
}

// From the highest number down, each leftover moves all files one number down.
void RenameWhenMaxSizeReached::CleanUp(const wchar_t* path) {
  for (std::uint32_t last = count + kCleanUpRange; last > count; --last) {
    std::uint32_t next = 1;
    if (Exists(Rotated(path, last))) RenameFiles(path, last, &next);
  }
}

// Frees the number `last`: deletes file 1 and moves 2 to `last` down, beginning with `*next`, which
// is then the one that could not be moved.
long RenameWhenMaxSizeReached::RenameFiles(const wchar_t* path, std::uint32_t last,
                                           std::uint32_t* next) {
  for (; *next <= last; ++*next) {
    const WideText from = Rotated(path, *next);
    if (*next == 1) {
      if (const DWORD failure = FailureOf(::DeleteFileW(from.c_str()))) {
        return Report(failure, L"RenameWhenMaxSizeReached::RenameFiles - Unable to delete files");
      }
    } else if (const DWORD failure =
                   FailureOf(::MoveFileW(from.c_str(), Rotated(path, *next - 1).c_str()))) {
      return Report(failure, L"RenameWhenMaxSizeReached::RenameFiles - Unable to move file");
    }
  }
  return S_OK;
}

long RenameWhenMaxSizeReached::RollingRename(const wchar_t* path) {
  if (const DWORD failure = FailureOf(::MoveFileW(path, Rotated(path, count).c_str()))) {
    return Report(failure, L"RenameWhenMaxSizeReached::RollingRename - Unable to move file");
  }
  nextToFree = 1;
  reported = false;
  return S_OK;
}

WideText RenameWhenMaxSizeReached::Rotated(const wchar_t* path, std::uint32_t number) const {
  return RotatedName(path, extension, number);
}

// A cause that lasts would otherwise be told again at every try.
long RenameWhenMaxSizeReached::Report(DWORD failure, const wchar_t* text) {
  // Somebody has put a file where this roll had made room. Only a chain from the front frees that
  // number again.
  if (failure == ERROR_ALREADY_EXISTS) nextToFree = 1;
  if (!std::exchange(reported, true)) ::OutputDebugStringW(text);
  return HResultOfFailure(failure);
}

}  // namespace vtclass::log
