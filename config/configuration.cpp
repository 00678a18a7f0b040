#include <utility>

#include "config/close_key.h"
#include "config/stored_text.h"
#include "config/traceless_open.h"
#include "platform/no_throw.h"
#include "platform/os_version.h"
#include "platform/owned.h"
#include "vtclass/config.h"
#include "vtclass/security.h"

using vtclass::config::CloseKey;
using vtclass::config::kWrongType;
using vtclass::config::OpenWithoutTrace;
using vtclass::platform::StatusOf;

namespace {

// The same number as for a value of the wrong type: the class has one status for what the system
// has no code for.
constexpr long kNoAttributes = kWrongType;

REGSAM AccessMask(unsigned int access) {
  REGSAM mask = 0;
  if (access & Configuration::accessRead) mask |= KEY_READ;
  if (access & Configuration::accessWrite) mask |= KEY_WRITE;
  // Systems before 5.1 refuse the bit instead of ignoring it.
  if ((access & Configuration::access64BitView) && vtclass::platform::IsSystemAtLeast(5, 1)) {
    mask |= KEY_WOW64_64KEY;
  }
  if (access & Configuration::access32BitView) mask |= KEY_WOW64_32KEY;
  return mask;
}

long OpenSecure(HKEY parent, const wchar_t* subkey, REGSAM mask, HKEY& key) {
  SECURITY_ATTRIBUTES attributes;
  if (!CNTSecurity::CreateSecurityAttribWithAdminAndBackupOper(attributes)) {
    return kNoAttributes;
  }
  const vtclass::platform::OwnedLocalMemory owner(attributes.lpSecurityDescriptor);
  return ::RegCreateKeyExW(parent, subkey, 0, nullptr, REG_OPTION_NON_VOLATILE, mask, &attributes,
                           &key, nullptr);
}

long OpenByMode(Configuration::openMode mode, HKEY parent, const wchar_t* subkey, REGSAM mask,
                HKEY& key) {
  switch (mode) {
    case Configuration::openOrCreate:
      return ::RegCreateKeyExW(parent, subkey, 0, nullptr, REG_OPTION_NON_VOLATILE, mask, nullptr,
                               &key, nullptr);
    case Configuration::openOrCreateSecure:
      return OpenSecure(parent, subkey, mask, key);
    default:
      return ::RegOpenKeyExW(parent, subkey, 0, mask, &key);
  }
}

}  // namespace

Configuration::Configuration(HKEY root) : root(root) {}

Configuration::~Configuration() { Close(); }

bool Configuration::Open(openMode mode, const wchar_t* subkey, const wchar_t* computer,
                         unsigned int accessWord) {
  access = accessWord;
  Close();
  if (!computer || !*computer) return OpenKey(mode, subkey);
  // Copied first: once the key is open nothing may fail any more.
  wcstring name;
  if (const DWORD failure = StatusOf([&] { name = computer; })) {
    return Succeeded(static_cast<long>(failure));
  }
  const long connected = ::RegConnectRegistryW(computer, root, &remoteRoot);
  if (connected != ERROR_SUCCESS) {
    remoteRoot = nullptr;
    return Succeeded(connected);
  }
  // The connection stays until Close even when the key cannot be opened.
  const bool opened = OpenKey(mode, subkey);
  machine = std::move(name);
  return opened;
}

bool Configuration::Open(const wchar_t* subkey, const wchar_t* computer, unsigned int accessWord) {
  return Open(openOrCreate, subkey, computer, accessWord);
}

bool Configuration::OpenKey(openMode mode, const wchar_t* subkey) {
  const HKEY parent = remoteRoot ? remoteRoot : root;
  const long status = OpenByMode(mode, parent, subkey, AccessMask(access), key);
  if (status != ERROR_SUCCESS) key = nullptr;
  return Succeeded(status);
}

bool Configuration::OpenEx(const wchar_t* subkey, unsigned long samDesired, unsigned long options,
                           bool allowCreate, unsigned long* disposition) {
  CloseKey(key);
  DWORD outcome = 0;
  const long status = allowCreate
                          ? ::RegCreateKeyExW(root, subkey, 0, nullptr, options, samDesired,
                                              nullptr, &key, &outcome)
                          : OpenWithoutTrace(root, subkey, options, samDesired, key, outcome);
  if (status != ERROR_SUCCESS) {
    key = nullptr;
    if (allowCreate) outcome = 0;
  }
  if (disposition) *disposition = outcome;
  return Succeeded(status);
}

void Configuration::Close() {
  CloseKey(key);
  CloseKey(remoteRoot);
}

bool Configuration::Succeeded(long status) {
  if (status == ERROR_SUCCESS) return true;
  lastError = status;
  return false;
}
