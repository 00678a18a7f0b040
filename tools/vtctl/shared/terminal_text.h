#ifndef VTCLASS_TOOLS_VTCTL_SHARED_TERMINAL_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_TERMINAL_TEXT_H

#include <cstddef>
#include <string>

namespace vtctl {

/* Each line in fewer than so many columns, broken at blanks alone; what follows is indented by more
 * than the line is. Colours take no columns. */
std::wstring WrappedLines(const std::wstring& lines, std::size_t columns);

/* The same for the terminal that standard output is; elsewhere the lines as they are. */
std::wstring ForTerminal(const std::wstring& lines);

}  // namespace vtctl

#endif
