#ifndef VTCLASS_TOOLS_VTCTL_SHARED_PRINTABLE_H
#define VTCLASS_TOOLS_VTCTL_SHARED_PRINTABLE_H

#include <span>
#include <string>
#include <string_view>

namespace vtctl {

/*
 * A name or path as it may stand in a job log and on a screen. What XML 1.0 forbids (surrogates
 * without their other half, U+FFFE, U+FFFF) and control characters, which would break a line or
 * speak to the terminal, become U+FFFD, so that the reader sees that something stood there. The
 * job log escapes its markup itself; nothing is escaped here.
 */
std::wstring Printable(std::wstring_view name);

/* The same in place, without a copy. */
void MakePrintable(std::span<wchar_t> text);

}  // namespace vtctl

#endif
