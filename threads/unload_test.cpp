#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/owned.h"
#include "tests/support/wine.h"
#include "threads/threads_test_support.h"

namespace {

using vtclass::platform::OwnedKernelObject;

// Runs threads_test_child beside this program; its exit code, 0xDEAD when it hangs.
DWORD RunChild(const std::string& scenario, const std::string& end) {
  char path[MAX_PATH] = {};
  ::GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string program(path);
  program = program.substr(0, program.rfind('\\')) + "\\threads_test_child.exe";
  std::string line = "\"" + program + "\" \"" + scenario + "\" " + end;
  STARTUPINFOA start = {};
  start.cb = sizeof(start);
  PROCESS_INFORMATION process = {};
  if (!::CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &start, &process)) {
    ADD_FAILURE() << vtclass::test::Status(static_cast<long>(::GetLastError()));
    return 0xDEAD;
  }
  const OwnedKernelObject owner(process.hProcess), thread(process.hThread);
  DWORD code = 0xDEAD;
  if (::WaitForSingleObject(process.hProcess, vtclass::test::kLimit) == WAIT_OBJECT_0) {
    ::GetExitCodeProcess(process.hProcess, &code);
  } else {
    ::TerminateProcess(process.hProcess, code);
  }
  return code;
}

TEST(Unload, WithThreadsAlive_NeitherHangsNorCrashes) {
  constexpr DWORD kGone = 0, kKept = 1, kNotAllowed = 0xFFFF;
  struct {
    const char* scenario;
    DWORD unloaded;
  } const cases[] = {{"worker", kKept},
                     {"single-threaded worker", kKept},
                     {"kept workers", kKept},
                     {"retired workers", kGone},
                     {"ending worker", kGone},
                     {"all stopped", kGone},
                     {"call in hand", kNotAllowed},  // it runs code of the unloaded host
                     {"wait in hand", kNotAllowed},
                     {"destruction at exit", kNotAllowed}};
  for (const auto& row : cases) {
    EXPECT_EQ(RunChild(row.scenario, "exit"), 0u) << row.scenario;
    if (row.unloaded != kNotAllowed) {
      EXPECT_EQ(RunChild(row.scenario, "unload"), row.unloaded) << row.scenario;
    }
  }
}

}  // namespace
