#include <gtest/gtest.h>

#include "tests/support/child_process.h"

namespace {

TEST(Unload, WithThreadsAlive_NeitherHangsNorCrashes) {
  constexpr int kGone = 0, kKept = 1, kNotAllowed = 2;  // what runs is code of the unloaded host
  struct {
    const wchar_t* scenario;
    int unloaded;
  } const cases[] = {{L"alive", kKept},
                     {L"ended", kGone},
                     {L"in hand", kNotAllowed},
                     {L"destroyed at exit", kNotAllowed}};
  for (const auto& row : cases) {
    const auto run = [&row](const wchar_t* end) {
      return vtclass::test::ChildProcess(L"threads_test_child.exe", {row.scenario, end}).ExitCode();
    };
    EXPECT_EQ(run(L"exit"), 0) << row.scenario;
    if (row.unloaded != kNotAllowed) EXPECT_EQ(run(L"unload"), row.unloaded) << row.scenario;
  }
}

}  // namespace
