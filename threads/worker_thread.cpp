#include <vtclass/win32.h>

#include <memory>

#include "platform/border.h"
#include "platform/critical_section.h"
#include "platform/module_thread.h"
#include "platform/no_throw.h"
#include "threads/worker_state.h"
#include "vtclass/threads.h"

using vtclass::border::Contained;
using vtclass::border::Failure;
using vtclass::platform::KeepFailure;
using vtclass::platform::LookUpSpinCount;
using vtclass::platform::MadeOrNull;
using vtclass::platform::OwnedKernelObject;
using vtclass::platform::ScopedLock;
using vtclass::platform::StartCallersThread;

namespace {

constexpr DWORD kKilled = 0x80004004;  // E_ABORT
constexpr DWORD kLoaderLimit = 1000;   // for a thread's first and last steps
constexpr DWORD kEndLimit = 1000;

std::unique_ptr<ComClientEnv> EnterCom(WorkerThread::ComThreadingModel model) {
  constexpr unsigned long kMultithreadedOrSingle = 255;
  std::unique_ptr<ComClientEnv> environment;
  if (model == WorkerThread::ComMultiThreaded) {
    environment.reset(
        ComEnvironmentFactory::GetInstance()->GetEnvironment(kMultithreadedOrSingle, 1));
  } else if (model == WorkerThread::ComSingleThreaded) {
    environment = std::make_unique<SingleThreadedCom>();
  }
  return environment;
}

}  // namespace

void WorkerThread::State::Queue(ThreadCall* call, std::size_t spare) {
  bool wakes = false;
  {
    // Counted before the lock is free: a thread that is killed behind it leaves no call in the
    // queue that nobody counts. The waking is last: the call may have run by then.
    const ScopedLock hold(queueLock);
    queue.Reserve(1 + spare);
    queue.PushBack(call);
    ++outstanding;
    wakes = semaphore.Count();
  }
  if (wakes) semaphore.Wake();
}

void WorkerThread::State::QueueStop() {
  stopCall->AddRef();
  Queue(stopCall.get(), 0);
}

// Waits while the thread is in its first or last steps, where it may hold the loader's lock: killed
// with it, it would block every later start of a thread. Not for ever, since who kills may hold
// that lock himself. True when the thread has ended meanwhile.
bool WorkerThread::State::EndsInTheLoader() const {
  const ULONGLONG start = ::GetTickCount64();
  while (stage != Stage::inRun && ::GetTickCount64() - start < kLoaderLimit) {
    if (::WaitForSingleObject(thread.Get(), 1) == WAIT_OBJECT_0) return true;
  }
  return false;
}

WorkerThread::WorkerThread(const std::nothrow_t&, ComThreadingModel model,
                           const char* name) noexcept
    : state(MadeOrNull([&] { return new State(this, model, name); })) {
  LookUpSpinCount();
}

// NOLINTNEXTLINE(bugprone-exception-escape): stopping has its place in the queue
WorkerThread::~WorkerThread() {
  if (!state) return;
  WorkerThread::StopThread();
  delete state;
}

unsigned long WorkerThread::State::Live(WorkerThread& worker) {
  State& state = *worker.state;
  SetThreadName(::GetCurrentThreadId(), state.name.c_str());
  // Without memory for an environment the calls run outside COM; COM then refuses what they ask.
  Contained([&state] { state.environment = EnterCom(state.model).release(); });
  state.stage = Stage::inRun;
  const unsigned long code = worker.Run();
  // Leaving an apartment may run what the caller left in it.
  delete std::exchange(state.environment, nullptr);
  state.stage = Stage::leaving;
  return code;
}

unsigned long WorkerThread::Run() {
  do {
    if (!WaitForCall(INFINITE)) continue;
    ThreadCall* const call = RetrieveCall();
    if (!call) continue;
    if (!call->run(*call, &ThreadCall::ThreadExecute)) ::RevertToSelf();
    --state->outstanding;
  } while (state->running);  // asked after a wait only: a stop never cuts a call short
  return 0;
}

int WorkerThread::StartThread(unsigned long stackSize) {
  state->stage = State::Stage::starting;
  unsigned id = 0;
  OwnedKernelObject started = StartCallersThread<&State::Live>(*this, stackSize, id);
  if (!started) return 0;
  state->thread = std::move(started);
  state->threadId = id;
  return 1;
}

void WorkerThread::StopThread() {
  if (!state->thread) return;
  if (WaitForThread(0) != WAIT_OBJECT_0) {
    // With the flag cleared already, the thread leaves by itself after the call in hand.
    if (state->running) state->QueueStop();
    WaitForThread(INFINITE);
  }
  state->thread.Reset();
  state->threadId = 0;
  while (WaitForCall(0)) RetrieveCall();
}

int WorkerThread::KillThread() {
  if (!state->thread) return 1;
  const bool gone = state->EndsInTheLoader();
  const int ended = gone ? 1 : ::TerminateThread(state->thread.Get(), kKilled);
  // The thread may run some instructions more before the system ends it, and the caller is going to
  // free what it works on. One that is stuck inside the system never comes back from there.
  if (ended) ::WaitForSingleObject(state->thread.Get(), kEndLimit);
  state->thread.Reset();
  return ended;
}

unsigned long WorkerThread::WaitForThread(unsigned long timeout) {
  return ::WaitForSingleObject(state->thread.Get(), timeout);
}

void WorkerThread::Call(ThreadCall* call) { state->Queue(call, 1); }

void WorkerThread::Queue(ThreadCall* call, Failure& failure) noexcept {
  KeepFailure(failure, [=, this] { Call(call); });
}

ThreadCall* WorkerThread::RetrieveCall() {
  const ScopedLock hold(state->queueLock);
  return state->queue.Size() > 0 ? state->queue.PopFront() : nullptr;
}

int WorkerThread::WaitForCall(unsigned long timeout) {
  return state->semaphore.Wait(timeout, state->environment) ? 1 : 0;
}

long WorkerThread::NumberOfOutstandingCalls() { return state->outstanding; }

void WorkerThread::Dawdle() {
  if (state->environment) state->environment->Dawdle();
}
