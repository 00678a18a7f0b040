#include <vtclass/win32.h>

#include "platform/contained.h"
#include "threads/worker_state.h"
#include "vtclass/threads.h"

using vtclass::platform::Contained;

ThreadCall::ThreadCall(WorkerThread* thread)
    : thread(thread), creatorThreadId(::GetCurrentThreadId()) {}

RefThreadCall::RefThreadCall(WorkerThread* thread) : ThreadCall(thread) {}

void RefThreadCall::PostIt() {
  RefPointer<RefThreadCall> posting(this);
  thread->Call(this);
  posting.Detach();
}

void RefThreadCall::ThreadExecute() {
  // What the call did not undo must not be the next one's: above all somebody else's token.
  if (!Contained([this] { Execute(); })) ::RevertToSelf();
  Release();
}

ThreadStopCall::ThreadStopCall(WorkerThread* worker) : RefThreadCall(worker) {}

void ThreadStopCall::Execute() { thread->state->running = 0; }
