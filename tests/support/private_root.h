#ifndef VTCLASS_TESTS_SUPPORT_PRIVATE_ROOT_H
#define VTCLASS_TESTS_SUPPORT_PRIVATE_ROOT_H

#include <vtclass/win32.h>

#include <string>

namespace vtclass::test {

/*
 * A key that can serve a process as HKEY_LOCAL_MACHINE: a fresh random one below the current user,
 * with the keys that the system's name functions read, deleted with all its contents at the end.
 * Roots that crashed runs left are swept first.
 */
class PrivateRoot {
 public:
  PrivateRoot();
  ~PrivateRoot();
  PrivateRoot(const PrivateRoot&) = delete;
  PrivateRoot& operator=(const PrivateRoot&) = delete;

  HKEY Key() const { return root; }
  /* Below HKEY_CURRENT_USER, for child processes. */
  const std::wstring& Path() const { return path; }
  /* The first failure; 0 when the root is whole. */
  LSTATUS Error() const { return error; }

 private:
  void CopySystemKey(const wchar_t* key);

  std::wstring path;
  HKEY root = nullptr;
  LSTATUS error = ERROR_SUCCESS;
};

}  // namespace vtclass::test

#endif
