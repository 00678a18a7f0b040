#ifndef VTCLASS_LOG_FILE_BYTES_H
#define VTCLASS_LOG_FILE_BYTES_H

#include <vtclass/win32.h>

#include <cstddef>
#include <span>

namespace vtclass::log {

/*
 * A log's file as bytes at positions. Every function answers with a Win32 status, 0 for success.
 */
using Position = unsigned long long;

/*
 * Writes `size` bytes at the end of a file, whole or not at all: what a full disk took of them is
 * cut off again, for half a text would leave half a character that shifts all that follows. The
 * file is cut after every failure, whatever the system says of the bytes that it took. Where
 * that fails too, `*torn` says so, and the next call cuts before it writes, or fails. A caller who
 * has lost the file's end sets `*torn` himself: the next call goes there first.
 * `*fileSize` is the size of the whole texts before and after.
 * Requires: unless torn, the file's position is its end.
 */
DWORD AppendWhole(HANDLE file, const void* bytes, std::size_t size, Position* fileSize, bool* torn);

/* Cuts off the part of a text behind `fileSize` that an AppendWhole has left, if it has. */
DWORD CutTornText(HANDLE file, Position fileSize, bool* torn);

/* Makes `position` the end of the file and goes there. */
DWORD CutAt(HANDLE file, Position position);

/* Goes to the end of the file, which `*position` tells. */
DWORD GoToEnd(HANDLE file, Position* position);

/* Reads or writes exactly `size` bytes from `position` on; fewer are an error. */
DWORD ReadAt(HANDLE file, Position position, void* bytes, DWORD size);
DWORD WriteAt(HANDLE file, Position position, const void* bytes, DWORD size);

/*
 * Copies the bytes from `from` to `end` to the place `to` in front of them and ends the file behind
 * the copy. Each byte is at its new place before its old one is overwritten, and on the disk
 * before the old ones are cut off: whatever interrupts this loses none of them. `edit`, unless
 * null, may change the first chunk on the way.
 * Requires: to <= from <= end.
 */
DWORD MoveToFront(HANDLE file, Position from, Position to, Position end,
                  void (*edit)(std::span<char> firstChunk));

}  // namespace vtclass::log

#endif
