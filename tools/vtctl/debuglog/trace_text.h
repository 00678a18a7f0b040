#ifndef VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_TEXT_H
#define VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_TEXT_H

#include <optional>
#include <string>
#include <string_view>

#include "tools/vtctl/debuglog/trace_lines.h"

namespace vtctl::debuglog {

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
