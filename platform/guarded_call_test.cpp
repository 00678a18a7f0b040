#include "platform/guarded_call.h"

#include <vtclass/win32.h>

#include <gtest/gtest.h>

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

// Asks for a frame that is larger than the stack. Its pages are touched one by one while the stack
// pointer still stands above them, which leaves the platform the room to deliver the exception. An
// overflow by recursion has that room or not, depending on where in a page it happens.
volatile int position = 0;
void OverflowStack(void*) {
  volatile char frame[64 * 1024 * 1024];
  frame[position] = 1;
}

TEST(GuardedCall, EveryEnd_IsToldApart_AndTheNextCallWorks) {
  const Case cases[] = {
      {"return", [](void*) {}, GuardedResult::done, 0},
      {"throw", [](void*) { throw std::runtime_error("lost"); }, GuardedResult::cppException, 0},
      {"null write", [](void*) { *nowhere = 1; }, GuardedResult::systemException,
       EXCEPTION_ACCESS_VIOLATION},
      {"raise", [](void*) { ::RaiseException(0xE0000001, 0, 0, nullptr); },
       GuardedResult::systemException, 0xE0000001},
      {"stack", &OverflowStack, GuardedResult::systemException, EXCEPTION_STACK_OVERFLOW},
      {"stack again", &OverflowStack, GuardedResult::systemException, EXCEPTION_STACK_OVERFLOW},
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
