#include <vtclass/win32.h>

#include "threads/worker_state.h"
#include "vtclass/threads.h"

ThreadCall::ThreadCall(WorkerThread* thread, Runner run) noexcept
    : thread(thread), creatorThreadId(::GetCurrentThreadId()), run(run) {}

ThreadCall::~ThreadCall() = default;

RefThreadCall::RefThreadCall(WorkerThread* thread, Runner run) noexcept : ThreadCall(thread, run) {}

RefThreadCall::~RefThreadCall() = default;

void RefThreadCall::ThreadExecute() {
  run(*this, &ThreadCall::Execute);
  Release();
}

ThreadStopCall::ThreadStopCall(WorkerThread* worker) : RefThreadCall(worker) {}

ThreadStopCall::~ThreadStopCall() = default;

void ThreadStopCall::Execute() { thread->state->running = 0; }
