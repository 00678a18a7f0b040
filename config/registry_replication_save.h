#ifndef VTCLASS_CONFIG_REGISTRY_REPLICATION_SAVE_H
#define VTCLASS_CONFIG_REGISTRY_REPLICATION_SAVE_H

#include <vtclass/win32.h>

#include <string>

namespace vtclass::config {

/*
 * Saves `key` to a temporary file in `directory`, which ends with a backslash, and puts that in the
 * data file's place. 0, or the status of what failed; the data file is the former one then, or
 * there is none if the deletion of the former one succeeded. Throws std::bad_alloc, with nothing
 * done.
 */
DWORD SaveKey(HKEY key, const std::wstring& keyPath, const std::wstring& directory);

}  // namespace vtclass::config

#endif
