#include <vtclass/win32.h>

#include "threads/contained.h"
#include "threads/worker_state.h"
#include "vtclass/threads.h"

using vtclass::threads::Contained;

namespace vtclass::threads {

void ReportException(const char* text) noexcept {
  // On the stack and cut if need be: memory may be what has run out.
  wchar_t line[512] = L"vtclass_mini: a thread call ended by an exception: ";
  const int start = ::lstrlenW(line);
  const int room = static_cast<int>(std::size(line)) - start - 2;
  const int length = text ? ::lstrlenA(text) : 0;
  const int written =
      ::MultiByteToWideChar(CP_ACP, 0, text, length < room ? length : room, line + start, room);
  line[start + written] = L'\n';
  line[start + written + 1] = L'\0';
  ::OutputDebugStringW(line);
}

}  // namespace vtclass::threads

ThreadCall::ThreadCall(WorkerThread* thread)
    : thread(thread), creatorThreadId(::GetCurrentThreadId()) {}

RefThreadCall::RefThreadCall(WorkerThread* thread) : ThreadCall(thread) {}

void RefThreadCall::PostIt() {
  RefPointer<RefThreadCall> posting(this);
  thread->Call(this);
  posting.Detach();
}

void RefThreadCall::ThreadExecute() {
  Contained([this] { Execute(); });
  Release();
}

ThreadStopCall::ThreadStopCall(WorkerThread* worker) : RefThreadCall(worker) {}

void ThreadStopCall::Execute() { thread->state->running = 0; }
