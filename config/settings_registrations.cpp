#include <iterator>
#include <memory>

#include "config/registry_values.h"
#include "config/settings_monitor_state.h"
#include "platform/no_throw.h"
#include "vtclass/settings_monitor.h"

using vtclass::config::kMonitoredValues;
using vtclass::config::RegistryValue;
using vtclass::config::ValueKind;
using vtclass::platform::ScopedLock;
using vtclass::platform::StatusOf;

namespace {

constexpr Setting::eKind KindOf(ValueKind kind) { return static_cast<Setting::eKind>(kind); }
static_assert(KindOf(ValueKind::text) == Setting::stringKind &&
              KindOf(ValueKind::number) == Setting::dwordKind &&
              KindOf(ValueKind::range) == Setting::rangeKind &&
              KindOf(ValueKind::toggle) == Setting::boolKind &&
              KindOf(ValueKind::debugMask) == Setting::sdkDebugLevelKind);

static_assert(std::size(kMonitoredValues) == SettingsMonitor::vtmDebugLevel + 1,
              "eMonitored and the table name other values");

// A range that readers of a plain number have is theirs: it binds nobody who writes the value.
MonitoredValue ValueOf(unsigned long number) noexcept {
  const RegistryValue& value = *kMonitoredValues[number];
  const bool binds = value.kind == ValueKind::range || value.kind == ValueKind::toggle;
  return {value.key.Path(),          value.name,  KindOf(value.kind), binds ? value.minimum : 0,
          binds ? value.maximum : 0, value.number};
}

std::unique_ptr<Setting> Make(const MonitoredValue& value) {
  return std::make_unique<Setting>(HKEY_LOCAL_MACHINE, value.key, value.name, value.kind,
                                   value.minimum, value.maximum);
}

}  // namespace

bool SettingsMonitor::GetMonitoredValue(unsigned long number, MonitoredValue& value) {
  if (number >= std::size(kMonitoredValues)) return false;
  value = ValueOf(number);
  return true;
}

long SettingsMonitor::AddNumberOrDestroy(Setting** setting, NumberCallback callback, void* context,
                                         const void*& cookie, Setting::NumberRunner run) noexcept {
  cookie = nullptr;
  if (!setting) return E_INVALIDARG;
  long status = E_INVALIDARG;
  if (*setting && callback) status = (*setting)->Attach(callback, context, run);
  if (status == S_OK) status = AddSetting(*setting, cookie);
  if (status == S_OK) return S_OK;
  delete *setting;
  *setting = nullptr;
  return status;
}

// Read under the lock: were it read before, a change between the reading and the registration could
// be looked for while the setting is not yet there, and would be lost.
const void* SettingsMonitor::AddNumber(const MonitoredValue& value, NumberCallback callback,
                                       void* context, Setting::NumberRunner run) noexcept {
  if (!value.key || !value.name || !callback) return nullptr;
  const void* cookie = nullptr;
  StatusOf([&] {
    std::unique_ptr<Setting> setting = Make(value);
    const ScopedLock hold(state->lock);
    setting->Read();
    Setting* handedOver = setting.release();
    return AddNumberOrDestroy(&handedOver, callback, context, cookie, run);
  });
  return cookie;
}

const void* SettingsMonitor::AddText(const MonitoredValue& value, TextCallback callback,
                                     void* context, Setting::TextRunner run) noexcept {
  if (!value.key || !value.name || !callback) return nullptr;
  const void* cookie = nullptr;
  StatusOf([&] {
    std::unique_ptr<Setting> setting = Make(value);
    const ScopedLock hold(state->lock);
    setting->Read();
    long status = setting->Attach(callback, context, run);
    if (status == S_OK) status = AddSetting(setting.get(), cookie);
    // NOLINTNEXTLINE(bugprone-unused-return-value): the monitor owns it now
    if (status == S_OK) setting.release();
    return status;
  });
  return cookie;
}

const void* SettingsMonitor::Register(unsigned long number, NumberCallback callback, void* context,
                                      Setting::NumberRunner run) noexcept {
  return AddNumber(ValueOf(number), callback, context, run);
}

const void* SettingsMonitor::Register(unsigned long number, TextCallback callback, void* context,
                                      Setting::TextRunner run) noexcept {
  return AddText(ValueOf(number), callback, context, run);
}
