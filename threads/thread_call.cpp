#include <vtclass/win32.h>

#include "threads/worker_state.h"
#include "vtclass/threads.h"

ThreadCall::ThreadCall(WorkerThread* thread, Runner run) noexcept
    : thread(thread), creatorThreadId(::GetCurrentThreadId()), run(run) {}

// Exported with a body: defaulted in the header it would be compiled into the callers for good.
// NOLINTNEXTLINE(modernize-use-equals-default)
ThreadCall::~ThreadCall() {}

RefThreadCall::RefThreadCall(WorkerThread* thread, Runner run) noexcept : ThreadCall(thread, run) {}

RefThreadCall::~RefThreadCall() = default;

void RefThreadCall::ThreadExecute() {
  // What the call did not undo must not be the next one's: above all somebody else's token.
  if (!run(*this, &ThreadCall::Execute)) ::RevertToSelf();
  Release();
}

ThreadStopCall::ThreadStopCall(WorkerThread* worker) : RefThreadCall(worker) {}

ThreadStopCall::~ThreadStopCall() = default;

void ThreadStopCall::Execute() { thread->state->running = 0; }
