#include <gtest/gtest.h>

#include "tests/support/child_process.h"

namespace {

int RunChild(const wchar_t* scenario, const wchar_t* end) {
  return vtclass::test::ChildProcess(L"threads_test_child.exe", {scenario, end}).ExitCode();
}

TEST(Unload, WithThreadsAlive_NeitherHangsNorCrashes) {
  constexpr int kGone = 0, kKept = 1, kNotAllowed = 0xFFFF;
  struct {
    const wchar_t* scenario;
    int unloaded;
  } const cases[] = {{L"worker", kKept},
                     {L"single-threaded worker", kKept},
                     {L"kept workers", kKept},
                     {L"retired workers", kGone},
                     {L"ending worker", kGone},
                     {L"all stopped", kGone},
                     {L"call in hand", kNotAllowed},  // it runs code of the unloaded host
                     {L"wait in hand", kNotAllowed},
                     {L"destruction at exit", kNotAllowed}};
  for (const auto& row : cases) {
    EXPECT_EQ(RunChild(row.scenario, L"exit"), 0) << row.scenario;
    if (row.unloaded != kNotAllowed) {
      EXPECT_EQ(RunChild(row.scenario, L"unload"), row.unloaded) << row.scenario;
    }
  }
}

}  // namespace
