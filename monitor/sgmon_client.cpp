#include <vtclass/win32.h>

#include <atomic>
#include <new>
#include <utility>

#include "config/registry_values.h"
#include "monitor/wake_up_event.h"
#include "platform/module_thread.h"
#include "vtclass/config.h"
#include "vtclass/monitor.h"
#include "vtclass/threads.h"

using vtclass::config::kSGMonComponents;
using vtclass::config::kSGMonEnabled;
using vtclass::monitor::OpenWakeUpEvent;
using vtclass::platform::OwnedKernelObject;
using vtclass::platform::StartModuleThread;
using vtclass::platform::ThisModule;

namespace {

constexpr DWORD kStartLimit = 1000;  // for a thread's first steps
// Between two evaluations while the wake-up event stays signalled: 20 a second at most.
constexpr DWORD kPause = 50;

SGMonClient* instance;

bool IsSignalled(HANDLE object) { return ::WaitForSingleObject(object, 0) == WAIT_OBJECT_0; }

// Why a wait ended that was not to go on: 0 unless the system refused it.
DWORD StatusOfWait(DWORD result) {
  return result == WAIT_FAILED ? ::GetLastError() : DWORD{ERROR_SUCCESS};
}

bool IsOnFor(SGMonClient::eClient client) {
  Configuration key;
  const wchar_t* const path = kSGMonEnabled.key.Path();
  if (!key.Open(Configuration::openOrCreate, path, nullptr,
                Configuration::accessRead | Configuration::accessWrite)) {
    // Who may not write is still told what is stored.
    key.Open(Configuration::openExisting, path, nullptr, Configuration::accessRead);
  }
  unsigned long enabled = 0;
  unsigned long components = 0;
  key.Load(kSGMonEnabled.name, enabled, kSGMonEnabled.number);
  key.Load(kSGMonComponents.name, components, kSGMonComponents.number);
  return enabled != 0 && (components & client) != 0;
}

}  // namespace

struct SGMonClient::State {
  State(eClient client, void (*callback)(bool), Runner run)
      : client(client), callback(callback), run(run) {}

  unsigned long StartThread(SGMonClient& owner);
  void StopThread() const;
  bool IsOwnThread() const { return threadId == ::GetCurrentThreadId(); }
  static DWORD Live(SGMonClient& client);
  DWORD Run(HANDLE shutdown);
  DWORD Follow(HANDLE wakeUp, HANDLE shutdown) const;
  void Evaluate() const;

  const eClient client;
  void (*const callback)(bool);
  const Runner run;
  OwnedKernelObject thread;
  std::atomic<HANDLE> shutdownEvent{nullptr};  // the thread's, or the caller's in its place
  OwnedKernelObject startedEvent{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  OwnedKernelObject initCompleteEvent{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};

  OwnedKernelObject threadShutdownEvent{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<DWORD> threadId{0};
  std::atomic<unsigned long> status{ERROR_SUCCESS};  // why it does not follow
  bool diesWithThread = false;                       // of the thread alone
};

SGMonClient* SGMonClient::InstanceOrNull(eClient client, void (*callback)(bool),
                                         Runner run) noexcept {
  if (!instance) {
    RefPointer<SGMonClient> made(new (std::nothrow) SGMonClient(client, callback, run));
    if (made && made->state) instance = made.Detach();
  }
  return instance;
}

SGMonClient::SGMonClient(eClient client, void (*callback)(bool), Runner run) noexcept
    : state(new(std::nothrow) State(client, callback, run)) {
  if (!state) return;
  state->shutdownEvent = state->threadShutdownEvent.Get();
  // Without these the thread could not be ended safely, nor its first look be waited for.
  const bool hasEvents =
      state->threadShutdownEvent && state->startedEvent && state->initCompleteEvent;
  const unsigned long status = hasEvents ? state->StartThread(*this) : ERROR_NO_SYSTEM_RESOURCES;
  // The thread, if there is one, keeps its own.
  if (status != ERROR_SUCCESS) state->status = status;
}

SGMonClient::~SGMonClient() {
  if (!state) return;
  state->StopThread();
  delete state;
}

void SGMonClient::Destroy() {
  if (!state || !state->IsOwnThread()) {
    delete this;
    return;
  }
  // A thread cannot wait for its own end: it ends first, and deletes the client then.
  state->diesWithThread = true;
  ::SetEvent(state->threadShutdownEvent.Get());
}

void SGMonClient::SetInitComplete() { ::SetEvent(state->initCompleteEvent.Get()); }

void SGMonClient::WaitInitComplete(unsigned long timeoutMs) {
  if (!state->thread || state->IsOwnThread()) return;
  const HANDLE ends[] = {state->initCompleteEvent.Get(), state->thread.Get(), state->shutdownEvent};
  ::WaitForMultipleObjects(ends[2] ? 3 : 2, ends, FALSE, timeoutMs);
}

unsigned long SGMonClient::GetErrorCode() const { return state->status; }

void* SGMonClient::GetShutdownHandle() { return state->shutdownEvent; }

void SGMonClient::SetShutdownHandle(void* handle) { state->shutdownEvent = handle; }

unsigned long SGMonClient::State::StartThread(SGMonClient& owner) {
  thread = StartModuleThread<&State::Live>(owner);
  return thread ? DWORD{ERROR_SUCCESS} : ::GetLastError();
}

void SGMonClient::State::StopThread() const {
  if (!thread || IsOwnThread()) return;
  ::SetEvent(shutdownEvent);
  ::SetEvent(threadShutdownEvent.Get());
  const HANDLE signs[] = {startedEvent.Get(), thread.Get()};
  if (::WaitForMultipleObjects(2, signs, FALSE, kStartLimit) != WAIT_TIMEOUT) {
    ::WaitForSingleObject(thread.Get(), INFINITE);
    return;
  }
  // It has run nothing of ours yet, and will not while the loader holds it up: waiting would be for
  // ever. What it would have given back at its end is given back here.
  if (!::TerminateThread(thread.Get(), 0)) return;
  ::WaitForSingleObject(thread.Get(), kStartLimit);
  ::FreeLibrary(ThisModule());
}

DWORD SGMonClient::State::Live(SGMonClient& client) {
  State& state = *client.state;
  state.threadId = ::GetCurrentThreadId();
  const DWORD code = state.Run(state.threadShutdownEvent.Get());
  if (state.diesWithThread) {
    delete &client;
  } else {
    state.threadId = 0;
  }
  return code;
}

DWORD SGMonClient::State::Run(HANDLE shutdown) {
  WorkerThread::SetThreadName(::GetCurrentThreadId(), "SGMon");
  ::SetEvent(startedEvent.Get());
  OwnedKernelObject wakeUp;
  status = OpenWakeUpEvent(wakeUp);
  if (status != ERROR_SUCCESS) return status;
  if (!IsSignalled(shutdown)) status = Follow(wakeUp.Get(), shutdown);
  return status;
}

void SGMonClient::State::Evaluate() const {
  const bool isOn = IsOnFor(client);
  run(callback, isOn);
  ::SetEvent(initCompleteEvent.Get());
}

DWORD SGMonClient::State::Follow(HANDLE wakeUp, HANDLE shutdown) const {
  // The shutdown stands first: it counts even while somebody leaves the wake-up event signalled.
  const HANDLE events[] = {shutdown, wakeUp};
  for (;;) {
    Evaluate();
    if (IsSignalled(wakeUp)) {
      // It has not been reset yet, or is left as it is. After the pause the switches are read again
      // in any case: somebody else may have signalled meanwhile, which nothing shows.
      const DWORD paused = ::WaitForSingleObject(shutdown, kPause);
      if (paused != WAIT_TIMEOUT) return StatusOfWait(paused);
    } else {
      const DWORD woken = ::WaitForMultipleObjects(2, events, FALSE, INFINITE);
      if (woken != WAIT_OBJECT_0 + 1) return StatusOfWait(woken);
    }
  }
}
