#ifndef VTCLASS_TOOLS_VTCTL_SHARED_SYSTEM_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_SYSTEM_TEXT_H

#include <vtclass/win32.h>

#include <string>

namespace vtctl {

/* "Access denied. (5)": the system's words for a Win32 code on one line, in the language of the
 * calling thread; "Win32 5" when the system has no words for it. From 0x80000000 on
 * the number is in hexadecimal. */
std::wstring SystemText(unsigned long code);

/* "22:03:59": the local time, for lines that are printed as things happen. */
std::wstring ClockTime();

/* "2025-01-31T21:03:59Z": the time for scripts, the same wherever the machine stands. */
std::wstring IsoTime();
std::wstring IsoTime(const SYSTEMTIME& utc);

}  // namespace vtctl

#endif
