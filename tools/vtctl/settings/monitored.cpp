#include "tools/vtctl/settings/monitored.h"

#include <vtclass/win32.h>

#include "config/registry_values.h"
#include "platform/same_name.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/limit_remarks.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/value.h"
#include "vtclass/config.h"

namespace vtctl {
namespace {

using namespace vtclass::config;

std::wstring RangeText(const MonitoredSetting& setting) {
  return std::to_wstring(setting.row->minimum) + L" to " + std::to_wstring(setting.row->maximum);
}

// What TypeText says, for scripts.
const char* KindWord(const MonitoredSetting& setting) {
  switch (setting.value.kind) {
    case Setting::stringKind:
      return "text";
    case Setting::boolKind:
      return "switch";
    case Setting::sdkDebugLevelKind:
      return "mask";
    default:
      return "number";
  }
}

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
                        isText ? L"" : std::to_wstring(value.ifMissing), kMonitoredValues[i]});
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
      return L"number, " + RangeText(setting);
    case Setting::boolKind:
      return L"switch, 0 or 1";
    case Setting::sdkDebugLevelKind:
      return L"debug mask";
    default:
      return setting.HasRange() ? L"number, " + RangeText(setting) : L"number";
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

unsigned long Unset(const MonitoredSetting& setting) {
  Configuration key;
  const bool isGone = key.Open(Configuration::openExisting, setting.value.key, nullptr,
                               Configuration::accessWrite) &&
                      key.DeleteValue(setting.value.name);
  const auto status = static_cast<unsigned long>(key.GetErrorCode());
  return isGone || status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

StoreResult Store(const MonitoredSetting& setting, const std::wstring& text) {
  Setting stored = setting.Open();
  if (setting.IsText()) return {{}, stored.WriteText(text.c_str())};
  const auto number = ParseNumber(text);
  if (!number) {
    return {L"\"" + text + L"\" is no number from 0 to 4294967295 (0xffffffff)"};
  }
  if (!setting.IsInRange(*number)) {
    const bool isCount = setting.row == &kMaxDebugFileCount;
    return {text + L" is out of the range " + RangeText(setting) +
            (isCount ? L"; it would switch the limits of logs off" : L"")};
  }
  return {{}, stored.WriteNumber(*number)};
}

Json ToJson(const MonitoredSetting& setting) {
  Json json = {{"key", ToUtf8(L"HKEY_LOCAL_MACHINE\\" + std::wstring(setting.value.key))},
               {"name", ToUtf8(setting.value.name)},
               {"kind", KindWord(setting)},
               {"minimum", nullptr},
               {"maximum", nullptr}};
  if (setting.HasRange()) {
    json["minimum"] = setting.row->minimum;
    json["maximum"] = setting.row->maximum;
  }
  return json;
}

Json ToJson(const MonitoredSetting& setting, const std::optional<std::wstring>& data) {
  Json json = ToJson(setting);
  json["data"] = ValueAsJson(setting, data);
  json["outOfRange"] = IsOutOfRange(setting, data);
  json["remark"] = TextOrNull(Remark(setting, data));
  return json;
}

bool IsOutOfRange(const MonitoredSetting& setting, const std::optional<std::wstring>& data) {
  return data && !setting.IsText() && !setting.IsInRange(ParseNumber(*data).value_or(0));
}

std::wstring Remark(const MonitoredSetting& setting, const std::optional<std::wstring>& data) {
  for (const LimitRemark& remark : RemarksOn(ReadSizeSettings())) {
    if (data && remark.value == setting.row) return remark.text;
  }
  if (IsOutOfRange(setting, data)) return L"Out of its range " + RangeText(setting) + L".";
  return {};
}

Json ValueAsJson(const MonitoredSetting& setting, const std::optional<std::wstring>& value) {
  if (!value) return nullptr;
  if (setting.IsText()) return ToUtf8(*value);
  return ParseNumber(*value).value_or(0);
}

std::wstring StatusText(long status) { return SystemText(static_cast<DWORD>(status) & 0xFFFF); }

}  // namespace vtctl
