#ifndef VTCLASS_TESTS_SUPPORT_ALLOCATIONS_H
#define VTCLASS_TESTS_SUPPORT_ALLOCATIONS_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <new>

#include "tests/support/import_hook.h"

namespace vtclass::test {

/*
 * Counts the heap allocations (malloc, calloc, realloc; operator new ends there) that the DLL under
 * test makes in one scope, and can let exactly one of them fail. One at a time in a process.
 */
class Allocations {
 public:
  /* Of another module than the DLL when one is named: ThisProgram(), where what the library fills
   * for its caller is allocated. */
  explicit Allocations(HMODULE module = LibraryUnderTest());
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  long Count() const;

  /* Lets the n-th allocation from now on fail (1 is the next). Only that one: when every later one
   * failed too, throwing std::bad_alloc would recurse until the stack is gone. */
  void FailAt(long n);

  /* True when the failure that FailAt ordered has happened. */
  bool Failed() const;

 private:
  ImportHook<decltype(std::malloc)> mallocHook;
  std::unique_ptr<ImportHook<decltype(std::calloc)>> callocHook;
  std::unique_ptr<ImportHook<decltype(std::realloc)>> reallocHook;
};

inline HMODULE ThisProgram() { return ::GetModuleHandleW(nullptr); }

/*
 * Runs `work` again and again while its first, second, third, ... allocation fails, until none
 * does; `check` is told each time whether one has failed. Returns how many did.
 */
template <typename Work, typename Check>
long TryEachAllocation(Work work, Check check, HMODULE module = LibraryUnderTest()) {
  bool failed = true;
  long n = 0;
  while (failed) {
    SCOPED_TRACE(::testing::Message() << "allocation " << ++n);
    Allocations allocations(module);
    allocations.FailAt(n);
    work();
    failed = allocations.Failed();
    check(failed);
  }
  return n - 1;
}

/* The same where each failure must come out as std::bad_alloc; `check` then looks at what is left
 * behind. */
template <typename Work, typename Check>
long FailEachAllocation(Work work, Check check, HMODULE module = LibraryUnderTest()) {
  bool thrown = false;
  const auto run = [&] {
    thrown = false;
    try {
      work();
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
  };
  const auto look = [&](bool failed) {
    EXPECT_EQ(thrown, failed);
    if (failed) check();
  };
  return TryEachAllocation(run, look, module);
}

}  // namespace vtclass::test

#endif
