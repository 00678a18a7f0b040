#ifndef VTCLASS_TESTS_SUPPORT_RUN_VTCTL_H
#define VTCLASS_TESTS_SUPPORT_RUN_VTCTL_H

#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/private_root.h"

namespace vtctl::test {

/* Names the private root, below HKEY_CURRENT_USER, to the programs that a test starts. */
inline constexpr wchar_t kRegistryVariable[] = L"VTCTL_TEST_REGISTRY";

/*
 * vtctl as a process of its own; its output is UTF-8. It is the twin that tests start: its
 * HKEY_LOCAL_MACHINE is a private one, which all runs of a test program share and which goes with
 * the program, so that neither reads nor leaves anything in the machine's.
 */
class VtctlRun : public vtclass::test::ChildProcess {
 public:
  explicit VtctlRun(const std::vector<std::wstring>& arguments, HANDLE standardOutput = nullptr)
      : ChildProcess(Program(), arguments, standardOutput) {}
  VtctlRun(const std::vector<std::wstring>& arguments, const std::string& input)
      : ChildProcess(Program(), arguments, nullptr, input) {}

 private:
  static const wchar_t* Program() {
    static const vtclass::test::PrivateRoot root;
    ::SetEnvironmentVariableW(kRegistryVariable, root.Path().c_str());
    return L"vtctl_private.exe";
  }
};

}  // namespace vtctl::test

#endif
