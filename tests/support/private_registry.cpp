#include "tests/support/private_registry.h"

#include <gtest/gtest.h>

#include "platform/owned.h"
#include "tests/support/wine.h"

namespace vtclass::test {

using platform::OwnedRegistryKey;

namespace {

void Require(LSTATUS status, const char* what) {
  if (status == ERROR_SUCCESS) return;
  ADD_FAILURE() << what << ": " << Status(status);
}

OwnedRegistryKey Open(const std::wstring& key, REGSAM access) {
  OwnedRegistryKey opened;
  ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, access, opened.Receive());
  return opened;
}

}  // namespace

PrivateRegistry::PrivateRegistry() {
  Require(root.Error(), "making the private root");
  Require(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root.Key()), "replacing HKEY_LOCAL_MACHINE");
}

PrivateRegistry::~PrivateRegistry() {
  Require(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr), "restoring HKEY_LOCAL_MACHINE");
}

bool KeyExists(const std::wstring& key, REGSAM view) {
  return static_cast<bool>(Open(key, KEY_READ | view));
}

void MakeKey(const std::wstring& key) {
  OwnedRegistryKey made;
  Require(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            made.Receive(), nullptr),
          "making a key");
}

void StoreValue(const std::wstring& key, const std::wstring& name, DWORD type, const void* data,
                DWORD size) {
  MakeKey(key);
  Require(::RegSetValueExW(Open(key, KEY_WRITE).Get(), name.c_str(), 0, type,
                           static_cast<const BYTE*>(data), size),
          "storing a value");
}

std::string StoredValue(const std::wstring& key, const std::wstring& name, DWORD* type) {
  const OwnedRegistryKey opened = Open(key, KEY_READ);
  DWORD size = 0;
  DWORD stored = REG_NONE;
  ::RegQueryValueExW(opened.Get(), name.c_str(), nullptr, &stored, nullptr, &size);
  std::string data(size, '\0');
  ::RegQueryValueExW(opened.Get(), name.c_str(), nullptr, &stored,
                     reinterpret_cast<BYTE*>(data.data()), &size);
  if (type) *type = stored;
  return data;
}

}  // namespace vtclass::test
