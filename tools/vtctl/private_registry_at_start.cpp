// Linked to vtctl for tests: before main begins, HKEY_LOCAL_MACHINE is a private key.
#include <vtclass/win32.h>

#include <cstdio>
#include <memory>
#include <string>

#include "platform/owned.h"
#include "tests/support/private_root.h"
#include "tests/support/run_vtctl.h"

namespace {

using vtclass::test::PrivateRoot;

constexpr UINT kNoRegistry = 99;

// The root that the starting test names, or one of its own that goes with the program.
class PrivateStart {
 public:
  PrivateStart() {
    const LSTATUS failure = Replace();
    if (failure == ERROR_SUCCESS) return;
    std::fprintf(stderr, "No private registry: %ld\n", failure);
    ::ExitProcess(kNoRegistry);
  }

  ~PrivateStart() { ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr); }

  PrivateStart(const PrivateStart&) = delete;
  PrivateStart& operator=(const PrivateStart&) = delete;

 private:
  LSTATUS Replace() {
    wchar_t path[MAX_PATH] = {};
    if (::GetEnvironmentVariableW(vtctl::test::kRegistryVariable, path, MAX_PATH) == 0) {
      own = std::make_unique<PrivateRoot>();
      if (own->Error() != ERROR_SUCCESS) return own->Error();
      return ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, own->Key());
    }
    vtclass::platform::OwnedRegistryKey root;
    const LSTATUS failure =
        ::RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_ALL_ACCESS, root.Receive());
    return failure ? failure : ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root.Get());
  }

  std::unique_ptr<PrivateRoot> own;
};

const PrivateStart start;  // NOLINT(cert-err58-cpp): a failure here ends the program by itself

}  // namespace
