#include "platform/owned.h"
#include "vtclass/config.h"

using vtclass::border::ListSink;
using vtclass::platform::OwnedRegistryKey;

bool Configuration::DeleteValue(const wchar_t* name) {
  return Succeeded(::RegDeleteValueW(key, name));
}

bool Configuration::DeleteSubkey(const wchar_t* name) {
  return Succeeded(::RegDeleteKeyW(key, name));
}

bool Configuration::SaveKey(const wchar_t* file) {
  if (!file || !*file) return Succeeded(ERROR_INVALID_PARAMETER);
  return Succeeded(::RegSaveKeyW(key, file, nullptr));
}

bool Configuration::RestoreKey(const wchar_t* file) {
  if (!file || !*file) return Succeeded(ERROR_INVALID_PARAMETER);
  return Succeeded(::RegRestoreKeyW(key, file, 0));
}

bool Configuration::AppendSubkeys(const wchar_t* subkey, const ListSink& names) noexcept {
  OwnedRegistryKey opened;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey, 0, KEY_READ, opened.Receive()) != ERROR_SUCCESS) {
    return false;
  }
  wchar_t name[1024];
  for (DWORD index = 0;; ++index) {
    DWORD length = ARRAYSIZE(name);
    if (::RegEnumKeyExW(opened.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      return true;
    }
    if (names.Append(name, length)) continue;
    // Half a list would be taken for the whole one.
    names.TakeBack();
    return Succeeded(ERROR_NOT_ENOUGH_MEMORY);
  }
}

bool Configuration::RegisterForChanges(bool asynchronous, void* event) {
  const long status = ::RegNotifyChangeKeyValue(
      key, TRUE, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET, event, asynchronous);
  if (status == ERROR_SUCCESS) notifyEvent = event;
  return Succeeded(status);
}

bool Configuration::UnregisterForChanges(void*) {
  // The system has no such call: a registration ends with the key's handle.
  return Succeeded(ERROR_INVALID_FUNCTION);
}
