#include "tools/vtctl/settings/watch_settings.h"

#include <deque>
#include <memory>
#include <utility>

#include "platform/critical_section.h"
#include "platform/owned.h"

namespace vtctl {
namespace {

using vtclass::platform::CriticalSection;
using vtclass::platform::OwnedKernelObject;
using vtclass::platform::ScopedLock;

// What the monitor's thread hands over to the thread that prints.
struct Changes {
  using Change = std::pair<size_t, std::wstring>;

  void Add(size_t setting, std::wstring value) {
    const ScopedLock hold(lock);
    waiting.emplace_back(setting, std::move(value));
    ::SetEvent(arrived.Get());
  }
  std::deque<Change> Take() {
    const ScopedLock hold(lock);
    return std::exchange(waiting, {});
  }

  OwnedKernelObject arrived{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  CriticalSection lock;
  std::deque<Change> waiting VTCLASS_GUARDED_BY(lock);
};

// The context of one registration.
struct Subscription {
  static long OnNumber(unsigned long value, void* context) {
    const auto* const self = static_cast<Subscription*>(context);
    self->changes->Add(self->setting, std::to_wstring(value));
    return S_OK;
  }
  static long OnText(const wchar_t* value, void* context) {
    const auto* const self = static_cast<Subscription*>(context);
    self->changes->Add(self->setting, value);
    return S_OK;
  }

  Changes* changes;
  size_t setting;
};

// Sets `last` to the value that the first change is told against.
bool Register(const MonitoredSetting& setting, Subscription& subscription,
              std::optional<std::wstring>& last) {
  auto made = std::make_unique<Setting>(HKEY_LOCAL_MACHINE, setting.value.key, setting.value.name,
                                        setting.value.kind);
  made->Read();
  last = LastValue(*made);
  if (setting.IsText()) {
    made->AttachText(&Subscription::OnText, &subscription);
  } else {
    made->AttachNumber(&Subscription::OnNumber, &subscription);
  }
  if (!SettingsMonitor::GetInstance()->RegisterSetting(made.get())) return false;
  made.release();  // NOLINT(bugprone-unused-return-value): the monitor's now
  return true;
}

// Ends the monitor before what its callbacks use goes.
struct MonitorScope {
  MonitorScope() = default;
  ~MonitorScope() { SettingsMonitor::DestroyInstance(); }
  MonitorScope(const MonitorScope&) = delete;
  MonitorScope& operator=(const MonitorScope&) = delete;
};

}  // namespace

std::optional<WaitEnd> WatchSettings(const std::vector<MonitoredSetting>& settings,
                                     unsigned seconds, const std::function<void()>& ready,
                                     const SettingChanged& changed) {
  const Deadline deadline(seconds);
  Changes changes;
  std::vector<Subscription> subscriptions;
  subscriptions.reserve(settings.size());
  std::vector<std::optional<std::wstring>> last(settings.size());
  for (size_t i = 0; i < settings.size(); ++i) subscriptions.push_back({&changes, i});
  const MonitorScope scope;
  for (size_t i = 0; i < settings.size(); ++i) {
    if (!Register(settings[i], subscriptions[i], last[i])) return std::nullopt;
  }
  ready();
  for (;;) {
    const WaitEnd end = WaitFor(changes.arrived.Get(), deadline.Left());
    if (end != WaitEnd::signalled) return end;
    for (auto& [setting, value] : changes.Take()) {
      changed(settings[setting], last[setting], value);
      last[setting] = std::move(value);
    }
  }
}

}  // namespace vtctl
