#include <vector>

#include "config/no_throw.h"
#include "platform/owned.h"
#include "vtclass/config.h"

using vtclass::config::StatusOf;
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

bool Configuration::Enum(const wchar_t* subkey, std::vector<wcstring>& names) {
  OwnedRegistryKey opened;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey, 0, KEY_READ, opened.Receive()) != ERROR_SUCCESS) {
    return false;
  }
  const size_t namesBefore = names.size();
  wchar_t name[1024];
  const long status = StatusOf([&] {
    for (DWORD index = 0;; ++index) {
      DWORD length = ARRAYSIZE(name);
      if (::RegEnumKeyExW(opened.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
          ERROR_SUCCESS) {
        return ERROR_SUCCESS;
      }
      names.emplace_back(name, length);
    }
  });
  // Half a list would be taken for the whole one.
  if (status != ERROR_SUCCESS) names.resize(namesBefore);
  return Succeeded(status);
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
