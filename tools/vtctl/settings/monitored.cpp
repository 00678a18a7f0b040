#include "tools/vtctl/settings/monitored.h"

#include <vtclass/win32.h>

#include "config/registry_values.h"
#include "platform/same_name.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/value.h"
#include "vtclass/config.h"

namespace vtctl {
namespace {

using namespace vtclass::config;

bool IsStored(const MonitoredSetting& setting) {
  Configuration key;
  unsigned long size = 0;
  unsigned long type = 0;
  return key.Open(Configuration::openExisting, setting.value.key, nullptr,
                  Configuration::accessRead) &&
         key.GetDataSize(setting.value.name, &size, &type);
}

}  // namespace

std::vector<MonitoredSetting> MonitoredSettings() {
  std::vector<MonitoredSetting> settings;
  MonitoredValue value = {};
  for (unsigned long i = 0; SettingsMonitor::GetMonitoredValue(i, value); ++i) {
    const bool isLogging = std::wstring_view(value.key) == kLoggingKey.Path();
    const bool isWatched = isLogging || std::wstring_view(value.key) == kDebugKey.Path();
    const bool isText = value.kind == Setting::stringKind;
    settings.push_back({isLogging ? SettingsKey::logging : SettingsKey::debug, isWatched, value,
                        isText ? L"" : std::to_wstring(kMonitoredValues[i]->number)});
  }
  return settings;
}

std::optional<MonitoredSetting> FindSetting(std::wstring_view name,
                                            std::optional<SettingsKey> key) {
  for (const MonitoredSetting& setting : MonitoredSettings()) {
    if (key && setting.key != *key) continue;
    if (vtclass::platform::IsSameName(setting.value.name, name)) return setting;
  }
  return std::nullopt;
}

std::wstring TypeText(const MonitoredSetting& setting) {
  switch (setting.value.kind) {
    case Setting::stringKind:
      return L"text";
    case Setting::rangeKind:
      return L"number, " + std::to_wstring(setting.value.minimum) + L" to " +
             std::to_wstring(setting.value.maximum);
    case Setting::boolKind:
      return L"switch, 0 or 1";
    case Setting::sdkDebugLevelKind:
      return L"debug mask";
    default:
      return L"number";
  }
}

std::optional<std::wstring> LastValue(const Setting& setting) {
  if (!setting.HasValue()) return std::nullopt;
  unsigned long number = 0;
  wcstring text;
  if (setting.GetText(text) == S_OK) return text;
  setting.GetNumber(number);
  return std::to_wstring(number);
}

StoredSetting ReadStored(const MonitoredSetting& setting) {
  Setting stored = setting.Open();
  const long status = stored.Read();
  if (status == E_FAIL) return {std::nullopt, 0, IsStored(setting)};
  // A key that is not there holds nothing, which is no failure.
  if (status == HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND)) return {};
  return {LastValue(stored), status};
}

StoreResult Store(const MonitoredSetting& setting, const std::wstring& text) {
  Setting stored = setting.Open();
  if (setting.IsText()) return {{}, stored.WriteText(text.c_str())};
  const auto number = ParseNumber(text);
  if (!number) {
    return {L"\"" + text + L"\" is no number from 0 to 4294967295 (0xffffffff)"};
  }
  const bool fits = *number >= setting.value.minimum && *number <= setting.value.maximum;
  if (setting.HasRange() && !fits) {
    return {text + L" is out of the range " + std::to_wstring(setting.value.minimum) + L" to " +
            std::to_wstring(setting.value.maximum)};
  }
  return {{}, stored.WriteNumber(*number)};
}

Json ToJson(const MonitoredSetting& setting) {
  Json json = {{"key", ToUtf8(L"HKEY_LOCAL_MACHINE\\" + std::wstring(setting.value.key))},
               {"name", ToUtf8(setting.value.name)},
               {"type", ToUtf8(TypeText(setting))}};
  if (setting.HasRange()) {
    json["minimum"] = setting.value.minimum;
    json["maximum"] = setting.value.maximum;
  }
  return json;
}

Json ValueAsJson(const MonitoredSetting& setting, const std::optional<std::wstring>& value) {
  if (!value) return nullptr;
  if (setting.IsText()) return ToUtf8(*value);
  return ParseNumber(*value).value_or(0);
}

std::wstring StatusText(long status) { return SystemText(static_cast<DWORD>(status) & 0xFFFF); }

}  // namespace vtctl
