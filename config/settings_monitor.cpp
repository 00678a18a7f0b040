#include "vtclass/settings_monitor.h"

#include <algorithm>

#include "config/product_keys.h"
#include "config/settings_monitor_state.h"
#include "platform/hresult.h"
#include "platform/module_thread.h"
#include "platform/no_throw.h"

using vtclass::config::kDebugKey;
using vtclass::config::KeyWatcher;
using vtclass::config::kLoggingKey;
using vtclass::config::WatchedEvent;
using vtclass::platform::HResultOfFailure;
using vtclass::platform::LookUpSpinCount;
using vtclass::platform::MadeOrNull;
using vtclass::platform::ScopedLock;
using vtclass::platform::StartModuleThread;
using vtclass::platform::StatusOf;

namespace {

// After a wait that the system refused, or a look for which memory was missing: without a pause the
// thread would burn a processor until the trouble is over.
constexpr DWORD kPause = 100;

DWORD Run(SettingsMonitor& monitor) { return SettingsMonitor::Thread(&monitor); }

}  // namespace

SettingsMonitor::State::State()
    : loggingWatcher(settings, kLoggingKey.Path()), debugWatcher(settings, kDebugKey.Path()) {
  LookUpSpinCount();
  // Without an event to stop it by, the thread could never be ended, and is not started.
  if (!stopSignal.GetHandle() || !waitGroup.Add(&stopSignal)) return;
  for (KeyWatcher* const watcher : {&loggingWatcher, &debugWatcher}) {
    // What cannot be armed stays deaf; the other key is watched all the same.
    if (!watcher->GetHandle() || !waitGroup.Add(watcher)) return;
    watcher->Arm();
  }
}

SettingsMonitor::SettingsMonitor(const std::nothrow_t&) noexcept
    : state(MadeOrNull([] { return new State; })) {
  if (state) SettingsMonitor::Start();
}

SettingsMonitor::~SettingsMonitor() {
  if (!state) return;
  SettingsMonitor::Stop();
  RemoveAllSettings();
  delete state;
}

SettingsMonitor* SettingsMonitor::GetInstance() {
  if (!State::c_instance) State::c_instance = new SettingsMonitor;
  return State::c_instance;
}

SettingsMonitor* SettingsMonitor::InstanceOrNull() noexcept {
  return MadeOrNull([] { return GetInstance(); });
}

void SettingsMonitor::DestroyInstance() {
  if (!State::c_instance || State::c_instance->state->IsMonitorThread()) return;
  delete State::c_instance;
  State::c_instance = nullptr;
}

long SettingsMonitor::Start() {
  if (state->thread) return E_INVALIDARG;
  if (state->waitGroup.Count() == 0) return E_FAIL;
  state->thread = StartModuleThread<&Run>(*this);
  return state->thread ? S_OK : HResultOfFailure(::GetLastError());
}

long SettingsMonitor::Stop() {
  if (state->IsMonitorThread()) return HResultOfFailure(ERROR_POSSIBLE_DEADLOCK);
  if (!state->thread) return S_OK;
  state->stopSignal.Signal();
  ::WaitForSingleObject(state->thread.Get(), INFINITE);
  state->thread.Reset();
  return S_OK;
}

unsigned long SettingsMonitor::Thread(void* monitor) {
  if (monitor) static_cast<SettingsMonitor*>(monitor)->Monitor();
  return 0;
}

long SettingsMonitor::Monitor() {
  state->threadId = ::GetCurrentThreadId();
  for (;;) {
    WatchedEvent* const watched = state->Next();
    if (!watched) continue;
    if (watched->IsStopSignal()) break;
    state->Look(*watched);
    watched->Rearm();
    // A change that came between the reading and the new notification is remembered by some systems
    // and forgotten by others. This look finds it; where nothing differs nobody is called.
    state->Look(*watched);
  }
  state->threadId = 0;
  return S_OK;
}

DWORD SettingsMonitor::State::UntilDue() const {
  return std::min({loggingWatcher.UntilRetry(), loggingWatcher.UntilReading(),
                   debugWatcher.UntilRetry(), debugWatcher.UntilReading()});
}

// While the wait for all of them is refused, the monitor can still be stopped.
bool SettingsMonitor::State::IsStoppedInPause() const {
  const DWORD result = ::WaitForSingleObject(stopSignal.GetHandle(), kPause);
  if (result == WAIT_FAILED) ::Sleep(kPause);
  return result == WAIT_OBJECT_0;
}

WatchedEvent* SettingsMonitor::State::Next() {
  // What is due goes first: many signals of the other key must not put it off for ever.
  for (KeyWatcher* const watcher : {&loggingWatcher, &debugWatcher}) {
    if (watcher->UntilReading() == 0) Look(*watcher);
    if (watcher->UntilRetry() == 0) return watcher;
  }
  Waitable* const signalled = waitGroup.Wait(UntilDue());
  if (signalled) return static_cast<WatchedEvent*>(signalled);
  return UntilDue() != 0 && IsStoppedInPause() ? &stopSignal : nullptr;
}

void SettingsMonitor::State::Look(WatchedEvent& watched) {
  long collected = S_OK;
  {
    const ScopedLock hold(lock);
    collected = watched.Collect(settings);
  }
  if (collected == S_OK) {
    watched.ProcessChanges(lock);
    return;
  }
  // Later, when there may be memory again: the change must not be lost.
  ::Sleep(kPause);
  watched.Signal();
}

const void* SettingsMonitor::RegisterSetting(Setting* setting) {
  const void* cookie = nullptr;
  const ScopedLock hold(state->lock);
  if (AddSetting(setting, cookie) != S_OK || !setting->hasValue) return cookie;
  // Its value may have changed since the caller read it, with a signal that found nothing to do.
  for (KeyWatcher* const watcher : {&state->loggingWatcher, &state->debugWatcher}) {
    if (watcher->Watches(setting->subkey)) watcher->Signal();
  }
  return cookie;
}

long SettingsMonitor::UnRegisterSetting(const void* cookie) { return RemoveSetting(cookie); }

void SettingsMonitor::UnRegisterContext(const void* context) {
  if (!State::c_instance) return;
  State& state = *State::c_instance->state;
  const ScopedLock hold(state.lock);
  std::erase_if(state.settings,
                [&](const auto& entry) { return entry.second.setting->context == context; });
}

long SettingsMonitor::RemoveAllSettings() {
  const ScopedLock hold(state->lock);
  state->settings.clear();
  return S_OK;
}

long SettingsMonitor::AddSetting(Setting* setting, const void*& cookie) {
  cookie = nullptr;
  if (!setting) return E_INVALIDARG;
  // What a number with a default and an expanded text would mean here is not settled.
  if (setting->kind == Setting::defaultNumberKind || setting->kind == Setting::expandStringKind) {
    return E_NOTIMPL;
  }
  const DWORD failure = StatusOf([this, setting] {
    const ScopedLock hold(state->lock);
    // An address that is there already is the same setting, which is owned already.
    const auto [entry, added] = state->settings.try_emplace(setting);
    if (added) entry->second = {std::unique_ptr<Setting>(setting), ++state->registered};
  });
  if (failure != ERROR_SUCCESS) return HResultOfFailure(failure);
  cookie = setting;
  return S_OK;
}

long SettingsMonitor::RemoveSetting(const void* cookie) {
  if (!cookie) return E_INVALIDARG;
  const ScopedLock hold(state->lock);
  if (state->settings.empty()) return E_INVALIDARG;
  return state->settings.erase(cookie) == 1 ? S_OK : E_FAIL;
}
