#ifndef VTCLASS_LOG_BUFFER_GROWTH_H
#define VTCLASS_LOG_BUFFER_GROWTH_H

#include <cstddef>
#include <cstdint>

#include "strings/wide_text.h"

namespace vtclass::log {

/* The working buffers of a log: first capacity, growth, and where a job log's format buffer stops.
 * In characters, of an ANSI buffer in bytes. */
inline constexpr std::size_t kFirstCapacity = 256;
inline constexpr std::size_t kGrowth = 128;
inline constexpr std::size_t kFormatCeiling = 33792;

/* The smallest of capacity, capacity + step, capacity + 2 * step, ... that is at least `needed`. */
std::size_t GrownCapacity(std::size_t capacity, std::size_t needed, std::size_t step);

/*
 * The capacity that CWcharBuffer needs before `length` characters are appended: `capacity` itself
 * when they fit. Nothing is 0: the text is longer than any buffer can be.
 */
std::uint64_t RoomForAppend(std::uint64_t capacity, std::uint64_t used, std::uint64_t length);

/* True for the characters that CWcharBuffer::Write drops. */
constexpr bool IsDroppedFromBuffer(WideUnit unit) {
  return unit == 0x01 || (unit >= 0x03 && unit <= 0x09) || unit == 0x0B || unit == 0x0C ||
         unit == 0x0E || unit == 0x1F;
}

}  // namespace vtclass::log

#endif
