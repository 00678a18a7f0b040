#include <vtclass/win32.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/border.h"
#include "platform/critical_section.h"
#include "platform/no_throw.h"
#include "threads/ring.h"
#include "threads/worker_state.h"
#include "vtclass/threads.h"

using vtclass::border::Contained;
using vtclass::border::Failure;
using vtclass::border::Report;
using vtclass::platform::CriticalSection;
using vtclass::platform::KeepFailure;
using vtclass::platform::MadeOrNull;
using vtclass::platform::ScopedLock;
using vtclass::threads::Ring;

namespace {

constexpr DWORD kStopLimit = 15000;

using Calls = Ring<RefPointer<ThreadPoolCall>>;

// The position of a call, or the list's size.
std::size_t Find(Calls& calls, const ThreadPoolCall* call) {
  std::size_t i = 0;
  while (i < calls.Size() && !(calls.At(i) == call)) ++i;
  return i;
}

bool Holds(Calls& calls, const ThreadPoolCall* call) { return Find(calls, call) < calls.Size(); }

}  // namespace

// The pool's lock comes before any worker's queue lock. Nothing that the lock guards is destroyed
// under it: destructors are the callers' code, and may post.
struct ThreadPool::State {
  State(const ThreadPool* self, int maxThreads, int keepIdleThreads,
        WorkerThread::ComThreadingModel model)
      : self(self), maxThreads(maxThreads), keepIdleThreads(keepIdleThreads), model(model) {}

  bool Owns(const ThreadPoolCall* call) const { return call->pool == self; }
  bool IsPending(const ThreadPoolCall* call) VTCLASS_REQUIRES(lock);
  void AddPending(RefPointer<ThreadPoolCall>& call) VTCLASS_REQUIRES(lock);
  RefPointer<ThreadPoolCall> TakePending(std::size_t i) VTCLASS_REQUIRES(lock);
  void Dispatch(RefPointer<ThreadPoolCall>& call) VTCLASS_REQUIRES(lock);
  void ReserveWorkers(std::size_t more) VTCLASS_REQUIRES(lock);
  WorkerThread* StartWorker() VTCLASS_REQUIRES(lock);
  void Hand(RefPointer<ThreadPoolCall>& call, WorkerThread* worker) VTCLASS_REQUIRES(lock);
  void HandBack(WorkerThread* worker) VTCLASS_REQUIRES(lock);
  bool HandNext(RefPointer<ThreadPoolCall>& next, WorkerThread* worker) VTCLASS_REQUIRES(lock);
  RefPointer<ThreadPoolCall> TakeNext() VTCLASS_REQUIRES(lock);
  RefPointer<ThreadPoolCall> StopExecuting(const ThreadPoolCall* call) VTCLASS_REQUIRES(lock);
  void Retire(WorkerThread* worker) VTCLASS_REQUIRES(lock);
  WorkerThread* TakeIdle(bool leavingOnly) VTCLASS_REQUIRES(lock);
  void FinishCall(ThreadPoolCall* call);
  void DropPending();
  void DropExecuting();
  void DestroyIdle(bool leavingOnly);
  void WaitForCallsInHand(DWORD timeout);
  std::vector<WorkerThread*> TakeOverBusy(bool closing);
  void StopBusy(DWORD timeout, bool closing);

  const ThreadPool* const self;
  // No spinning: a poster may hold it while it wakes a worker, longer than spinning pays.
  CriticalSection lock{0};
  const int maxThreads;
  const int keepIdleThreads;
  const WorkerThread::ComThreadingModel model;
  Calls pending VTCLASS_GUARDED_BY(lock);
  Calls executing VTCLASS_GUARDED_BY(lock);
  std::vector<WorkerThread*> busy VTCLASS_GUARDED_BY(lock);
  std::vector<WorkerThread*> idle VTCLASS_GUARDED_BY(lock);
  bool closed VTCLASS_GUARDED_BY(lock) = false;  // the destructor has stopped the workers
};

// A call counts its entries in the queue of its own pool: a call that is posted while it runs does
// not search a long queue under the lock. One that is handed to another pool is searched for.
bool ThreadPool::State::IsPending(const ThreadPoolCall* call) {
  return Owns(call) ? call->pendingEntries > 0 : Holds(pending, call);
}

void ThreadPool::State::AddPending(RefPointer<ThreadPoolCall>& call) {
  pending.Reserve(1);
  if (Owns(call.get())) ++call->pendingEntries;
  pending.PushBack(std::move(call));
}

RefPointer<ThreadPoolCall> ThreadPool::State::TakePending(std::size_t i) {
  RefPointer<ThreadPoolCall> call = pending.Take(i);
  if (Owns(call.get())) --call->pendingEntries;
  return call;
}

// Hands a call that is not executing to a worker, or queues it. On failure `call` keeps it.
void ThreadPool::State::Dispatch(RefPointer<ThreadPoolCall>& call) {
  const bool reuse = keepIdleThreads && !idle.empty();
  if (!reuse && !std::cmp_less(busy.size(), maxThreads)) {
    AddPending(call);
    return;
  }
  // All memory first: what follows cannot fail half-way.
  executing.Reserve(1);
  ReserveWorkers(reuse ? 0 : 1);
  WorkerThread* const worker = reuse ? idle.back() : StartWorker();
  if (reuse) idle.pop_back();
  if (reuse) busy.push_back(worker);
  try {
    Hand(call, worker);
  } catch (...) {
    if (call) HandBack(worker);
    throw;
  }
}

// Room for every worker in both lists, so that one changes over without memory.
void ThreadPool::State::ReserveWorkers(std::size_t more) {
  const std::size_t all = busy.size() + idle.size() + more;
  try {
    busy.reserve(all);
    idle.reserve(all);
  } catch (const std::bad_alloc&) {
    throw std::length_error("vector<T> too long");
  }
}

WorkerThread* ThreadPool::State::StartWorker() {
  WorkerThread* worker = nullptr;
  try {
    worker = new WorkerThread(model, "PoolThread");
  } catch (const std::bad_alloc&) {
    throw std::length_error("vector<T> too long");
  }
  busy.push_back(worker);
  // A refusal is not reported: the worker keeps its place in the bound, and its call.
  worker->StartThread(0);
  return worker;
}

// The derived class's own code may throw here. `call` then still holds the call, unless that code
// had queued it before: then the worker runs it.
void ThreadPool::State::Hand(RefPointer<ThreadPoolCall>& call, WorkerThread* worker) {
  ThreadPoolCall* const handed = call.get();
  const long outstanding = worker->NumberOfOutstandingCalls();
  try {
    handed->SetThread(worker);
    executing.PushBack(std::move(call));
    handed->PostItToThread();
  } catch (...) {
    if (worker->NumberOfOutstandingCalls() > outstanding) throw;
    if (!call) call = StopExecuting(handed);
    handed->thread = nullptr;
    throw;
  }
}

// A worker that sleeps, since it did not get its call.
void ThreadPool::State::HandBack(WorkerThread* worker) {
  Retire(worker);
  if (!keepIdleThreads) worker->state->QueueStop();
}

// The oldest pending call that is not executing.
RefPointer<ThreadPoolCall> ThreadPool::State::TakeNext() {
  for (std::size_t i = 0; i < pending.Size(); ++i) {
    if (!Holds(executing, pending.At(i).get())) return TakePending(i);
  }
  return nullptr;
}

RefPointer<ThreadPoolCall> ThreadPool::State::StopExecuting(const ThreadPoolCall* call) {
  const std::size_t at = Find(executing, call);
  return at < executing.Size() ? executing.Take(at) : nullptr;
}

void ThreadPool::State::Retire(WorkerThread* worker) {
  const auto found = std::ranges::find(busy, worker);
  if (found == busy.end()) return;
  busy.erase(found);
  idle.push_back(worker);
  if (!keepIdleThreads) worker->state->running = 0;
}

// The idle worker that has waited longest; with `leavingOnly` of those that run no code of callers
// any more.
WorkerThread* ThreadPool::State::TakeIdle(bool leavingOnly) {
  const auto found = std::ranges::find_if(idle, [leavingOnly](const WorkerThread* worker) {
    return !leavingOnly || worker->state->IsLeaving();
  });
  if (found == idle.end()) return nullptr;
  WorkerThread* const worker = *found;
  idle.erase(found);
  return worker;
}

// The wait of StopAllThreads: for the call semaphores of the busy workers, all together, and not
// for their threads. It is kept so: the semaphores stay as they are while calls are in hand, so
// this gives them the whole time-out. A worker without a running thread has nothing in hand. With
// more handles than the platform takes, the wait fails at once.
void ThreadPool::State::WaitForCallsInHand(DWORD timeout) {
  HANDLE semaphores[MAXIMUM_WAIT_OBJECTS + 1];
  DWORD count = 0;
  {
    const ScopedLock hold(lock);
    for (WorkerThread* const worker : busy) {
      if (count > MAXIMUM_WAIT_OBJECTS) break;
      if (worker->WaitForThread(0) == WAIT_TIMEOUT) {
        semaphores[count++] = worker->state->semaphore.Handle();
      }
    }
  }
  if (count > 0) ::WaitForMultipleObjects(count, semaphores, TRUE, timeout);
}

// Kills the busy workers that still run and hands them all over. Under the lock, so that none of
// them is killed while it holds it.
std::vector<WorkerThread*> ThreadPool::State::TakeOverBusy(bool closing) {
  std::vector<WorkerThread*> taken;
  const ScopedLock hold(lock);
  if (closing) closed = true;
  taken.swap(busy);
  for (WorkerThread* const worker : taken) {
    if (worker->WaitForThread(0) == WAIT_TIMEOUT) worker->KillThread();
  }
  return taken;
}

// Hands `next` to the worker that runs this. False when its own code refused: `next` then still
// holds it, for its end outside the lock.
bool ThreadPool::State::HandNext(RefPointer<ThreadPoolCall>& next, WorkerThread* worker) {
  try {
    Hand(next, worker);
  } catch (const std::exception& exception) {
    Report(exception.what());
  } catch (...) {
    Report(nullptr);
  }
  return !next;
}

// On the worker that ran `call`: the next call for it, or the worker is idle. Whatever code of
// derived classes throws, the worker is not lost: a call that cannot be handed on is dropped, and
// the one behind it gets its turn.
void ThreadPool::State::FinishCall(ThreadPoolCall* call) {
  WorkerThread* const worker = call->thread;
  ThreadPoolCall* finishing = call;
  for (bool settled = false; !settled;) {
    RefPointer<ThreadPoolCall> finished;
    RefPointer<ThreadPoolCall> next;
    const ScopedLock hold(lock);
    if (finishing) finished = StopExecuting(finishing);
    try {
      executing.Reserve(1);
      next = TakeNext();
    } catch (const std::length_error& error) {
      Report(error.what());  // what waits then waits for the end of another call
    }
    if (finishing && next != finishing) {
      if (!Contained([finishing] { finishing->SetThread(nullptr); })) finishing->thread = nullptr;
    }
    finishing = nullptr;
    if (!next) Retire(worker);
    settled = !next || HandNext(next, worker);
  }
}

// Outside the lock, like the next: destructors may post. No more than there are at the beginning,
// so that a stream of postings does not keep this one.
void ThreadPool::State::DropPending() {
  std::size_t left = 0;
  do {
    RefPointer<ThreadPoolCall> dropped;
    const ScopedLock hold(lock);
    if (left == 0) left = pending.Size();
    if (pending.Size() == 0) return;
    dropped = TakePending(0);
  } while (--left > 0);
}

void ThreadPool::State::DropExecuting() {
  bool more = true;
  while (more) {
    RefPointer<ThreadPoolCall> dropped;
    const ScopedLock hold(lock);
    more = executing.Size() > 0;
    if (more) dropped = executing.PopFront();
  }
}

void ThreadPool::State::DestroyIdle(bool leavingOnly) {
  std::size_t left = 0;
  do {
    WorkerThread* worker = nullptr;
    {
      const ScopedLock hold(lock);
      if (left == 0) left = idle.size();
      worker = TakeIdle(leavingOnly);
    }
    if (!worker) return;
    delete worker;
  } while (--left > 0);
}

void ThreadPool::State::StopBusy(DWORD timeout, bool closing) {
  DropPending();
  WaitForCallsInHand(timeout);
  for (WorkerThread* const worker : TakeOverBusy(closing)) delete worker;
}

ThreadPool::ThreadPool(const std::nothrow_t&, int maxThreads, int keepIdleThreads,
                       WorkerThread::ComThreadingModel model) noexcept
    : state(MadeOrNull([&] { return new State(this, maxThreads, keepIdleThreads, model); })) {
  vtclass::platform::LookUpSpinCount();
}

ThreadPool::~ThreadPool() {
  if (!state) return;
  state->DropPending();
  state->DestroyIdle(false);
  state->StopBusy(kStopLimit, true);
  // The workers that ended their call meanwhile, and what was posted. Nothing starts any more.
  state->DestroyIdle(false);
  state->DropPending();
  state->DropExecuting();
  delete state;
}

// NOLINTBEGIN(performance-unnecessary-value-param): the callee holds a reference of its own.
void ThreadPool::EnqueueCall(RefPointer<ThreadPoolCall> call) {
  bool reap = false;
  {
    const ScopedLock hold(state->lock);
    if (state->closed) return;
    if (Holds(state->executing, call.get())) {
      if (!state->IsPending(call.get())) state->AddPending(call);
      return;
    }
    state->Dispatch(call);
    reap = !state->keepIdleThreads && !state->idle.empty();
  }
  // Not those that still run a call's destructor: it may post to this pool itself, or need a lock
  // that the caller of this function holds.
  if (reap) state->DestroyIdle(true);
}

void ThreadPool::Enqueue(RefPointer<ThreadPoolCall>& call, Failure& failure) {
  KeepFailure(failure, [&] { EnqueueCall(std::move(call)); });
}

RefPointer<ThreadPoolCall> ThreadPool::GetNextCall() {
  const ScopedLock hold(state->lock);
  return state->TakeNext();
}

void ThreadPool::NotifyThreadIdle(WorkerThread* worker) {
  const ScopedLock hold(state->lock);
  state->Retire(worker);
}

bool ThreadPool::IsThreadCallQueued(RefPointer<ThreadPoolCall> call) {
  const ScopedLock hold(state->lock);
  return Holds(state->pending, call.get());
}

bool ThreadPool::IsThreadCallExecuting(RefPointer<ThreadPoolCall> call) {
  const ScopedLock hold(state->lock);
  return Holds(state->executing, call.get());
}

void ThreadPool::ThreadCallStartExecuting(RefPointer<ThreadPoolCall> call) {
  const ScopedLock hold(state->lock);
  state->executing.Reserve(1);
  state->executing.PushBack(call);
}

void ThreadPool::StartExecuting(RefPointer<ThreadPoolCall>& call, Failure& failure) noexcept {
  KeepFailure(failure, [&] { ThreadCallStartExecuting(std::move(call)); });
}

void ThreadPool::ThreadCallStopExecuting(RefPointer<ThreadPoolCall> call) {
  RefPointer<ThreadPoolCall> stopped;
  const ScopedLock hold(state->lock);
  stopped = state->StopExecuting(call.get());
}

// NOLINTEND(performance-unnecessary-value-param)

void ThreadPool::DeleteOutstandingCalls() { state->DropPending(); }

void ThreadPool::StopAllThreads(unsigned long timeout) { state->StopBusy(timeout, false); }

ThreadPoolCall::ThreadPoolCall(ThreadPool* pool, Runner run) noexcept
    : RefThreadCall(nullptr, run), pool(pool) {}

ThreadPoolCall::~ThreadPoolCall() = default;

void ThreadPoolCall::ThreadExecute() {
  if (!run(*this, &ThreadCall::Execute)) ::RevertToSelf();
  if (pool) Contained([this] { pool->state->FinishCall(this); });
  Release();
}

void ThreadPoolCall::SetThread(WorkerThread* worker) { thread = worker; }

void ThreadPoolCall::PostItToThread() { RefThreadCall::PostIt(); }
