// A module that uses the library and leaves things running, for threads_test_child to unload or to
// end with.
#include <vtclass/win32.h>

#include <string>

#include "threads/threads_test_support.h"

namespace {

using vtclass::test::Gate;
using vtclass::test::PoolCall;
using vtclass::test::WorkerCall;

WorkerThread* StartWorker(WorkerThread::ComThreadingModel model) {
  auto* const worker = new WorkerThread(model, "left");
  worker->StartThread(0);
  return worker;
}

// True while the pool holds the call too. After that no worker runs code of this module for it: a
// call that dies on a worker would do so in a destructor that may be unloaded meanwhile.
bool IsShared(PoolCall& call) {
  call.AddRef();
  return call.Release() > 1;
}

// Runs two calls; without `work` it returns when they are over.
ThreadPool* StartPool(int keepIdle, const PoolCall::Work& work = nullptr) {
  auto* const pool = new ThreadPool(2, keepIdle, WorkerThread::ComMultiThreaded);
  Gate entered;
  const RefPointer<PoolCall> calls[] = {
      new PoolCall(pool, [] {}),
      new PoolCall(pool, [&entered, work] { entered.Open(), work ? work() : void(); })};
  for (const auto& call : calls) call->PostIt();
  entered.Passed();
  for (const auto& call : calls) {
    while (!work && IsShared(*call)) ::Sleep(1);
  }
  return pool;
}

void WaitInGroup() {
  Waitable never(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  WaitableGroup group;
  group.Add(&never);
  group.Wait(INFINITE);
}

}  // namespace

extern "C" __declspec(dllexport) void Scenario(const char* name) {
  const std::string scenario = name;
  if (scenario == "worker") StartWorker(WorkerThread::ComMultiThreaded);
  if (scenario == "single-threaded worker") StartWorker(WorkerThread::ComSingleThreaded);
  if (scenario == "kept workers") StartPool(1);
  if (scenario == "retired workers") StartPool(0);
  if (scenario == "ending worker") {
    (new ThreadStopCall(StartWorker(WorkerThread::ComNone)))->PostIt();
  }
  if (scenario == "call in hand") StartPool(0, [] { ::Sleep(INFINITE); });
  if (scenario == "wait in hand") StartPool(0, &WaitInGroup);
  if (scenario == "destruction at exit") {
    // Destroyed by the C run time while the process ends, its threads already gone.
    static ThreadPool* const pool = StartPool(0, [] { ::Sleep(INFINITE); });
    static const struct AtExit {
      ~AtExit() { delete pool; }
    } atExit;
  }
  if (scenario == "all stopped") {
    delete StartWorker(WorkerThread::ComMultiThreaded);
    delete StartPool(1);
    ComEnvironmentFactory::DestroyInstance();
  }
}
