#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <process.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "threads/threads_test_support.h"

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
  const ImportHook<decltype(::_beginthreadex)> starts{"msvcrt.dll", "_beginthreadex", &CountStarts};
};

TEST_F(Pool, RetiredWorkers_AreGoneWhenTheNextPostingReturns) {
  ThreadPool pool(2, 0, kNoCom);
  Gate leave;
  HANDLE threads[2] = {};
  for (HANDLE& thread : threads) {
    Post(pool, [&] {
      thread = ::OpenThread(SYNCHRONIZE, FALSE, ::GetCurrentThreadId());
      leave.Passed();
    });
  }
  leave.Open();
  EXPECT_TRUE(Await(&AllAreDead));
  Post(pool, [] {});
  for (const HANDLE thread : threads) {
    EXPECT_EQ(::WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
    ::CloseHandle(thread);
  }
  EXPECT_TRUE(Await(&AllAreDead));
  EXPECT_EQ(started, 3);
}

// A chain of calls: each one's destructor posts the next, now and then to another pool. With `keep`
// 0 that is mostly the pool of the worker that is about to end.
void RunChains(int keep, int workers) {
  std::atomic<int> left = 40;
  ThreadPool other(1, 1 - keep, kNoCom);
  ThreadPool pool(workers, keep, kNoCom);
  const std::function<void(ThreadPool*)> post = [&](ThreadPool* to) {
    const auto next = [&] { left > 0 ? post(left % 4 == 0 ? &other : &pool) : void(); };
    Post(*to, [&] { --left; }, next);
  };
  for (int i = 0; i < workers; ++i) post(&pool);
  EXPECT_TRUE(Await(&AllAreDead)) << keep << workers;
}

TEST_F(Pool, DestructorsThatPost_NeverHang) {
  for (const int keep : {0, 1}) {
    for (const int workers : {1, 2, 8}) RunChains(keep, workers);
  }
}

TEST_F(Pool, CallThatPostsItself_RunsEachTime) {
  int runs = 0;
  ThreadPool pool;
  Call self;
  self = new PoolCall(&pool, [&] { ++runs < 100 ? self->PostIt() : void(); });
  self->PostIt();
  EXPECT_TRUE(Await([&] { return !pool.IsThreadCallExecuting(self); }));
  EXPECT_EQ(runs, 100);
}

std::string stopWait;
Gate* openedByWait = nullptr;
DWORD WINAPI KeepWait(DWORD count, const HANDLE* handles, BOOL all, DWORD timeout) {
  if (openedByWait) openedByWait->Open();
  const DWORD result = ::WaitForMultipleObjects(count, handles, all, timeout < 50 ? timeout : 50);
  stopWait = std::to_string(count) + (all ? " all " : " any ") + std::to_string(timeout) + " " +
             std::to_string(static_cast<long>(result));
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
      EXPECT_TRUE(Await([&] { return in == row.workers - (row.refused > 0); }));
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
    EXPECT_TRUE(Await([&] { return !pool.IsThreadCallExecuting(first); }));
    ASSERT_LT(n, 50);
  }
}

TEST_F(Pool, CallThatThrows_FreesItsWorker_WhichDestroysTheCall) {
  DWORD worker = 0, destroyer = 0;
  ThreadPool pool(1, 1, kNoCom);
  const auto fail = [&] { worker = ::GetCurrentThreadId(), throw 1; };
  Post(pool, fail, [&] { destroyer = ::GetCurrentThreadId(); });
  bool ran = false;
  Post(pool, [&] { ran = true; });
  EXPECT_TRUE(Await(&AllAreDead));
  EXPECT_TRUE(ran);
  EXPECT_EQ(destroyer, worker);
}

}  // namespace
}  // namespace vtclass::test
