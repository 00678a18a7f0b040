#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <process.h>

#include <atomic>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/thread_calls.h"

// Which worker gets which call, and when, is in thread_pool_model_test.cpp.
namespace vtclass::test {
namespace {

using Call = RefPointer<PoolCall>;
constexpr auto kNoCom = WorkerThread::ComNone;

bool AllAreDead() { return PoolCall::alive == 0; }

int started = 0;
int refuseAt = 0;
uintptr_t CountStarts(void* security, unsigned stack, unsigned(__stdcall* run)(void*), void* self,
                      unsigned flags, unsigned* id) {
  if (++started == refuseAt) return 0;
  return ::_beginthreadex(security, stack, run, self, flags, id);
}

class Pool : public ::testing::Test {
 protected:
  Pool() { started = refuseAt = 0; }
  ~Pool() override { EXPECT_EQ(PoolCall::alive, 0); }

 private:
  const ImportHook<decltype(::_beginthreadex)> starts{nullptr, "_beginthreadex", &CountStarts};
};

// Workers that have left the callers' code wait here for whoever reaps them.
const Gate* reaped = nullptr;
std::atomic<int> leaving = 0;
DECLSPEC_NORETURN VOID WINAPI LeaveWhenReaped(HMODULE module, DWORD code) {
  ++leaving;
  reaped->Passed();
  ::FreeLibraryAndExitThread(module, code);
}
// With the Universal run time they leave by returning.
unsigned(__stdcall* runWorker)(void*) = nullptr;
unsigned __stdcall RunAndLeaveWhenReaped(void* self) {
  const unsigned code = runWorker(self);
  ++leaving;
  reaped->Passed();
  return code;
}
uintptr_t BeginToLeaveWhenReaped(void* security, unsigned stack, unsigned(__stdcall* run)(void*),
                                 void* self, unsigned flags, unsigned* id) {
  runWorker = run;
  return CountStarts(security, stack, &RunAndLeaveWhenReaped, self, flags, id);
}

TEST_F(Pool, RetiredWorkers_AreGoneWhenTheNextPostingReturns) {
  const Gate gate;
  reaped = &gate;
  leaving = 0;
  HANDLE threads[2] = {};
  {
    ThreadPool pool(2, 0, kNoCom);
    const Gate leave;
    const ImportHook<decltype(::FreeLibraryAndExitThread)> exits(
        "KERNEL32.dll", "FreeLibraryAndExitThread", &LeaveWhenReaped);
    const ImportHook<decltype(::_beginthreadex)> begins(nullptr, "_beginthreadex",
                                                        &BeginToLeaveWhenReaped);
    for (HANDLE& thread : threads) {
      Post(pool, [&] {
        thread = ::OpenThread(SYNCHRONIZE, FALSE, ::GetCurrentThreadId());
        leave.Passed();
      });
    }
    leave.Open();
    EXPECT_TRUE(Eventually([] { return leaving == 2; }));
    {
      const auto waits = Replace<decltype(::WaitForSingleObject)>(
          "WaitForSingleObject", [&](HANDLE object, DWORD timeout) {
            if (timeout == INFINITE) gate.Open();
            return ::WaitForSingleObject(object, timeout);
          });
      const Gate stay;
      Post(pool, [&] { stay.Passed(); });
      for (const HANDLE thread : threads)
        EXPECT_EQ(::WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
      stay.Open();
      EXPECT_TRUE(Eventually(&AllAreDead));
    }
    gate.Open();
  }
  for (const HANDLE thread : threads) ::CloseHandle(thread);
  EXPECT_EQ(started, 3);
}

// A worker is inside a call's destructor, which waits for what its poster does later: one pool, and
// two whose destructors post to each other.
TEST_F(Pool, PostingWaitsForNoDestructor) {
  for (const int keep : {0, 1}) {
    ThreadPool first(1, keep, kNoCom), second(1, keep, kNoCom);
    const Gate inFirst, inSecond, posted;
    Post(first, [] {}, [&] { inFirst.Open(), posted.Passed(); });
    EXPECT_TRUE(inFirst.Passed());
    if (!keep) Post(first, [] {});  // with it, the worker is idle and would not get to the call
    posted.Open();
    EXPECT_TRUE(Eventually(&AllAreDead));
    const Gate inThird;
    Post(first, [] {}, [&] { inThird.Open(), inSecond.Passed(), Post(second, [] {}); });
    Post(second, [] {}, [&] { inSecond.Open(), inThird.Passed(), Post(first, [] {}); });
    EXPECT_TRUE(Eventually(&AllAreDead));
  }
}

// Throws where it is told to.
enum class Where { nowhere, setThread, unsetThread, beforePosting, behindPosting };
struct ThrowingCall : PoolCall {
  ThrowingCall(ThreadPool* pool, Where where, Work work)
      : PoolCall(pool, std::move(work)), where(where) {}
  void SetThread(WorkerThread* worker) override {
    if (where == (worker ? Where::setThread : Where::unsetThread)) throw 1;
    PoolCall::SetThread(worker);
  }
  void PostItToThread() override {
    if (where == Where::beforePosting) throw 2;
    PoolCall::PostItToThread();
    if (where == Where::behindPosting) throw 3;
  }
  const Where where;
};

TEST_F(Pool, OverridesThatThrow_LoseNoWorker) {
  struct {
    Where where;
    bool thrown;  // out of the posting that starts the call
    int runs;
  } const cases[] = {{Where::setThread, true, 0},
                     {Where::beforePosting, true, 0},
                     {Where::behindPosting, true, 1},
                     {Where::unsetThread, false, 1}};
  for (const auto& row : cases) {
    for (const int keep : {0, 1}) {
      for (const bool waiting : {false, true}) {
        SCOPED_TRACE(::testing::Message() << static_cast<int>(row.where) << keep << waiting);
        ThreadPool pool(1, keep, kNoCom);
        const Gate leave;
        std::atomic<int> runs = 0, others = 0;
        if (waiting) Post(pool, [&] { leave.Passed(); });
        const Call call = new ThrowingCall(&pool, row.where, [&] { ++runs; });
        bool thrown = false;
        try {
          call->PostIt();
        } catch (int) {
          thrown = true;
        }
        EXPECT_EQ(thrown, row.thrown && !waiting);
        Post(pool, [&] { ++others; });
        leave.Open();
        EXPECT_TRUE(Eventually([&] { return PoolCall::alive == 1 && others == 1; }));
        EXPECT_TRUE(Eventually([&] { return call->AddRef(), call->Release() == 1; }));
        EXPECT_EQ(runs, row.runs);
        EXPECT_FALSE(pool.IsThreadCallExecuting(call));
        EXPECT_FALSE(pool.IsThreadCallQueued(call));
      }
    }
  }
}

// What a destructor of a call does is nobody's business but its own: another thread uses the pool
// meanwhile.
TEST_F(Pool, CallsAreDestroyedOutsideTheLock) {
  static ThreadPool* used;
  const auto use = [] {
    const platform::OwnedKernelObject user(::CreateThread(
        nullptr, 0, [](void*) -> DWORD { return used->IsThreadCallQueued(nullptr), 0; }, nullptr, 0,
        nullptr));
    EXPECT_EQ(::WaitForSingleObject(user.Get(), kLimit), WAIT_OBJECT_0) << "the lock is taken";
  };
  void (*const cases[])(ThreadPool&) = {[](ThreadPool& pool) { pool.DeleteOutstandingCalls(); },
                                        [](ThreadPool& pool) { pool.StopAllThreads(0); },
                                        [](ThreadPool& pool) { pool.GetNextCall(); }};
  for (const auto& drop : cases) {
    ThreadPool pool(0, 0, kNoCom);
    used = &pool;
    Post(pool, [] {}, use);
    drop(pool);
    EXPECT_EQ(PoolCall::alive, 0);
  }
  ThreadPool pool(1, 0, kNoCom);
  used = &pool;
  Post(pool, [] {}, use);
  EXPECT_TRUE(Eventually(&AllAreDead));
}

// The call that never ran, as no thread started, dies with the pool, and posts.
TEST_F(Pool, PostingToAPoolThatEnds_IsDropped) {
  refuseAt = 1;
  bool posted = false;
  {
    ThreadPool pool(1, 0, kNoCom);
    auto* const call = new PoolCall(
        &pool, [] { ADD_FAILURE(); },
        [&] {
          posted = true, Post(pool, [] { ADD_FAILURE() << "ran in a pool that has ended"; });
        });
    call->PostIt();
    call->Release();  // the posting's own, which no worker will drop
    EXPECT_TRUE(pool.IsThreadCallExecuting(call));
  }
  EXPECT_TRUE(posted);
  EXPECT_EQ(started, 1);
}

TEST_F(Pool, Stop_WaitsForTheSemaphoresOfBusyWorkers_ThenKillsThem) {
  std::string stopWait;
  const Gate* openedByWait = nullptr;
  const auto hook = Replace<decltype(::WaitForMultipleObjects)>(
      "WaitForMultipleObjects", [&](DWORD count, const HANDLE* handles, BOOL all, DWORD timeout) {
        if (openedByWait) openedByWait->Open();
        const DWORD result =
            ::WaitForMultipleObjects(count, handles, all, timeout < 50 ? timeout : 50);
        stopWait = std::to_string(count) + (all ? " all " : " any ") + std::to_string(timeout) +
                   " " + std::to_string(static_cast<long>(result));
        return result;
      });
  struct {
    int workers;
    int refused;  // the n-th start of a thread
    bool leave;   // the calls end during the wait
    const char* wait;
  } const cases[] = {
      {0, 0, false, ""}, {1, 0, false, "1 all 15000 258"}, {3, 0, true, "3 all 15000 258"},
      {1, 1, false, ""}, {3, 2, false, "2 all 15000 258"}, {65, 0, false, "65 all 15000 -1"}};
  for (const auto& row : cases) {
    SCOPED_TRACE(::testing::Message() << row.workers << " refused " << row.refused << row.leave);
    stopWait.clear();
    started = 0;
    refuseAt = row.refused;
    Gate leave;
    openedByWait = row.leave ? &leave : nullptr;
    std::atomic<int> in = 0, out = 0;
    std::vector<HANDLE> threads(static_cast<std::size_t>(row.workers));
    std::vector<Call> calls;
    {
      ThreadPool pool(row.workers, 0, kNoCom);
      for (HANDLE& thread : threads) {
        calls.push_back(new PoolCall(&pool, [&] {
          thread = ::OpenThread(THREAD_QUERY_INFORMATION, FALSE, ::GetCurrentThreadId());
          ++in, leave.Passed(), ++out;
        }));
        calls.back()->PostIt();
      }
      Post(pool, [] { ADD_FAILURE(); });  // is dropped
      EXPECT_TRUE(Eventually([&] { return in == row.workers - (row.refused > 0); }));
    }
    EXPECT_EQ(stopWait, row.wait);
    EXPECT_EQ(out, row.leave ? row.workers : 0);
    for (const HANDLE thread : threads) {
      DWORD code = 0;
      if (!::GetExitCodeThread(thread, &code)) continue;
      EXPECT_EQ(code, row.leave ? 0 : 0x80004004);
      ::CloseHandle(thread);
    }
    // Calls that were not run to their end keep the reference of their posting.
    for (const Call& call : calls) {
      EXPECT_EQ(call->AddRef(), row.leave ? 2 : 3);
      for (int i = row.leave; i < 2; ++i) call->Release();
    }
  }
}

TEST_F(Pool, WithoutPool_PostingDoesNothing_ExecutingDropsTheReference) {
  int runs = 0;
  const Call call = new PoolCall(nullptr, [&] { ++runs; });
  call->PostIt();
  EXPECT_EQ(runs, 0);
  call->AddRef();
  call->ThreadExecute();
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(call->AddRef(), 2);
  call->Release();
}

TEST_F(Pool, EnqueueWithoutMemory_ThrowsAndChangesNothing_UntilItSucceeds) {
  for (long n = 1, failed = 1; failed; ++n) {
    ThreadPool pool(1, 0, kNoCom);
    Gate leave;
    const Call first = new PoolCall(&pool, [&] { leave.Passed(); });
    const Call second = new PoolCall(&pool, [] {});
    failed = started = 0;
    {
      Allocations allocations;
      allocations.FailAt(n);
      try {
        first->PostIt();
        for (int i = 0; i < 40; ++i) second->PostIt();
      } catch (const std::length_error& error) {
        failed = 1;
        EXPECT_TRUE(std::string_view(error.what()).ends_with("<T> too long"));
      }
    }
    EXPECT_EQ(pool.IsThreadCallExecuting(first), started == 1) << n;
    EXPECT_TRUE(failed || pool.IsThreadCallQueued(second)) << n;
    pool.DeleteOutstandingCalls();
    EXPECT_EQ(second->AddRef(), 2);
    second->Release();
    leave.Open();
    EXPECT_TRUE(Eventually([&] { return !pool.IsThreadCallExecuting(first); }));
    ASSERT_LT(n, 50);
  }
}

}  // namespace
}  // namespace vtclass::test
