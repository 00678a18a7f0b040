// A module that uses the library and leaves things running, for threads_test_child to unload or to
// end with.
#include <vtclass/win32.h>

#include <memory>
#include <string_view>

#include "tests/support/thread_calls.h"

namespace {

using vtclass::test::Gate;
using vtclass::test::PoolCall;

WorkerThread* StartWorker(WorkerThread::ComThreadingModel model) {
  auto* const worker = new WorkerThread(model, "left");
  worker->StartThread(0);
  return worker;
}

// A pool whose worker has retired, and runs no code of this module any more: a call that dies there
// would do so in a destructor that may be unloaded meanwhile.
ThreadPool* StartPool() {
  auto* const pool = new ThreadPool;
  const RefPointer<PoolCall> call = new PoolCall(pool, [] {});
  call->PostIt();
  while (call->AddRef() > 2) call->Release(), ::Sleep(1);
  call->Release();
  return pool;
}

// A pool with a call that sleeps and one that waits in a group, both for ever.
ThreadPool* StartStuckPool() {
  static Gate entered[2];
  static Waitable never(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  static WaitableGroup group;
  group.Add(&never);
  auto* const pool = new ThreadPool(2, 0, WorkerThread::ComMultiThreaded);
  (new PoolCall(pool, [] { entered[0].Open(), ::Sleep(INFINITE); }))->PostIt();
  (new PoolCall(pool, [] { entered[1].Open(), group.Wait(INFINITE); }))->PostIt();
  for (Gate& gate : entered) gate.Passed();
  return pool;
}

}  // namespace

extern "C" __declspec(dllexport) void Scenario(const char* name) {
  const std::string_view scenario = name;
  if (scenario == "alive") {
    StartWorker(WorkerThread::ComMultiThreaded);
    StartWorker(WorkerThread::ComSingleThreaded);
  } else if (scenario == "ended") {
    StartPool();
    (new ThreadStopCall(StartWorker(WorkerThread::ComNone)))->PostIt();
    delete StartWorker(WorkerThread::ComMultiThreaded);
    delete StartPool();
    ComEnvironmentFactory::DestroyInstance();
  } else if (scenario == "in hand") {
    StartStuckPool();
  } else {
    // Destroyed by the C run time while the process ends, its threads already gone.
    static const std::unique_ptr<ThreadPool> pool(StartStuckPool());
  }
}
