#ifndef VTCLASS_TOOLS_VTCTL_RUN_VTCTL_H
#define VTCLASS_TOOLS_VTCTL_RUN_VTCTL_H

#include <string>
#include <vector>

#include "tests/support/child_process.h"

namespace vtctl::test {

/* vtctl.exe as a process of its own; its output is UTF-8. */
class VtctlRun : public vtclass::test::ChildProcess {
 public:
  explicit VtctlRun(const std::vector<std::wstring>& arguments)
      : ChildProcess(L"vtctl.exe", arguments) {}
};

}  // namespace vtctl::test

#endif
