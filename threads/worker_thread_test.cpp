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
#include "tests/support/wine.h"
#include "threads/threads_test_support.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::Gate;
using vtclass::test::ImportHook;
using vtclass::test::WorkerCall;

TEST(WorkerThread, Calls_RunInQueueOrder_BeforeAndAfterStart_AllBeforeTheStop) {
  for (const auto model :
       {WorkerThread::ComMultiThreaded, WorkerThread::ComSingleThreaded, WorkerThread::ComNone,
        std::bit_cast<WorkerThread::ComThreadingModel>(7)}) {
    WorkerThread worker(model, "order");
    std::string order;
    const auto post = [&](char c) {
      (new WorkerCall(&worker, [&order, c] { order += c; }))->PostIt();
    };
    post('a');
    post('b');
    EXPECT_EQ(worker.NumberOfOutstandingCalls(), 2);
    ASSERT_EQ(worker.StartThread(0), 1);
    for (const char c : {'c', 'd', 'e'}) post(c);
    worker.StopThread();
    EXPECT_EQ(order, "abcde") << "model " << model;
    EXPECT_EQ(worker.NumberOfOutstandingCalls(), 0);
    EXPECT_EQ(worker.WaitForThread(0), WAIT_FAILED);
    EXPECT_EQ(worker.RetrieveCall(), nullptr);
    EXPECT_EQ(WorkerCall::alive, 0);
  }
}

uintptr_t RefuseThread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) {
  return 0;
}

TEST(WorkerThread, StopAndDestruction_FromAnyState_End) {
  struct {
    const char* name;
    void (*act)(WorkerThread& worker);
  } const cases[] = {
      {"stop before start", [](WorkerThread& w) { w.StopThread(); }},
      {"kill before start", [](WorkerThread& w) { EXPECT_EQ(w.KillThread(), 1); }},
      {"stop twice", [](WorkerThread& w) { w.StartThread(0), w.StopThread(), w.StopThread(); }},
      {"only start", [](WorkerThread& w) { w.StartThread(65536); }},
      {"kill in sleep, restart",
       [](WorkerThread& w) {
         WorkerCall call(&w, [] {});
         call.AddRef();
         call.PostIt();
         w.StartThread(0);
         while (w.NumberOfOutstandingCalls() > 0) ::Sleep(1);
         EXPECT_EQ(w.WaitForThread(20), static_cast<unsigned long>(WAIT_TIMEOUT));
         EXPECT_NE(w.KillThread(), 0);
         EXPECT_EQ(w.WaitForCall(0), 0);
         call.PostIt();
         EXPECT_EQ(w.WaitForCall(0), 1) << "the token that the killed sleeper left";
         EXPECT_EQ(w.WaitForCall(0), 0);
         EXPECT_EQ(w.RetrieveCall(), &call);
         call.PostIt();
         w.StartThread(0);
         w.StopThread();
         EXPECT_EQ(call.AddRef(), 3) << "one posting was retrieved and not run";
       }},
      {"stop with a full queue",
       [](WorkerThread& w) {
         int ran = 0;
         for (int i = 0; i < 1000; ++i) (new WorkerCall(&w, [&ran] { ++ran; }))->PostIt();
         w.StartThread(0);
         w.StopThread();
         EXPECT_EQ(ran, 1000);
         WorkerCall late(&w, [] {});
         late.AddRef();
         late.PostIt();
         w.StopThread();
         EXPECT_EQ(late.AddRef(), 3) << "dropped calls are not released";
       }},
      {"a call posts behind the stop",
       [](WorkerThread& w) {
         Gate queued;
         (new WorkerCall(&w, [&] {
           queued.Passed();
           (new WorkerCall(&w, [] { ADD_FAILURE(); }))->PostIt();
         }))->PostIt();
         (new ThreadStopCall(&w))->PostIt();
         w.StartThread(0);
         queued.Open();
         EXPECT_EQ(w.WaitForThread(vtclass::test::kLimit), WAIT_OBJECT_0);
         w.StopThread();
         EXPECT_EQ(w.NumberOfOutstandingCalls(), 1);
         EXPECT_EQ(w.WaitForCall(0), 0);
         WorkerCall::alive = 0;  // the dropped call is nobody's
       }},
      {"thread refused", [](WorkerThread& w) {
         const ImportHook<decltype(::_beginthreadex)> hook("msvcrt.dll", "_beginthreadex",
                                                           &RefuseThread);
         EXPECT_EQ(w.StartThread(0), 0);
         EXPECT_EQ(w.WaitForThread(0), WAIT_FAILED);
       }}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    for (const auto model : {WorkerThread::ComNone, WorkerThread::ComSingleThreaded}) {
      WorkerThread worker(model, row.name);
      row.act(worker);
    }
    EXPECT_EQ(WorkerCall::alive, 0);
  }
}

std::vector<EXCEPTION_RECORD> named;
std::vector<std::string> names;
LONG CALLBACK KeepNames(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  if (record.ExceptionCode != 0x406D1388) return EXCEPTION_CONTINUE_SEARCH;
  named.push_back(record);
  names.emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
  return EXCEPTION_CONTINUE_SEARCH;
}

TEST(WorkerThread, Names_OfAnyLength_ShowInDebuggersAndDescriptions) {
  const auto getDescription = std::bit_cast<HRESULT(WINAPI*)(HANDLE, PWSTR*)>(
      ::GetProcAddress(::GetModuleHandleW(L"kernelbase.dll"), "GetThreadDescription"));
  void* const handler = ::AddVectoredExceptionHandler(1, &KeepNames);
  for (const std::size_t length : {0u, 15u, 64u, 300u}) {
    const std::string name(length, 'n');
    WorkerThread worker(WorkerThread::ComNone, name.c_str());
    PWSTR description = nullptr;
    DWORD id = 0;
    (new WorkerCall(&worker, [&] {
      id = ::GetCurrentThreadId();
      if (getDescription) getDescription(::GetCurrentThread(), &description);
    }))->PostIt();
    worker.StartThread(0);
    worker.StopThread();
    ASSERT_EQ(named.size(), 1u);
    EXPECT_EQ(named[0].ExceptionFlags & EXCEPTION_NONCONTINUABLE, 0u);
    EXPECT_EQ(named[0].NumberParameters, 6u);
    EXPECT_EQ(named[0].ExceptionInformation[0], 0x1000u);
    EXPECT_EQ(named[0].ExceptionInformation[2], id) << "the flags, its upper half, are 0";
    EXPECT_EQ(names[0], name);
    if (getDescription) EXPECT_EQ(description, std::wstring(length, L'n'));
    ::LocalFree(description);
    named.clear();
    names.clear();
  }
  ::RemoveVectoredExceptionHandler(handler);
}

std::wstring output;
void WINAPI KeepOutput(LPCWSTR text) { output += text; }

TEST(WorkerThread, CallThatThrows_IsReported_AndTheNextRuns) {
  const ImportHook<decltype(::OutputDebugStringW)> hook("KERNEL32.dll", "OutputDebugStringW",
                                                        &KeepOutput);
  WorkerThread worker(WorkerThread::ComNone, "throws");
  int ran = 0;
  const std::string longText(1000, 'x');
  (new WorkerCall(&worker, [] { throw std::runtime_error("no such file"); }))->PostIt();
  (new WorkerCall(&worker, [] { throw 5; }))->PostIt();
  (new WorkerCall(&worker, [&] { throw std::runtime_error(longText); }))->PostIt();
  (new WorkerCall(&worker, [&ran] { ++ran; }))->PostIt();
  worker.StartThread(0);
  worker.StopThread();
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(worker.NumberOfOutstandingCalls(), 0);
  EXPECT_EQ(WorkerCall::alive, 0);
  EXPECT_NE(output.find(L"ended by an exception: no such file\n"), std::wstring::npos) << output;
  EXPECT_EQ(std::count(output.begin(), output.end(), L'\n'), 3);
}

TEST(WorkerThread, Call_WithoutMemory_ThrowsAndQueuesNothing_StopStillWorks) {
  WorkerThread worker(WorkerThread::ComNone, "memory");
  Gate entered;
  WorkerCall slow(&worker, [&] { entered.Open(), ::Sleep(50); });
  WorkerCall call(&worker, [] {});
  slow.AddRef();
  call.AddRef();
  slow.PostIt();
  worker.StartThread(0);
  ASSERT_TRUE(entered.Passed());
  Allocations allocations;
  allocations.FailAt(1);
  std::string text;
  long queued = 0;
  try {
    for (; queued < 1000; ++queued) call.PostIt();
  } catch (const std::length_error& error) {
    text = error.what();
  }
  EXPECT_EQ(text, "list<T> too long");
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

TEST(WorkerThread, WaitForCall_TakesOneCountACall_WithoutKernelOrMemory) {
  WorkerThread worker(WorkerThread::ComNone, "count");
  const ImportHook<decltype(::ReleaseSemaphore)> hook("KERNEL32.dll", "ReleaseSemaphore",
                                                      &CountReleases);
  const Allocations allocations;
  WorkerCall call(&worker, [] {});
  for (int i = 0; i < 1000; ++i) {
    worker.Call(&call);
    worker.Call(&call);
    EXPECT_EQ(worker.WaitForCall(0) + worker.WaitForCall(INFINITE) + worker.WaitForCall(0), 2);
    EXPECT_EQ(worker.RetrieveCall(), worker.RetrieveCall());
  }
  EXPECT_EQ(worker.WaitForCall(1), 0);
  EXPECT_EQ(worker.NumberOfOutstandingCalls(), 2000) << "retrieving is not finishing";
  EXPECT_EQ(allocations.Count(), 0);
  EXPECT_EQ(releases, 0);
}

TEST(WorkerThread, WithoutSemaphore_EveryWaitFailsAtOnce) {
  const ImportHook<decltype(::CreateSemaphoreW)> hook("KERNEL32.dll", "CreateSemaphoreW",
                                                      &RefuseSemaphore);
  WorkerThread worker(WorkerThread::ComNone, "none");
  WorkerCall call(&worker, [] {});
  worker.Call(&call);
  EXPECT_EQ(worker.WaitForCall(INFINITE), 0);
}

}  // namespace
