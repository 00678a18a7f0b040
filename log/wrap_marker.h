#ifndef VTCLASS_LOG_WRAP_MARKER_H
#define VTCLASS_LOG_WRAP_MARKER_H

#include <cstddef>
#include <span>

namespace vtclass::log {

/*
 * Marks the first chunk of a wrapped ANSI log: "This file has wrapped." overwrites its start, and
 * blanks overwrite the rest of the cut first line up to and including its carriage return. A chunk
 * without a carriage return gets the marker alone; one shorter than the marker, its beginning.
 */
void MarkWrapped(std::span<char> chunk);

/* The bytes of a log up to and including the first line feed; 0 when there is none. In UTF-16 only
 * whole units count. */
std::size_t LengthOfFirstLine(std::span<const char> bytes, bool utf16);

}  // namespace vtclass::log

#endif
