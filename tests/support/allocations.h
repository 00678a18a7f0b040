#ifndef VTCLASS_TESTS_SUPPORT_ALLOCATIONS_H
#define VTCLASS_TESTS_SUPPORT_ALLOCATIONS_H

#include <cstdlib>
#include <memory>

#include "tests/support/import_hook.h"

namespace vtclass::test {

/*
 * Counts the heap allocations (malloc, calloc, realloc; operator new ends there) that the DLL under
 * test makes in one scope, and can let exactly one of them fail. One at a time in a process.
 */
class Allocations {
 public:
  Allocations();
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

}  // namespace vtclass::test

#endif
