#ifndef VTCLASS_TOOLS_VTCTL_SHARED_PRINTABLE_H
#define VTCLASS_TOOLS_VTCTL_SHARED_PRINTABLE_H

#include <span>
#include <string>
#include <string_view>

namespace vtctl {

/*
 * A name or path as it may stand on a screen. What no job log holds (Storable), all control
 * characters, and marks that turn a text or take no room, by which one name looks like another,
 * become U+FFFD: the reader sees that something stood there.
 */
std::wstring Printable(std::wstring_view name);
/* The same in place, without a copy. */
void MakePrintable(std::span<wchar_t> text);

/*
 * A name or path as it may stand in a job log, otherwise the real one. What XML 1.0 cannot hold
 * (control characters but tab, line feed and carriage return, surrogates without their other half,
 * U+FFFE, U+FFFF) becomes U+FFFD. The job log escapes its markup itself; nothing is escaped here.
 */
std::wstring Storable(std::wstring_view name);

}  // namespace vtctl

#endif
