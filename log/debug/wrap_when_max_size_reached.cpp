#include "log/debug/wrap_when_max_size_reached.h"

#include <algorithm>
#include <utility>

#include "log/debug/rename_when_max_size_reached.h"
#include "log/wrap_marker.h"
#include "platform/hresult.h"

namespace vtclass::log {

using platform::HResultOfFailure;

namespace {

constexpr char kMarker[] = "<<< This file has wrapped >>>\r\n";
constexpr wchar_t kWideMarker[] = L"<<< This file has wrapped >>>\r\n";

// A file that callers made themselves may have no byte-order mark.
DWORD MeasureMark(const LiveFile& live, DWORD* size) {
  *size = 0;
  if (!live.unicode) return ERROR_SUCCESS;
  wchar_t first = 0;
  const DWORD failure = ReadAt(live.file.Get(), 0, &first, sizeof(first));
  if (first == 0xFEFF) *size = sizeof(first);
  return failure;
}

// The first line that begins at `from` or behind it; `from` itself where no line ends soon.
DWORD FindLineStart(const LiveFile& live, Position* from) {
  const DWORD unit = live.unicode ? sizeof(wchar_t) : 1;
  *from -= *from % unit;
  if (*from == live.size) return ERROR_SUCCESS;
  // With the unit in front of it: where that ends a line, nothing is skipped.
  *from -= unit;
  char bytes[4096];
  const DWORD size = static_cast<DWORD>(std::min<Position>(live.size - *from, sizeof(bytes)));
  if (const DWORD failure = ReadAt(live.file.Get(), *from, bytes, size)) return failure;
  const std::size_t skipped = LengthOfFirstLine({bytes, size}, live.unicode);
  *from += skipped != 0 ? skipped : unit;
  return ERROR_SUCCESS;
}

}  // namespace

long WrapWhenMaxSizeReached::MakeRoom(LiveFile& live) {
  const DWORD failure = Wrap(live);
  if (failure == ERROR_SUCCESS) {
    reported = false;
    return S_OK;
  }
  if (!std::exchange(reported, true)) {
    ::OutputDebugStringW(L"WrapWhenMaxSizeReached::MakeRoom - Unable to move lines");
  }
  return HResultOfFailure(failure);
}

DWORD WrapWhenMaxSizeReached::Wrap(LiveFile& live) const {
  const HANDLE file = live.file.Get();
  DWORD front = 0;
  Position from = live.size - retention;
  DWORD failure = MeasureMark(live, &front);
  if (failure == ERROR_SUCCESS) failure = FindLineStart(live, &from);
  if (failure == ERROR_SUCCESS) {
    const DWORD size = live.unicode ? sizeof(kWideMarker) - sizeof(wchar_t) : sizeof(kMarker) - 1;
    failure =
        WriteAt(file, front, live.unicode ? static_cast<const void*>(kWideMarker) : kMarker, size);
    front += size;
  }
  if (failure == ERROR_SUCCESS) failure = MoveToFront(file, from, front, live.size, nullptr);
  // Wherever that ended, the log goes on at the end of the file. One that cannot get there would
  // write over its own lines: it opens the file again.
  const DWORD lost = GoToEnd(file, &live.size);
  if (lost != ERROR_SUCCESS) live.file.Reset();
  return failure != ERROR_SUCCESS ? failure : lost;
}

std::unique_ptr<SizeLimitPolicy> MakePolicy(const SizeLimits& limits) {
  switch (limits.mode) {
    case LimitMode::rename:
      return std::make_unique<RenameWhenMaxSizeReached>(limits.count, limits.extension);
    case LimitMode::wrap:
      return std::make_unique<WrapWhenMaxSizeReached>(limits.retention);
    default:
      return nullptr;
  }
}

}  // namespace vtclass::log
