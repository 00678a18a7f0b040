#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <process.h>

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "threads/threads_test_support.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::Gate;
using vtclass::test::ImportHook;
using vtclass::test::PoolCall;
using Call = RefPointer<PoolCall>;

constexpr auto kNoCom = WorkerThread::ComNone;

Call Make(ThreadPool* pool, PoolCall::Work work, PoolCall::Work ended = nullptr) {
  return new PoolCall(pool, std::move(work), std::move(ended));
}

// Waits until the pool has nothing in hand any more.
void Settle(ThreadPool& pool, const Call& call) {
  const DWORD begin = ::GetTickCount();
  while (pool.IsThreadCallExecuting(call) && ::GetTickCount() - begin < vtclass::test::kLimit) {
    ::Sleep(1);
  }
  EXPECT_FALSE(pool.IsThreadCallExecuting(call));
}

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
  const ImportHook<decltype(::_beginthreadex)> starts{"msvcrt.dll", "_beginthreadex", &CountStarts};
};

TEST_F(Pool, ThirdCall_WaitsForOneOfTwoWorkers_InTurn) {
  Gate entered[2], leave[2], third;
  DWORD ids[3] = {};
  ThreadPool pool(2, 0, kNoCom);
  const auto hold = [&](int i) {
    return Make(&pool, [&, i] {
      ids[i] = ::GetCurrentThreadId();
      entered[i].Open();
      EXPECT_TRUE(leave[i].Passed());
    });
  };
  const Call calls[] = {hold(0), hold(1),
                        Make(&pool, [&] { ids[2] = ::GetCurrentThreadId(), third.Open(); })};
  for (const Call& call : calls) call->PostIt();
  ASSERT_TRUE(entered[0].Passed() && entered[1].Passed());
  EXPECT_TRUE(pool.IsThreadCallQueued(calls[2]) && !pool.IsThreadCallExecuting(calls[2]));
  EXPECT_TRUE(pool.IsThreadCallExecuting(calls[0]) && !pool.IsThreadCallQueued(calls[0]));
  leave[1].Open();
  EXPECT_TRUE(third.Passed());
  leave[0].Open();
  for (const Call& call : calls) Settle(pool, call);
  EXPECT_EQ(ids[2], ids[1]);
  EXPECT_EQ(started, 2);
}

TEST_F(Pool, PostedWhileItRuns_RunsOnceMoreOnItsWorker_PendingTwiceRunsTwice) {
  for (const int keep : {0, 1}) {
    Gate entered, leave;
    std::vector<DWORD> ids;
    ThreadPool pool(1, keep, kNoCom);
    const Call waiting = Make(&pool, [&] { ids.push_back(0); });
    const Call call = Make(&pool, [&] {
      ids.push_back(::GetCurrentThreadId());
      entered.Open();
      EXPECT_TRUE(leave.Passed());
    });
    call->PostIt();
    ASSERT_TRUE(entered.Passed());
    for (int i = 0; i < 3; ++i) call->PostIt();
    EXPECT_TRUE(pool.IsThreadCallQueued(call) && pool.IsThreadCallExecuting(call));
    EXPECT_EQ(pool.GetNextCall(), nullptr) << "its only entry executes";
    EXPECT_TRUE(pool.IsThreadCallQueued(call));
    waiting->PostIt();
    waiting->PostIt();
    leave.Open();
    while (pool.IsThreadCallQueued(waiting)) ::Sleep(1);
    Settle(pool, waiting);
    EXPECT_EQ(ids, (std::vector<DWORD>{ids[0], ids[0], 0, 0}));
  }
}

TEST_F(Pool, IdleWorkers_AreReapedByTheNextPosting_OrReusedLastFirst) {
  for (const int keep : {0, 1}) {
    started = 0;
    ThreadPool pool(2, keep, kNoCom);
    Gate entered[2], leave[2];
    HANDLE threads[2] = {};
    DWORD ids[3] = {};
    std::vector<Call> calls;
    for (int i = 0; i < 2; ++i) {
      calls.push_back(Make(&pool, [&, i] {
        ids[i] = ::GetCurrentThreadId();
        threads[i] = ::OpenThread(SYNCHRONIZE, FALSE, ids[i]);
        entered[i].Open();
        leave[i].Passed();
      }));
      calls.back()->PostIt();
      ASSERT_TRUE(entered[i].Passed());
    }
    for (const unsigned i : {1u, 0u}) {
      leave[i].Open();
      Settle(pool, calls[i]);
    }
    const Call last = Make(&pool, [&] { ids[2] = ::GetCurrentThreadId(); });
    last->PostIt();
    for (const HANDLE thread : threads) {
      EXPECT_EQ(::WaitForSingleObject(thread, 0), keep ? WAIT_TIMEOUT : WAIT_OBJECT_0);
    }
    Settle(pool, last);
    EXPECT_EQ(started, keep ? 2 : 3);
    if (keep) EXPECT_EQ(ids[2], ids[0]) << "0 idled last";
    for (const HANDLE thread : threads) ::CloseHandle(thread);
  }
}

// A chain of calls: each one's destructor posts the next, now and then to another pool. With `keep`
// 0 that is mostly the pool of the worker that is about to end.
void RunChains(int keep, int workers) {
  Gate done;
  std::atomic<int> left = 40;
  ThreadPool other(1, 1 - keep, kNoCom);
  ThreadPool pool(workers, keep, kNoCom);
  const std::function<void(ThreadPool*)> post = [&](ThreadPool* to) {
    const auto step = [&] {
      if (--left == 0) done.Open();
    };
    Make(to, step, [&] {
      if (left > 0) post(left % 4 == 0 ? &other : &pool);
    })->PostIt();
  };
  for (int i = 0; i < workers; ++i) post(&pool);
  EXPECT_TRUE(done.Passed()) << keep << workers;
  while (PoolCall::alive > 0) ::Sleep(1);
}

TEST_F(Pool, DestructorsThatPost_NeverHang) {
  for (const int keep : {0, 1}) {
    for (const int workers : {1, 2, 8}) RunChains(keep, workers);
  }
}

TEST_F(Pool, CallThatPostsItself_RunsEachTime) {
  Gate done;
  int runs = 0;
  ThreadPool pool(2, 0, kNoCom);
  Call self;
  self = Make(&pool, [&] { ++runs < 100 ? self->PostIt() : done.Open(); });
  self->PostIt();
  EXPECT_TRUE(done.Passed());
  Settle(pool, self);
  EXPECT_EQ(runs, 100);
}

std::string stopWait;
Gate* openedByWait = nullptr;
DWORD WINAPI KeepWait(DWORD count, const HANDLE* handles, BOOL all, DWORD timeout) {
  stopWait = std::to_string(count) + (all ? " all " : " any ") + std::to_string(timeout);
  if (openedByWait) openedByWait->Open();
  const DWORD result = ::WaitForMultipleObjects(count, handles, all, timeout < 50 ? timeout : 50);
  if (result == WAIT_TIMEOUT) stopWait += " time-out";
  if (result == WAIT_FAILED) stopWait += " failed";
  return result;
}

TEST_F(Pool, Stop_WaitsForTheSemaphoresOfBusyWorkers_ThenKillsThem) {
  const ImportHook<decltype(::WaitForMultipleObjects)> hook("KERNEL32.dll",
                                                            "WaitForMultipleObjects", &KeepWait);
  struct {
    int workers;
    int refused;  // the n-th start of a thread
    bool leave;   // the calls end during the wait
    const char* wait;
  } const cases[] = {{0, 0, false, ""},
                     {1, 0, false, "1 all 15000 time-out"},
                     {3, 0, true, "3 all 15000 time-out"},
                     {1, 1, false, ""},
                     {3, 1, false, "2 all 15000 time-out"},
                     {3, 3, false, "2 all 15000 time-out"},
                     {65, 0, false, "65 all 15000 failed"}};
  for (const auto& row : cases) {
    SCOPED_TRACE(::testing::Message() << row.workers << " refused " << row.refused << row.leave);
    stopWait.clear();
    started = 0;
    refuseAt = row.refused;
    Gate entered, leave;
    std::atomic<int> in = row.workers - (row.refused > 0), out = 0;
    std::vector<HANDLE> threads;
    std::mutex lock;
    std::vector<Call> calls;
    {
      ThreadPool pool(row.workers, 0, kNoCom);
      for (int i = 0; i < row.workers; ++i) {
        calls.push_back(Make(&pool, [&] {
          {
            const std::scoped_lock hold(lock);
            threads.push_back(::OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, FALSE,
                                           ::GetCurrentThreadId()));
          }
          if (--in == 0) entered.Open();
          leave.Passed();
          ++out;
        }));
        calls.back()->PostIt();
      }
      const Call dropped = Make(&pool, [] { ADD_FAILURE(); });
      dropped->PostIt();
      if (in > 0 || !threads.empty()) EXPECT_TRUE(entered.Passed());
      openedByWait = row.leave ? &leave : nullptr;
    }
    EXPECT_EQ(stopWait, row.wait);
    EXPECT_EQ(out, row.leave ? row.workers : 0);
    for (const HANDLE thread : threads) {
      DWORD code = 0;
      ::GetExitCodeThread(thread, &code);
      EXPECT_EQ(code, row.leave ? 0 : 0x80004004);
      ::CloseHandle(thread);
    }
    // Calls that were not run to their end keep the reference of their posting.
    for (const Call& call : calls) {
      EXPECT_EQ(call->AddRef(), row.leave ? 2 : 3);
      call->Release();
      if (!row.leave) call->Release();
    }
  }
}

TEST_F(Pool, StopAllThreads_LeavesThePoolUsable) {
  ThreadPool pool;
  Gate entered, never, ran;
  const Call stuck = Make(&pool, [&] { entered.Open(), never.Passed(); });
  stuck->PostIt();
  ASSERT_TRUE(entered.Passed());
  pool.StopAllThreads(1);
  pool.ThreadCallStopExecuting(stuck);
  Make(&pool, [&] { ran.Open(); })->PostIt();
  EXPECT_TRUE(ran.Passed());
  stuck->Release();
  while (PoolCall::alive > 1) ::Sleep(1);
}

TEST_F(Pool, WithoutPool_PostingDoesNothing_ExecutingDropsTheReference) {
  int runs = 0;
  Call call = Make(nullptr, [&] { ++runs; });
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
    const Call first = Make(&pool, [&] { leave.Passed(); });
    const Call second = Make(&pool, [] {});
    failed = 0;
    started = 0;
    {
      Allocations allocations;
      allocations.FailAt(n);
      try {
        first->PostIt();
        for (int i = 0; i < 40; ++i) second->PostIt();
      } catch (const std::length_error& error) {
        failed = 1;
        EXPECT_TRUE(std::string("list<T> too long") == error.what() ||
                    std::string("vector<T> too long") == error.what());
      }
    }
    EXPECT_EQ(pool.IsThreadCallExecuting(first), started == 1) << n;
    EXPECT_TRUE(failed || pool.IsThreadCallQueued(second)) << n;
    pool.DeleteOutstandingCalls();
    EXPECT_EQ(second->AddRef(), 2);
    second->Release();
    leave.Open();
    Settle(pool, first);
    ASSERT_LT(n, 50);
  }
}

TEST_F(Pool, CallThatThrows_FreesItsWorker_WhichDestroysTheCall) {
  Gate held, ran;
  DWORD worker = 0, destroyer = 0;
  ThreadPool pool(1, 1, kNoCom);
  Make(
      &pool,
      [&] {
        worker = ::GetCurrentThreadId();
        held.Passed();
        throw 1;
      },
      [&] { destroyer = ::GetCurrentThreadId(); })
      ->PostIt();
  held.Open();
  Make(&pool, [&] { ran.Open(); })->PostIt();
  EXPECT_TRUE(ran.Passed());
  while (PoolCall::alive > 0) ::Sleep(1);
  EXPECT_EQ(destroyer, worker);
}

}  // namespace
