#ifndef VTCLASS_TOOLS_VTCTL_RUN_VTCTL_H
#define VTCLASS_TOOLS_VTCTL_RUN_VTCTL_H

#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "platform/owned.h"
#include "tests/support/scratch_folder.h"

namespace vtctl::test {

struct KernelHandleTraits {
  using Type = HANDLE;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type handle) noexcept { return ::CloseHandle(handle) != FALSE; }
};

/* vtctl.exe beside the test program, as a process of its own with its output in files. */
class VtctlRun {
 public:
  explicit VtctlRun(const std::vector<std::wstring>& arguments);
  ~VtctlRun();

  /* Waits for the end, a minute at most. */
  int ExitCode();
  /* What it has printed so far, in UTF-8. */
  std::string Output() const;
  std::string ErrorOutput() const;

 private:
  vtclass::test::ScratchFolder scratch;
  vtclass::platform::Owned<KernelHandleTraits> process;
};

}  // namespace vtctl::test

#endif
