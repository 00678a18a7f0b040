#ifndef VTCLASS_TESTS_SUPPORT_PRIVATE_REGISTRY_H
#define VTCLASS_TESTS_SUPPORT_PRIVATE_REGISTRY_H

#include <vtclass/win32.h>

#include <string>

#include "tests/support/private_root.h"

namespace vtclass::test {

/*
 * Gives this process an empty HKEY_LOCAL_MACHINE of its own for one scope; the real one is never
 * touched. One at a time in a process.
 */
class PrivateRegistry {
 public:
  PrivateRegistry();
  ~PrivateRegistry();
  PrivateRegistry(const PrivateRegistry&) = delete;
  PrivateRegistry& operator=(const PrivateRegistry&) = delete;

  /* The path of the private root below HKEY_CURRENT_USER, for child processes. */
  const std::wstring& Path() const { return root.Path(); }

 private:
  PrivateRoot root;
};

/* Raw access for expectations, past the library under test. All below HKEY_LOCAL_MACHINE. */
bool KeyExists(const std::wstring& key, REGSAM view = 0);
void MakeKey(const std::wstring& key);
void StoreValue(const std::wstring& key, const std::wstring& name, DWORD type, const void* data,
                DWORD size);
/* The bytes of a value and, through `type`, its type; empty and REG_NONE when there is none. */
std::string StoredValue(const std::wstring& key, const std::wstring& name, DWORD* type = nullptr);

}  // namespace vtclass::test

#endif
