#include <memory>

#include "config/monitored_values.h"
#include "config/no_throw.h"
#include "config/settings_monitor_state.h"
#include "vtclass/settings_monitor.h"

using vtclass::config::Registration;
using vtclass::config::StatusOf;
using vtclass::config::ValueOf;
using vtclass::platform::ScopedLock;

namespace {

std::unique_ptr<Setting> Make(const MonitoredValue& value) {
  return std::make_unique<Setting>(HKEY_LOCAL_MACHINE, value.key, value.name, value.kind,
                                   value.minimum, value.maximum);
}

}  // namespace

bool SettingsMonitor::GetMonitoredValue(unsigned long number, MonitoredValue& value) {
  if (number >= static_cast<unsigned long>(Registration::end)) return false;
  value = ValueOf(static_cast<Registration>(number));
  return true;
}

long SettingsMonitor::AddNumberSetting(Setting** setting, NumberCallback callback, void* context,
                                       const void*& cookie) {
  cookie = nullptr;
  if (!setting) return E_INVALIDARG;
  long status = E_INVALIDARG;
  if (*setting && callback) status = (*setting)->AttachNumber(callback, context);
  if (status == S_OK) status = AddSetting(*setting, cookie);
  if (status == S_OK) return S_OK;
  delete *setting;
  *setting = nullptr;
  return status;
}

// Read under the lock: were it read before, a change between the reading and the registration could
// be looked for while the setting is not yet there, and would be lost.
const void* SettingsMonitor::AddNumber(const MonitoredValue& value, NumberCallback callback,
                                       void* context) {
  if (!value.key || !value.name || !callback) return nullptr;
  const void* cookie = nullptr;
  StatusOf([&] {
    std::unique_ptr<Setting> setting = Make(value);
    const ScopedLock hold(state->lock);
    setting->Read();
    Setting* handedOver = setting.release();
    return AddNumberSetting(&handedOver, callback, context, cookie);
  });
  return cookie;
}

const void* SettingsMonitor::AddText(const MonitoredValue& value, TextCallback callback,
                                     void* context) {
  if (!value.key || !value.name || !callback) return nullptr;
  const void* cookie = nullptr;
  StatusOf([&] {
    std::unique_ptr<Setting> setting = Make(value);
    const ScopedLock hold(state->lock);
    setting->Read();
    long status = setting->AttachText(callback, context);
    if (status == S_OK) status = AddSetting(setting.get(), cookie);
    // The monitor owns it now.
    if (status == S_OK) setting.release();
    return status;
  });
  return cookie;
}

const void* SettingsMonitor::AddDWORDSetting(const wchar_t* key, const wchar_t* value,
                                             NumberCallback callback, void* context) {
  return AddNumber({key, value, Setting::dwordKind, 0, 0}, callback, context);
}

const void* SettingsMonitor::AddBoolSetting(const wchar_t* key, const wchar_t* value,
                                            NumberCallback callback, void* context) {
  return AddNumber({key, value, Setting::boolKind, 0, 1}, callback, context);
}

const void* SettingsMonitor::AddRangeSetting(const wchar_t* key, const wchar_t* value,
                                             unsigned long minimum, unsigned long maximum,
                                             NumberCallback callback, void* context) {
  if (minimum >= maximum) return nullptr;
  return AddNumber({key, value, Setting::rangeKind, minimum, maximum}, callback, context);
}

const void* SettingsMonitor::AddStringSetting(const wchar_t* key, const wchar_t* value,
                                              TextCallback callback, void* context) {
  return AddText({key, value, Setting::stringKind, 0, 0}, callback, context);
}

const void* SettingsMonitor::RegisterCreateDebugLog(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::createDebugLog), callback, context);
}

const void* SettingsMonitor::KoltRegisterDebugLevel(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::koltDebugLevel), callback, context);
}

const void* SettingsMonitor::EngineRegisterDebugLevel(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::engineDebugLevel), callback, context);
}

const void* SettingsMonitor::RegisterMaxDebugFileEnabled(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::maxDebugFileEnabled), callback, context);
}

const void* SettingsMonitor::RegisterMaxDebugFileSize(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::maxDebugFileSize), callback, context);
}

const void* SettingsMonitor::RegisterMaxRetention(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::maxRetention), callback, context);
}

const void* SettingsMonitor::RegisterMaxDebugFileCount(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::maxDebugFileCount), callback, context);
}

const void* SettingsMonitor::RegisterMaxDebugFileLimitMode(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::maxDebugFileLimitMode), callback, context);
}

const void* SettingsMonitor::RegisterMaxDebugFileAppend(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::maxDebugFileAppend), callback, context);
}

const void* SettingsMonitor::VtmRegisterCreateDebugLog(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::vtmCreateDebugLog), callback, context);
}

const void* SettingsMonitor::VtmRegisterMaxDebugFileEnabled(NumberCallback callback,
                                                            void* context) {
  return AddNumber(ValueOf(Registration::vtmMaxDebugFileEnabled), callback, context);
}

const void* SettingsMonitor::VtmRegisterMaxDebugFileSize(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::vtmMaxDebugFileSize), callback, context);
}

const void* SettingsMonitor::VtmRegisterMaxDebugFileCount(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::vtmMaxDebugFileCount), callback, context);
}

const void* SettingsMonitor::VtmRegisterLogPath(TextCallback callback, void* context) {
  return AddText(ValueOf(Registration::vtmLogPath), callback, context);
}

const void* SettingsMonitor::VtmRegisterMaxDebugFileRetentionSize(NumberCallback callback,
                                                                  void* context) {
  return AddNumber(ValueOf(Registration::vtmMaxDebugFileRetentionSize), callback, context);
}

const void* SettingsMonitor::VtmRegisterLogLimitMode(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::vtmLogLimitMode), callback, context);
}

const void* SettingsMonitor::VtmRegisterDebugLevel(NumberCallback callback, void* context) {
  return AddNumber(ValueOf(Registration::vtmDebugLevel), callback, context);
}
