#ifndef VTCLASS_CONFIG_TRACELESS_OPEN_H
#define VTCLASS_CONFIG_TRACELESS_OPEN_H

#include <vtclass/win32.h>

namespace vtclass::config {

/*
 * Opens an existing key with the options of RegCreateKeyExW. Nothing is created on the way, not
 * even for a moment: of two that test for one key, each would take the other's creation for a key
 * that exists, and none would remove it.
 *
 * Existing key: 0, `key` open, `disposition` REG_OPENED_EXISTING_KEY. Missing key:
 * ERROR_FILE_NOT_FOUND, `disposition` REG_CREATED_NEW_KEY, which is what creating it would have
 * told. Otherwise the system's status and `disposition` 0. On failure `key` is null.
 */
long OpenWithoutTrace(HKEY parent, const wchar_t* subkey, DWORD options, REGSAM access, HKEY& key,
                      DWORD& disposition) noexcept;

}  // namespace vtclass::config

#endif
