#ifndef VTCLASS_TESTS_SUPPORT_HANDLE_COUNTER_H
#define VTCLASS_TESTS_SUPPORT_HANDLE_COUNTER_H

#include <memory>

namespace vtclass::test {

/*
 * Counts what the DLL under test opens and closes in one scope, by replacing the opening and
 * closing calls in its import table: registry keys, files, events, modules. Predefined registry
 * keys that a remote connection hands out count too: they must be closed like every other. One at
 * a time in a process.
 */
class HandleCounter {
 public:
  HandleCounter();
  ~HandleCounter();
  HandleCounter(const HandleCounter&) = delete;
  HandleCounter& operator=(const HandleCounter&) = delete;

  long Opened() const;
  long Closed() const;
  /* What is still open of all that was opened in this scope. */
  long Open() const { return Opened() - Closed(); }

 private:
  struct Hooks;
  std::unique_ptr<Hooks> hooks;
};

}  // namespace vtclass::test

#endif
