#include <gtest/gtest.h>

#include "tests/support/child_process.h"

namespace {

TEST(Unload, WithThreadsAlive_NeitherHangsNorCrashes) {
  struct {
    const wchar_t* scenario;
    int unloaded;  // 0: the library is gone then, 1: kept, 2: not allowed, its host's code runs
  } const cases[] = {{L"alive", 1}, {L"ended", 0}, {L"in hand", 2}, {L"destroyed at exit", 2}};
  for (const auto& row : cases) {
    const auto run = [&row](const wchar_t* end) {
      return vtclass::test::ChildProcess(L"threads_test_child.exe", {row.scenario, end}).ExitCode();
    };
    EXPECT_EQ(run(L"exit"), 0) << row.scenario;
    if (row.unloaded != 2) EXPECT_EQ(run(L"unload"), row.unloaded) << row.scenario;
  }
}

}  // namespace
