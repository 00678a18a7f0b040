#ifndef VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_TEXT_H
#define VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vtctl::debuglog {

enum class Encoding { ansi, utf16 };

/* From the first bytes of a debug log: a byte-order mark, or the zero byte of a first wide letter
 * where a log was begun without one. */
Encoding EncodingOf(std::string_view firstBytes);

/* The bytes of `bytes` up to and including its last line feed; 0 when there is none. */
std::size_t LengthOfWholeLines(std::string_view bytes, Encoding encoding);

/* Where the last `count` lines of `bytes` begin; a last line without its end counts. */
std::size_t StartOfLastLines(std::string_view bytes, Encoding encoding, std::size_t count);

/* Bytes of a log as they are shown: without a byte-order mark, line ends as "\n", characters that
 * would speak to the terminal as U+FFFD, tabs as they are. */
std::wstring ShownText(std::string_view bytes, Encoding encoding);

/* The number at the end of a rotated file's name, "bak" and 12 of "trace.log.bak12" for
 * "trace.log". Nothing when the name is of another form. */
struct RotatedPart {
  std::wstring extension;
  unsigned long number = 0;
};
std::optional<RotatedPart> RotatedPartOf(std::wstring_view liveName, std::wstring_view name);

/* "trace-3.log" for "trace-2.log", "trace-2.log" for "trace.log": where a log without limits goes
 * on. `number` is that of the file now, 1 for the first. */
std::wstring FurtherName(std::wstring_view firstPath, unsigned long number);

}  // namespace vtctl::debuglog

#endif
