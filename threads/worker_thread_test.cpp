#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <process.h>

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "threads/threads_test_support.h"

namespace vtclass::test {
namespace {

std::wstring output;
void WINAPI KeepOutput(LPCWSTR text) { output += text; }

// A call that throws is reported; it neither ends the worker nor lingers.
TEST(WorkerThread, Calls_RunInQueueOrder_BeforeAndAfterStart_AllBeforeTheStop) {
  const ImportHook<decltype(::OutputDebugStringW)> hook("KERNEL32.dll", "OutputDebugStringW",
                                                        &KeepOutput);
  for (const int model : {0, 1, 2, 7}) {
    WorkerThread worker(static_cast<WorkerThread::ComThreadingModel>(model), "order");
    std::vector<int> order;
    output.clear();
    for (int i = 0; i < 1000; ++i) {
      if (i == 500) {
        EXPECT_EQ(worker.NumberOfOutstandingCalls(), 500);
        ASSERT_EQ(worker.StartThread(0), 1);
      }
      Post(worker, [&order, i] {
        order.push_back(i);
        if (i == 300) throw i;
        if (i % 300 == 1) throw std::runtime_error(std::string(static_cast<unsigned>(i), 'x'));
      });
    }
    worker.StopThread();
    EXPECT_EQ(order.size(), 1000u) << "model " << model;
    EXPECT_TRUE(std::ranges::is_sorted(order));
    EXPECT_NE(output.find(L"ended by an exception: x\n"), std::wstring::npos) << output;
    EXPECT_EQ(std::ranges::count(output, L'\n'), 5);
    EXPECT_EQ(worker.NumberOfOutstandingCalls() + WorkerCall::alive, 0);
    EXPECT_EQ(worker.WaitForThread(0), WAIT_FAILED);
    EXPECT_EQ(worker.RetrieveCall(), nullptr);
  }
}

void KillInItsSleepAndRestart(WorkerThread& worker) {
  WorkerCall call(&worker, [] {});
  call.AddRef();
  call.PostIt();
  worker.StartThread(0);
  EXPECT_TRUE(Await([&] { return worker.NumberOfOutstandingCalls() == 0; }));
  EXPECT_EQ(worker.WaitForThread(20), static_cast<unsigned long>(WAIT_TIMEOUT));
  EXPECT_NE(worker.KillThread(), 0);
  EXPECT_EQ(worker.WaitForCall(0), 0);
  call.PostIt();
  EXPECT_EQ(worker.WaitForCall(0), 1) << "the token that the killed sleeper left";
  EXPECT_EQ(worker.WaitForCall(0), 0);
  EXPECT_EQ(worker.RetrieveCall(), &call);
  call.PostIt();
  worker.StartThread(0);
  worker.StopThread();
  EXPECT_EQ(call.AddRef(), 3) << "one posting was retrieved and not run";
}

void PostBehindTheStop(WorkerThread& worker) {
  WorkerCall late(&worker, [] { ADD_FAILURE(); });
  late.AddRef();
  Post(worker, [&] { late.PostIt(); });
  (new ThreadStopCall(&worker))->PostIt();
  worker.StartThread(0);
  EXPECT_EQ(worker.WaitForThread(kLimit), WAIT_OBJECT_0);
  worker.StopThread();
  EXPECT_EQ(worker.NumberOfOutstandingCalls(), 1);
  EXPECT_EQ(worker.WaitForCall(0), 0);
  EXPECT_EQ(late.AddRef(), 3) << "dropped calls are not released";
}

TEST(WorkerThread, StopAndDestruction_FromAnyState_End) {
  void (*const cases[])(WorkerThread&) = {
      [](WorkerThread& w) { w.StopThread(); },
      [](WorkerThread& w) { EXPECT_EQ(w.KillThread(), 1); },
      [](WorkerThread& w) { w.StartThread(65536); },
      [](WorkerThread& w) { w.StartThread(0), w.StopThread(), w.StopThread(); },
      &KillInItsSleepAndRestart,
      &PostBehindTheStop,
      [](WorkerThread& w) {
        const ImportHook<decltype(::_beginthreadex)> hook("msvcrt.dll", "_beginthreadex",
                                                          &RefuseThread);
        EXPECT_EQ(w.StartThread(0), 0);
        EXPECT_EQ(w.WaitForThread(0), WAIT_FAILED);
      }};
  for (const auto& act : cases) {
    for (const auto model : {WorkerThread::ComNone, WorkerThread::ComSingleThreaded}) {
      WorkerThread worker(model, "state");
      act(worker);
    }
    EXPECT_EQ(WorkerCall::alive, 0);
  }
}

std::string named;
LONG CALLBACK KeepName(EXCEPTION_POINTERS* pointers) {
  const auto& [code, flags, inner, address, count, values] = *pointers->ExceptionRecord;
  if (code != 0x406D1388) return EXCEPTION_CONTINUE_SEARCH;
  named = std::to_string(flags & 1) + ' ' + std::to_string(count) + ' ' +
          std::to_string(values[0]) + ' ' + std::to_string(values[2]) + ' ' +
          reinterpret_cast<const char*>(values[1]);
  return EXCEPTION_CONTINUE_SEARCH;
}

TEST(WorkerThread, Names_OfAnyLength_ShowInDebuggersAndDescriptions) {
  const auto getDescription = std::bit_cast<HRESULT(WINAPI*)(HANDLE, PWSTR*)>(
      ::GetProcAddress(::GetModuleHandleW(L"kernelbase.dll"), "GetThreadDescription"));
  void* const handler = ::AddVectoredExceptionHandler(1, &KeepName);
  for (const std::size_t length : {0u, 15u, 64u, 300u}) {
    const std::string name(length, 'n');
    WorkerThread worker(WorkerThread::ComNone, name.c_str());
    PWSTR description = nullptr;
    DWORD id = 0;
    Post(worker, [&] {
      id = ::GetCurrentThreadId();
      if (getDescription) getDescription(::GetCurrentThread(), &description);
    });
    worker.StartThread(0);
    worker.StopThread();
    // The flags of the name, the upper half of the third value, are 0.
    EXPECT_EQ(named, "0 6 4096 " + std::to_string(id) + ' ' + name);
    if (getDescription) EXPECT_EQ(description, std::wstring(length, L'n'));
    ::LocalFree(description);
  }
  ::RemoveVectoredExceptionHandler(handler);
}

TEST(WorkerThread, Call_WithoutMemory_ThrowsAndQueuesNothing_StopStillWorks) {
  WorkerThread worker(WorkerThread::ComNone, "memory");
  Gate entered;
  WorkerCall call(&worker, [] {});
  call.AddRef();
  Post(worker, [&] { entered.Open(), ::Sleep(50); });
  worker.StartThread(0);
  ASSERT_TRUE(entered.Passed());
  Allocations allocations;
  allocations.FailAt(1);
  long queued = 0;
  try {
    for (; queued < 1000; ++queued) call.PostIt();
    ADD_FAILURE();
  } catch (const std::length_error& error) {
    EXPECT_STREQ(error.what(), "list<T> too long");
  }
  EXPECT_EQ(worker.NumberOfOutstandingCalls(), queued + 1);
  allocations.FailAt(1);
  worker.StopThread();  // its call has its place, however full the queue is
  EXPECT_EQ(call.AddRef(), 2) << "all that were queued ran, and the refused posting left nothing";
}

LONG releases = 0;
BOOL WINAPI CountReleases(HANDLE semaphore, LONG count, LPLONG before) {
  ::InterlockedIncrement(&releases);
  return ::ReleaseSemaphore(semaphore, count, before);
}
HANDLE WINAPI RefuseSemaphore(LPSECURITY_ATTRIBUTES, LONG, LONG, LPCWSTR) { return nullptr; }

TEST(WorkerThread, WaitForCall_TakesOneCountACall_WithoutKernelOrMemory_OrFailsAtOnce) {
  WorkerThread worker(WorkerThread::ComNone, "count");
  WorkerCall call(&worker, [] {});
  const ImportHook<decltype(::ReleaseSemaphore)> hook("KERNEL32.dll", "ReleaseSemaphore",
                                                      &CountReleases);
  {
    const Allocations allocations;
    for (int i = 0; i < 1000; ++i) {
      worker.Call(&call);
      worker.Call(&call);
      EXPECT_EQ(worker.WaitForCall(0) + worker.WaitForCall(INFINITE) + worker.WaitForCall(0), 2);
      EXPECT_EQ(worker.RetrieveCall(), worker.RetrieveCall());
    }
    EXPECT_EQ(allocations.Count(), 0);
  }
  EXPECT_EQ(worker.WaitForCall(1), 0);
  EXPECT_EQ(worker.NumberOfOutstandingCalls(), 2000) << "retrieving is not finishing";
  EXPECT_EQ(releases, 0);

  const ImportHook<decltype(::CreateSemaphoreW)> refuse("KERNEL32.dll", "CreateSemaphoreW",
                                                        &RefuseSemaphore);
  WorkerThread without(WorkerThread::ComNone, "none");
  without.Call(&call);
  EXPECT_EQ(without.WaitForCall(INFINITE), 0);
}

}  // namespace
}  // namespace vtclass::test
