#include "tests/support/private_root.h"

#include "platform/owned.h"
#include "tests/support/random_name.h"

namespace vtclass::test {

using platform::OwnedRegistryKey;

namespace {

constexpr wchar_t kRoots[] = L"Software\\vtclass_mini tests";

// Without these every computer-name query of the process fails once the root is replaced.
constexpr const wchar_t* kNeededBySystem[] = {
    L"System\\CurrentControlSet\\Control\\ComputerName",
    L"System\\CurrentControlSet\\Services\\Tcpip",
};

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

}  // namespace

PrivateRoot::PrivateRoot() : path(std::wstring(kRoots) + L"\\" + RandomName()) {
  SweepLeftovers();
  error = ::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            &root, nullptr);
  for (const wchar_t* needed : kNeededBySystem) CopySystemKey(needed);
}

void PrivateRoot::CopySystemKey(const wchar_t* key) {
  OwnedRegistryKey from;
  OwnedRegistryKey to;
  const LSTATUS missing = ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_READ, from.Receive());
  if (error != ERROR_SUCCESS || missing != ERROR_SUCCESS) return;
  error =
      ::RegCreateKeyExW(root, key, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, to.Receive(), nullptr);
  if (error == ERROR_SUCCESS) ::RegCopyTreeW(from.Get(), nullptr, to.Get());
}

PrivateRoot::~PrivateRoot() {
  if (root) ::RegCloseKey(root);
  ::RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
}

}  // namespace vtclass::test
