#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <process.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/thread_calls.h"

namespace vtclass::test {
namespace {

// A call that throws is reported; it neither ends the worker nor lingers.
TEST(WorkerThread, Calls_RunInQueueOrder_BeforeAndAfterStart_AllBeforeTheStop) {
  std::wstring output;
  const auto hook = Replace<decltype(::OutputDebugStringW)>("OutputDebugStringW",
                                                            [&](LPCWSTR text) { output += text; });
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
        if (i == 300) throw int{i};
        if (i % 300 == 1) throw std::runtime_error(std::string(static_cast<unsigned>(i), 'x'));
      });
    }
    worker.StopThread();
    EXPECT_EQ(order.size(), 1000u) << "model " << model;
    EXPECT_TRUE(std::ranges::is_sorted(order));
    EXPECT_NE(output.find(L"ended by an exception: x\n"), std::wstring::npos) << output;
    EXPECT_NE(output.find(std::wstring(400, L'x')), std::wstring::npos) << "cut, but there";
    EXPECT_EQ(std::ranges::count(output, L'\n'), 5);
    EXPECT_EQ(worker.NumberOfOutstandingCalls() + WorkerCall::alive, 0);
    EXPECT_EQ(worker.WaitForThread(0), WAIT_FAILED);
    EXPECT_EQ(worker.RetrieveCall(), nullptr);
  }
}

void StartInVain(WorkerThread& worker) {
  const ImportHook<decltype(::_beginthreadex)> hook(nullptr, "_beginthreadex", &RefuseThread);
  int references = 0;
  const auto holds = Replace<decltype(::GetModuleHandleExW)>(
      "GetModuleHandleExW", [&](DWORD flags, LPCWSTR name, HMODULE* module) {
        return ++references, ::GetModuleHandleExW(flags, name, module);
      });
  const auto frees = Replace<decltype(::FreeLibrary)>(
      "FreeLibrary", [&](HMODULE module) { return --references, ::FreeLibrary(module); });
  EXPECT_EQ(worker.StartThread(0), 0);
  EXPECT_EQ(references, 0) << "the library would stay loaded for ever";
  EXPECT_EQ(worker.WaitForThread(0), WAIT_FAILED);
}

void KillInItsSleepAndRestart(WorkerThread& worker) {
  WorkerCall call(&worker, [] {});
  call.AddRef();
  call.PostIt();
  worker.StartThread(0);
  EXPECT_TRUE(Eventually([&] { return worker.NumberOfOutstandingCalls() == 0; }));
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
      &StartInVain};
  for (const auto& act : cases) {
    for (const auto model : {WorkerThread::ComNone, WorkerThread::ComSingleThreaded}) {
      WorkerThread worker(model, "state");
      act(worker);
    }
    EXPECT_EQ(WorkerCall::alive, 0);
  }
}

// Leaves the stack below its caller full of what a record must not take over.
__declspec(noinline) void DirtyStack() {
  volatile char dirt[16384];
  for (volatile char& each : dirt) each = '\xCC';
}

std::string named;
LONG CALLBACK KeepName(EXCEPTION_POINTERS* pointers) {
  const auto& [code, flags, inner, address, count, values] = *pointers->ExceptionRecord;
  if (code != 0x406D1388) return EXCEPTION_CONTINUE_SEARCH;
  named = std::to_string(flags & 1) + ' ' + std::to_string(count) + ' ' +
          std::to_string(values[0]) + ' ' + std::to_string(values[2]) + ' ' +
          std::to_string(values[3] | values[4] | values[5]) + ' ' +
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
    // The flags of the name, the upper half of the third value, are 0; so is what lies behind.
    EXPECT_EQ(named, "0 6 4096 " + std::to_string(id) + " 0 " + name);
    if (getDescription) EXPECT_EQ(description, std::wstring(length, L'n'));
    ::LocalFree(description);
  }
  DirtyStack();
  WorkerThread::SetThreadName(0xFFFFFFFE, "bare");
  EXPECT_EQ(named, "0 6 4096 4294967294 0 bare") << "something of the stack is in the record";
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

TEST(WorkerThread, WaitForCall_TakesOneCountACall_WithoutKernelOrMemory_OrFailsAtOnce) {
  int releases = 0;
  WorkerThread worker(WorkerThread::ComNone, "count");
  WorkerCall call(&worker, [] {});
  const auto hook = Replace<decltype(::ReleaseSemaphore)>(
      "ReleaseSemaphore", [&](auto... all) { return ++releases, ::ReleaseSemaphore(all...); });
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
  {
    const auto late = Replace<decltype(::WaitForSingleObject)>(
        "WaitForSingleObject", [&](auto...) { return worker.Call(&call), DWORD{WAIT_TIMEOUT}; });
    EXPECT_EQ(worker.WaitForCall(1), 1) << "the call was there when the time was over";
  }
  EXPECT_EQ(worker.WaitForCall(1), 0) << "the release for it is nobody's call";
  const auto refuse =
      Replace<decltype(::CreateSemaphoreW)>("CreateSemaphoreW", [](auto...) { return HANDLE{}; });
  WorkerThread without(WorkerThread::ComNone, "none");
  without.Call(&call);
  EXPECT_EQ(without.WaitForCall(INFINITE), 0);
}

// A worker is killed while it posts to another: in the kernel's door, before or behind the wake-up,
// and behind the queue's lock, where the next post brings the call along.
TEST(WorkerThread, PosterKilledWhileItPosts_CostsItsOneCallAtMost) {
  enum class Place { beforeWakeUp, behindWakeUp, behindLock };
  for (const Place place : {Place::beforeWakeUp, Place::behindWakeUp, Place::behindLock}) {
    const Gate atTheDoor;
    std::atomic<DWORD> dying = 0;
    std::atomic<int> ran = 0;
    const auto stopAt = [&](Place here) {
      if (here == place && ::GetCurrentThreadId() == dying) atTheDoor.Open(), ::Sleep(INFINITE);
    };
    const auto release =
        Replace<decltype(::ReleaseSemaphore)>("ReleaseSemaphore", [&](auto... arguments) {
          stopAt(Place::beforeWakeUp);
          const BOOL isDone = ::ReleaseSemaphore(arguments...);
          stopAt(Place::behindWakeUp);
          return isDone;
        });
    const auto leave = Replace<decltype(::LeaveCriticalSection)>("LeaveCriticalSection",
                                                                 [&](LPCRITICAL_SECTION section) {
                                                                   ::LeaveCriticalSection(section);
                                                                   stopAt(Place::behindLock);
                                                                 });
    WorkerThread target(WorkerThread::ComNone, "target"), poster(WorkerThread::ComNone, "poster");
    target.StartThread(0);
    // Until the target sleeps, nothing has to be released.
    Post(poster, [&] {
      dying = ::GetCurrentThreadId();
      while (true) Post(target, [&] { ++ran; }), ::Sleep(1);
    });
    poster.StartThread(0);
    ASSERT_TRUE(atTheDoor.Passed());
    EXPECT_NE(poster.KillThread(), 0);
    for (int i = 0; i < 100; ++i) {
      const Gate gate;
      Post(target, [&] { gate.Open(); });
      ASSERT_TRUE(gate.Passed()) << "the target is deaf";
    }
    target.StopThread();
    if (place == Place::behindLock) EXPECT_EQ(ran, 1);
    EXPECT_EQ(WorkerCall::alive.exchange(0), 1) << "the killed poster's own call";
  }
}

// Plays the loader in a thread's first and last steps, with its lock taken.
struct Loader {
  platform::OwnedKernelObject lock{::CreateMutexW(nullptr, FALSE, nullptr)};
  Gate taken, mayGoOn;
  bool atStart = false, stuck = false;
  unsigned(__stdcall* run)(void*) = nullptr;

  void Pass() const {
    ::WaitForSingleObject(lock.Get(), kLimit);
    taken.Open();
    mayGoOn.Passed();
    ::ReleaseMutex(lock.Get());
  }
}* loader;
unsigned __stdcall EnterByLoader(void* self) {
  if (loader->atStart) loader->Pass();
  const unsigned code = loader->run(self);
  // Only the Universal run time's threads come back here.
  if (!loader->atStart) loader->Pass();
  return code;
}
uintptr_t BeginByLoader(void* security, unsigned stack, unsigned(__stdcall* run)(void*), void* self,
                        unsigned flags, unsigned* id) {
  loader->run = run;
  return ::_beginthreadex(security, stack, &EnterByLoader, self, flags, id);
}
DECLSPEC_NORETURN VOID WINAPI LeaveByLoader(HMODULE module, DWORD code) {
  if (!loader->atStart) loader->Pass();
  ::FreeLibraryAndExitThread(module, code);
}
DWORD WINAPI WaitAndLetGoOn(HANDLE object, DWORD timeout) {
  if (!loader->stuck && loader->taken.IsOpen()) loader->mayGoOn.Open();
  return ::WaitForSingleObject(object, timeout);
}

TEST(WorkerThread, KillInTheFirstOrLastSteps_WaitsUntilTheLoaderIsFree_ButNotForEver) {
  struct {
    bool atStart, stuck;
    DWORD lock;
  } const cases[] = {{true, false, WAIT_OBJECT_0},
                     {false, false, WAIT_OBJECT_0},
                     {true, true, static_cast<DWORD>(WAIT_ABANDONED)}};
  for (const auto& row : cases) {
    Loader played;
    loader = &played;
    played.atStart = row.atStart;
    played.stuck = row.stuck;
    const ImportHook<decltype(::_beginthreadex)> begin(nullptr, "_beginthreadex", &BeginByLoader);
    const ImportHook<decltype(::FreeLibraryAndExitThread)> leave(
        "KERNEL32.dll", "FreeLibraryAndExitThread", &LeaveByLoader);
    WorkerThread worker(WorkerThread::ComNone, "early");
    (new ThreadStopCall(&worker))->PostIt();
    worker.StartThread(0);
    ASSERT_TRUE(played.taken.Passed());
    const ImportHook<decltype(::WaitForSingleObject)> wait("KERNEL32.dll", "WaitForSingleObject",
                                                           &WaitAndLetGoOn);
    EXPECT_NE(worker.KillThread(), 0);
    EXPECT_EQ(::WaitForSingleObject(played.lock.Get(), kLimit), row.lock);
    ::ReleaseMutex(played.lock.Get());
  }
}

TEST(WorkerThread, CallThatThrowsWhileItImpersonates_LeavesNoTokenToTheNext) {
  const auto throwUnderToken = [] {
    EXPECT_TRUE(::ImpersonateSelf(SecurityImpersonation));
    throw 1;
  };
  int looked = 0;
  const auto look = [&looked] {
    HANDLE token = nullptr;
    EXPECT_FALSE(::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, &token));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NO_TOKEN));
    ++looked;
  };
  WorkerThread worker(WorkerThread::ComNone, "token");
  for (int i = 0; i < 2; ++i) Post(worker, throwUnderToken), Post(worker, look);
  worker.StartThread(0);
  worker.StopThread();
  DWORD user = 0, destroyer = 0;
  ThreadPool pool(1, 1, WorkerThread::ComNone);
  Post(
      pool, [&] { user = ::GetCurrentThreadId(), throwUnderToken(); },
      [&] { destroyer = ::GetCurrentThreadId(), look(); });
  Post(pool, look);
  // What a call leaves on purpose stays.
  Post(pool, [] { ::ImpersonateSelf(SecurityImpersonation); });
  Post(pool, [] {
    platform::OwnedKernelObject token;
    EXPECT_TRUE(::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.Receive()));
    ::RevertToSelf();
  });
  EXPECT_TRUE(Eventually([] { return PoolCall::alive == 0; }));
  EXPECT_EQ(looked, 4);
  EXPECT_EQ(destroyer, user);
}

}  // namespace
}  // namespace vtclass::test
