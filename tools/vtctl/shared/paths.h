#ifndef VTCLASS_TOOLS_VTCTL_SHARED_PATHS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_PATHS_H

#include <string>

namespace vtctl {

/*
 * The absolute form of a path behind "\\?\", for the system: no limit of 260 characters, and names
 * with blanks or dots at their end are taken as they are. Empty, with the reason in
 * ::GetLastError(), when the system cannot make it absolute.
 */
std::wstring SystemPath(const std::wstring& path);

/* The same path as people write it, and fit for a log. */
std::wstring ShownPath(const std::wstring& systemPath);

std::wstring Joined(const std::wstring& folder, const std::wstring& name);

/* Makes a folder and the ones above it that are missing. The system's status. */
unsigned long MakeFolders(const std::wstring& systemPath);

}  // namespace vtctl

#endif
