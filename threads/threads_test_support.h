#ifndef VTCLASS_THREADS_THREADS_TEST_SUPPORT_H
#define VTCLASS_THREADS_THREADS_TEST_SUPPORT_H

#include <vtclass/win32.h>

#include <atomic>
#include <functional>
#include <utility>

#include "vtclass/threads.h"

namespace vtclass::test {

constexpr DWORD kLimit = 20000;  // of every wait that must end

/* Closed until it is opened; then it stays open. */
class Gate {
 public:
  Gate() : event(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~Gate() { ::CloseHandle(event); }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;
  HANDLE Handle() const { return event; }
  void Open() { ::SetEvent(event); }
  bool Passed(DWORD limit = kLimit) { return ::WaitForSingleObject(event, limit) == WAIT_OBJECT_0; }

 private:
  HANDLE event;
};

/* A call of either kind that does `work`; `ended` is run by its destructor. */
template <typename Base, typename Target>
class TestCall : public Base {
 public:
  using Work = std::function<void()>;
  TestCall(Target* target, Work work, Work ended = nullptr)
      : Base(target), work(std::move(work)), ended(std::move(ended)) {
    ++alive;
  }
  ~TestCall() override {
    if (ended) ended();
    --alive;
  }
  void Execute() override { work(); }
  void ThreadExecute() override { Base::ThreadExecute(); }

  static inline std::atomic<int> alive;

 private:
  Work work;
  Work ended;
};

using WorkerCall = TestCall<RefThreadCall, WorkerThread>;
using PoolCall = TestCall<ThreadPoolCall, ThreadPool>;

}  // namespace vtclass::test

#endif
