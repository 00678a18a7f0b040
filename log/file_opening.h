#ifndef VTCLASS_LOG_FILE_OPENING_H
#define VTCLASS_LOG_FILE_OPENING_H

#include <vtclass/win32.h>

#include "log/file_bytes.h"
#include "platform/owned.h"
#include "vtclass/strings.h"

namespace vtclass::log {

/* The numbers by which callers choose how a log is opened. */
inline constexpr int kCreateAlways = 0;
inline constexpr int kAppend = 1;
inline constexpr int kCreateNew = 2;

/*
 * Opens a log's file for reading and writing, at its end, which `*size` tells; others may read it.
 * Half a character at the end of a UTF-16 log, which a program left that ended on a full disk, is
 * cut off: it would shift all that follows. A Win32 status; ERROR_INVALID_PARAMETER for another
 * mode. After a failure both are as before.
 */
DWORD OpenFile(int openMode, const wchar_t* path, bool unicode, platform::OwnedFile* file,
               Position* size);

/*
 * The path from the root of its drive, whatever the current folder is later. One that the system
 * does not understand comes back as it is. Throws std::bad_alloc.
 */
wcstring FullName(const wchar_t* path);

/* The first bytes of a new UTF-16 file; the rest as AppendWhole. */
DWORD AppendByteOrderMark(HANDLE file, Position* size, bool* torn);

/* The same as OpenFile for a debug log, with the byte-order mark of a new UTF-16 file. */
DWORD OpenTrace(int openMode, const wchar_t* path, bool unicode, platform::OwnedFile* file,
                Position* size);

/* Opens the file for appending; makes it where it is missing. An empty one gets its mark. */
DWORD OpenOrMakeTrace(const wchar_t* path, bool unicode, platform::OwnedFile* file, Position* size);

}  // namespace vtclass::log

#endif
