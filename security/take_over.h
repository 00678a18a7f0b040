#ifndef VTCLASS_SECURITY_TAKE_OVER_H
#define VTCLASS_SECURITY_TAKE_OVER_H

#include <vtclass/win32.h>

namespace vtclass::security {

/* Makes what a path leads to the local system account's, with full access for it; see
 * TakeOwnership. 0, or the status of the call that failed. */
DWORD TakeOver(const wchar_t* path) noexcept;

/* The same for a reparse point itself, such as a link, not for what it leads to. */
DWORD TakeOverReparsePoint(const wchar_t* path) noexcept;

}  // namespace vtclass::security

#endif
