#include "platform/guarded_call.h"

#include <gtest/gtest.h>

#include <vtclass/win32.h>

#include <stdexcept>

namespace vtclass::platform {
namespace {

volatile int* volatile nowhere = nullptr;

struct Case {
  const char* name;
  GuardedWork work;
  GuardedResult result;
  unsigned long code;
};

// Fills the stack. The volatile sum after the call keeps every frame alive.
volatile int sum = 0;
void Descend(const volatile char* outer) {
  volatile char frame[4096];
  frame[0] = *outer;
  if (frame[0] != 0) Descend(frame);
  sum = sum + frame[0];
}

void OverflowStack(void*) {
  volatile char first = 1;
  if (first != 0) Descend(&first);
}

TEST(GuardedCall, EveryEnd_IsToldApart_AndTheNextCallWorks) {
  const Case cases[] = {
      {"return", [](void*) {}, GuardedResult::done, 0},
      {"throw", [](void*) { throw std::runtime_error("lost"); }, GuardedResult::cppException, 0},
      {"null write", [](void*) { *nowhere = 1; }, GuardedResult::systemException,
       EXCEPTION_ACCESS_VIOLATION},
      {"raise", [](void*) { ::RaiseException(0xE0000001, 0, 0, nullptr); },
       GuardedResult::systemException, 0xE0000001},
      {"stack", &OverflowStack, GuardedResult::systemException,
       EXCEPTION_STACK_OVERFLOW},
      {"stack again", &OverflowStack, GuardedResult::systemException,
       EXCEPTION_STACK_OVERFLOW},
  };
  for (const Case& row : cases) {
    unsigned long code = 1;
    EXPECT_EQ(GuardedCall(row.work, nullptr, &code), row.result) << row.name;
    EXPECT_EQ(code, row.code) << row.name;
  }
}

TEST(GuardedCall, Callable_IsCalledInPlace) {
  int calls = 0;
  auto work = [&calls] { ++calls; };
  unsigned long code = 1;
  EXPECT_EQ(GuardedCall(work, &code), GuardedResult::done);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace vtclass::platform
