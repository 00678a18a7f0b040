#ifndef VTCLASS_TESTS_SUPPORT_THREAD_CALLS_H
#define VTCLASS_TESTS_SUPPORT_THREAD_CALLS_H

#include <vtclass/win32.h>

#include <atomic>
#include <functional>
#include <utility>

#include "platform/owned.h"
#include "tests/support/eventually.h"
#include "vtclass/threads.h"

namespace vtclass::test {

using Work = std::function<void()>;

/* Closed until it is opened; then it stays open. */
class Gate {
 public:
  HANDLE Handle() const { return event.Get(); }
  void Open() const { ::SetEvent(Handle()); }
  bool IsOpen() const { return ::WaitForSingleObject(Handle(), 0) == WAIT_OBJECT_0; }
  bool Passed() const { return ::WaitForSingleObject(Handle(), kLimit) == WAIT_OBJECT_0; }

 private:
  platform::OwnedKernelObject event{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

/* A call of either kind that does `work`; `ended` is run by its destructor. */
template <typename Base, typename Target>
class TestCall : public Base {
 public:
  TestCall(Target* target, Work work, Work ended = nullptr)
      : Base(target), work(std::move(work)), ended(std::move(ended)) {
    ++alive;
  }
  ~TestCall() override {
    if (ended) ended();
    --alive;
  }
  void Execute() override { work(); }
  using Base::ThreadExecute;

  static inline std::atomic<int> alive;

 private:
  const Work work, ended;
};

using WorkerCall = TestCall<RefThreadCall, WorkerThread>;
using PoolCall = TestCall<ThreadPoolCall, ThreadPool>;

/* Takes the place of _beginthreadex. */
inline uintptr_t RefuseThread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned,
                              unsigned*) {
  return 0;
}

/* Posts a new call. */
template <typename Target>
void Post(Target& target, Work work, Work ended = nullptr) {
  using Call = std::conditional_t<std::is_same_v<Target, ThreadPool>, PoolCall, WorkerCall>;
  (new Call(&target, std::move(work), std::move(ended)))->PostIt();
}

}  // namespace vtclass::test

#endif
