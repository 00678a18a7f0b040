#include <algorithm>
#include <memory>
#include <new>

#include "log/wrap_marker.h"
#include "vtclass/log.h"

namespace {

using Position = unsigned long long;

constexpr DWORD kWorkSize = 33792;
constexpr DWORD kChunkSize = 33790;

DWORD Seek(HANDLE file, Position position) {
  LARGE_INTEGER target{};
  target.QuadPart = static_cast<long long>(position);
  return ::SetFilePointerEx(file, target, nullptr, FILE_BEGIN) ? ERROR_SUCCESS : ::GetLastError();
}

DWORD ReadAt(HANDLE file, Position position, char* chunk, DWORD size) {
  if (const DWORD failure = Seek(file, position)) return failure;
  DWORD read = 0;
  if (!::ReadFile(file, chunk, size, &read, nullptr)) return ::GetLastError();
  return read == size ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
}

DWORD WriteAt(HANDLE file, Position position, const char* chunk, DWORD size) {
  if (const DWORD failure = Seek(file, position)) return failure;
  DWORD written = 0;
  if (!::WriteFile(file, chunk, size, &written, nullptr)) return ::GetLastError();
  return written == size ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

DWORD CutAt(HANDLE file, Position position) {
  if (const DWORD failure = Seek(file, position)) return failure;
  return ::FlushFileBuffers(file) && ::SetEndOfFile(file) ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace

// The text that made the file too large is written, whatever becomes of the wrap: its print
// succeeds.
void LogFile::WrapIfTooLarge() {
  // A kept size that the file has not reached leaves nothing to cut.
  if (!wrapEnabled || fileSize <= maximumSize || fileSize <= keptSize) return;
  const unsigned long failure = MoveNewestToFront();
  if (failure == ERROR_SUCCESS) return;
  // Trying again would overwrite the front of the file once more at every print.
  wrapEnabled = 0;
  lastError = failure;
  LARGE_INTEGER end{};
  if (::SetFilePointerEx(file, {}, &end, FILE_END)) {
    fileSize = static_cast<Position>(end.QuadPart);
  }
}

unsigned long LogFile::MoveNewestToFront() {
  // Prints run guarded, where a fault would lose this buffer; all that is touched here is our own.
  const std::unique_ptr<char[]> work(new (std::nothrow) char[kWorkSize]);
  if (!work) return ERROR_NOT_ENOUGH_MEMORY;
  if (!::FlushFileBuffers(file)) return ::GetLastError();
  Position to = 0;
  for (Position from = fileSize - keptSize; from < fileSize;) {
    const DWORD size = static_cast<DWORD>(std::min<Position>(fileSize - from, kChunkSize));
    if (const DWORD failure = ReadAt(file, from, work.get(), size)) return failure;
    if (to == 0 && !unicode) vtclass::log::MarkWrapped({work.get(), size});
    if (const DWORD failure = WriteAt(file, to, work.get(), size)) return failure;
    from += size;
    to += size;
  }
  if (const DWORD failure = CutAt(file, to)) return failure;
  fileSize = to;
  return ERROR_SUCCESS;
}
