#ifndef VTCLASS_CONFIG_TRACELESS_OPEN_H
#define VTCLASS_CONFIG_TRACELESS_OPEN_H

#include <vtclass/win32.h>

namespace vtclass::config {

/*
 * Opens an existing key with everything that RegCreateKeyExW offers, and with its status codes, but
 * leaves nothing behind where there was nothing.
 *
 * Existing key: 0, `key` open, `disposition` REG_OPENED_EXISTING_KEY. Missing key:
 * ERROR_FILE_NOT_FOUND, `disposition` REG_CREATED_NEW_KEY; the key that the system made and the
 * parents made on the way are removed again in the registry view of `access`. Otherwise the
 * system's status or ERROR_NOT_ENOUGH_MEMORY, and `disposition` 0. On failure `key` is null.
 *
 * A key that somebody else has filled meanwhile is never removed, nor are its parents.
 */
long OpenWithoutTrace(HKEY parent, const wchar_t* subkey, DWORD options, REGSAM access, HKEY& key,
                      DWORD& disposition) noexcept;

}  // namespace vtclass::config

#endif
