#include "tests/support/private_registry.h"

#include <gtest/gtest.h>

#include "platform/owned.h"
#include "tests/support/random_name.h"
#include "tests/support/wine.h"

namespace vtclass::test {

using platform::OwnedRegistryKey;

namespace {

constexpr wchar_t kRoots[] = L"Software\\vtclass_mini tests";

// Without these every computer-name query of the process fails once the root is replaced.
constexpr const wchar_t* kNeededBySystem[] = {
    L"System\\CurrentControlSet\\Control\\ComputerName",
    L"System\\CurrentControlSet\\Services\\Tcpip",
};

void Require(LSTATUS status, const char* what) {
  if (status == ERROR_SUCCESS) return;
  ADD_FAILURE() << what << ": " << Status(status);
}

void SweepLeftovers() {
  OwnedRegistryKey roots;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, kRoots, 0, KEY_READ, roots.Receive()) != ERROR_SUCCESS) {
    return;
  }
  wchar_t name[256];
  for (DWORD index = 0;;) {
    DWORD length = 256;
    if (::RegEnumKeyExW(roots.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      return;
    }
    const bool left = !OwnerIsAlive(name);
    if (!left || ::RegDeleteTreeW(roots.Get(), name) != ERROR_SUCCESS) ++index;
  }
}

OwnedRegistryKey Open(const std::wstring& key, REGSAM access) {
  OwnedRegistryKey opened;
  ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, access, opened.Receive());
  return opened;
}

}  // namespace

PrivateRegistry::PrivateRegistry() : path(std::wstring(kRoots) + L"\\" + RandomName()) {
  SweepLeftovers();
  Require(::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &root, nullptr),
          "making the private root");
  for (const wchar_t* needed : kNeededBySystem) {
    OwnedRegistryKey from = Open(needed, KEY_READ);
    OwnedRegistryKey to;
    if (!from) continue;
    Require(::RegCreateKeyExW(root, needed, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, to.Receive(),
                              nullptr),
            "making a system key in the private root");
    ::RegCopyTreeW(from.Get(), nullptr, to.Get());
  }
  Require(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root), "replacing HKEY_LOCAL_MACHINE");
}

PrivateRegistry::~PrivateRegistry() {
  Require(::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr), "restoring HKEY_LOCAL_MACHINE");
  ::RegCloseKey(root);
  Require(::RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str()), "deleting the private root");
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
