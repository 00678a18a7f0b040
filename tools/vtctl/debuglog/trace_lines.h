#ifndef VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_LINES_H
#define VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_LINES_H

#include <cstddef>
#include <string_view>

/* Where the lines of a debug log begin and end, in its bytes. */
namespace vtctl::debuglog {

inline constexpr std::string_view kByteOrderMark = "\xFF\xFE";

enum class Encoding { ansi, utf16 };

/* From the first bytes of a debug log: a byte-order mark, or the zero byte of a first wide letter
 * where a log was begun without one. */
Encoding EncodingOf(std::string_view firstBytes);

/* The bytes of `bytes` up to and including its last line feed; 0 when there is none. */
std::size_t LengthOfWholeLines(std::string_view bytes, Encoding encoding);

/* Where the last `count` lines of `bytes` begin; a last line without its end counts. */
std::size_t StartOfLastLines(std::string_view bytes, Encoding encoding, std::size_t count);

}  // namespace vtctl::debuglog

#endif
