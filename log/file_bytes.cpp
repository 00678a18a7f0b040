#include "log/file_bytes.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "platform/checked_cast.h"

namespace vtclass::log {

namespace {

constexpr DWORD kWorkSize = 33792;
constexpr DWORD kChunkSize = 33790;

DWORD Seek(HANDLE file, Position position) {
  LARGE_INTEGER target{};
  target.QuadPart = static_cast<long long>(position);
  return ::SetFilePointerEx(file, target, nullptr, FILE_BEGIN) ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace

DWORD AppendWhole(HANDLE file, const void* bytes, std::size_t size, Position* fileSize,
                  bool* torn) {
  if (size == 0) return ERROR_SUCCESS;
  const std::optional<DWORD> wanted = platform::CheckedCast<DWORD>(size);
  if (!wanted) return ERROR_INVALID_PARAMETER;
  if (const DWORD failure = CutTornText(file, *fileSize, torn)) return failure;
  DWORD written = 0;
  const BOOL success = ::WriteFile(file, bytes, *wanted, &written, nullptr);
  if (success && written == *wanted) {
    *fileSize += written;
    return ERROR_SUCCESS;
  }
  // A full disk may take the first part of a text and report success.
  const DWORD failure = success ? ERROR_DISK_FULL : ::GetLastError();
  // Nor does a failure say for certain that nothing has reached the file.
  *torn = true;
  CutTornText(file, *fileSize, torn);
  return failure;
}

DWORD CutTornText(HANDLE file, Position fileSize, bool* torn) {
  if (!*torn) return ERROR_SUCCESS;
  const DWORD failure = CutAt(file, fileSize);
  *torn = failure != ERROR_SUCCESS;
  return failure;
}

DWORD CutAt(HANDLE file, Position position) {
  if (const DWORD failure = Seek(file, position)) return failure;
  return ::SetEndOfFile(file) ? ERROR_SUCCESS : ::GetLastError();
}

DWORD GoToEnd(HANDLE file, Position* position) {
  LARGE_INTEGER end{};
  if (!::SetFilePointerEx(file, {}, &end, FILE_END)) return ::GetLastError();
  *position = static_cast<Position>(end.QuadPart);
  return ERROR_SUCCESS;
}

DWORD ReadAt(HANDLE file, Position position, void* bytes, DWORD size) {
  if (const DWORD failure = Seek(file, position)) return failure;
  DWORD read = 0;
  if (!::ReadFile(file, bytes, size, &read, nullptr)) return ::GetLastError();
  return read == size ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
}

DWORD WriteAt(HANDLE file, Position position, const void* bytes, DWORD size) {
  if (const DWORD failure = Seek(file, position)) return failure;
  DWORD written = 0;
  if (!::WriteFile(file, bytes, size, &written, nullptr)) return ::GetLastError();
  return written == size ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

DWORD MoveToFront(HANDLE file, Position from, Position to, Position end,
                  void (*edit)(std::span<char> firstChunk)) {
  // Prints run guarded, where a fault would lose this buffer; all that is touched here is our own.
  const std::unique_ptr<char[]> work(new (std::nothrow) char[kWorkSize]);
  if (!work) return ERROR_NOT_ENOUGH_MEMORY;
  if (!::FlushFileBuffers(file)) return ::GetLastError();
  while (from < end) {
    const DWORD size = static_cast<DWORD>(std::min<Position>(end - from, kChunkSize));
    if (const DWORD failure = ReadAt(file, from, work.get(), size)) return failure;
    if (edit) std::exchange(edit, nullptr)({work.get(), size});
    if (const DWORD failure = WriteAt(file, to, work.get(), size)) return failure;
    from += size;
    to += size;
  }
  if (!::FlushFileBuffers(file)) return ::GetLastError();
  return CutAt(file, to);
}

}  // namespace vtclass::log
