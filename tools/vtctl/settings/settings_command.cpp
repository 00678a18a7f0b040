#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tools/vtctl/settings/monitored.h"
#include "tools/vtctl/settings/watch_settings.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "These are the values that a running service follows: it re-reads them when they change, "
    "without\n"
    "a restart. Some names exist in both keys; without --key the logging key's is meant.\n"
    "\n"
    "Examples:\n"
    "  vtctl settings list\n"
    "  vtctl settings get \"Engine NDMP Debug Level\"\n"
    "  vtctl settings set \"Engine NDMP Debug Level\" 2\n"
    "  vtctl settings set \"MaxDebugFile Count\" 5 --key debug\n"
    "  vtctl settings watch --for 60\n"
    "      print changes as a service sees them; Ctrl+C ends it";

struct SettingsArguments : CommonArguments {
  std::wstring name;
  std::wstring data;
  std::optional<SettingsKey> key;
  unsigned seconds = 0;
};

// "HKEY_LOCAL_MACHINE\...\Debug", with what speaks against relying on it.
std::wstring KeyLine(const MonitoredSetting& setting) {
  std::wstring line = L"HKEY_LOCAL_MACHINE\\" + std::wstring(setting.value.key);
  if (!setting.isWatched) line += L"  (of the other product: changes reach no service)";
  return line + L"\n";
}

// Text in quotation marks, so that an empty one can be seen.
std::wstring Shown(const MonitoredSetting& setting, const std::wstring& value) {
  return setting.IsText() ? L"\"" + Printable(value) + L"\"" : value;
}

void PrintRow(const MonitoredSetting& setting, const StoredSetting& stored) {
  constexpr size_t kNameColumn = 36;
  constexpr size_t kValueColumn = 14;
  std::wstring name = setting.value.name;
  name.resize(std::max(name.size(), kNameColumn), L' ');
  std::wstring value = stored.status != 0 ? L"(not readable)" : L"(not stored)";
  if (stored.hasOtherType) value = L"(wrong type)";
  if (stored.value) value = Shown(setting, *stored.value);
  value.resize(std::max(value.size(), kValueColumn), L' ');
  Print(L"  " + name + L"= " + value + L"  [" + TypeText(setting) + L"; " +
        Shown(setting, setting.usual) + L" if not stored]\n");
}

int NotReadable(long status) {
  return Fail(kExitNoInput, L"The settings cannot be read: " + StatusText(status) +
                                L" A service reads them with the right to write.");
}

int List(const SettingsArguments& arguments) {
  auto json = Json::array();
  std::wstring heading;
  long worst = 0;
  for (const MonitoredSetting& setting : MonitoredSettings()) {
    if (arguments.key && setting.key != *arguments.key) continue;
    const StoredSetting stored = ReadStored(setting);
    if (stored.status != 0) worst = stored.status;
    if (arguments.json) {
      Json row = ToJson(setting);
      row["value"] = ValueAsJson(setting, stored.value);
      if (stored.hasOtherType) row["hasWrongType"] = true;
      row["ifNotStored"] = ValueAsJson(setting, setting.usual);
      json.push_back(row);
      continue;
    }
    if (KeyLine(setting) != heading) Print(heading = KeyLine(setting));
    PrintRow(setting, stored);
  }
  if (arguments.json) PrintJson(json);
  return worst == 0 ? kExitClean : NotReadable(worst);
}

int UnknownName(const SettingsArguments& arguments) {
  return Fail(kExitUsage, L"\"" + arguments.name + L"\" is no monitored setting" +
                              (!arguments.key ? L"" : L" of that key") +
                              L"; 'vtctl settings list' names them.");
}

int Get(const SettingsArguments& arguments) {
  const auto setting = FindSetting(arguments.name, arguments.key);
  if (!setting) return UnknownName(arguments);
  const StoredSetting stored = ReadStored(*setting);
  if (!stored.value) {
    std::wstring reason = stored.status != 0 ? StatusText(stored.status) : L"it is not stored.";
    if (stored.hasOtherType) {
      reason = L"it is stored with another type than ";
      reason += setting->IsText() ? L"REG_SZ" : L"REG_DWORD";
      reason += L", and services pass it over.";
    }
    return Fail(kExitNoInput, L"The value \"" + std::wstring(setting->value.name) +
                                  L"\" cannot be read: " + reason);
  }
  if (arguments.json) {
    Json line = ToJson(*setting);
    line["value"] = ValueAsJson(*setting, stored.value);
    PrintJsonLine(line);
  } else {
    Print(Printable(*stored.value) + L"\n");
  }
  return kExitClean;
}

int Set(const SettingsArguments& arguments) {
  const auto setting = FindSetting(arguments.name, arguments.key);
  if (!setting) return UnknownName(arguments);
  const StoreResult result = Store(*setting, arguments.data);
  const std::wstring name = L"\"" + std::wstring(setting->value.name) + L"\"";
  if (!result.problem.empty()) {
    return Fail(kExitUsage, name + L" is not changed: " + result.problem + L".");
  }
  if (result.status == S_OK) return kExitClean;
  return Fail(kExitCannotWrite, name + L" cannot be written: " + StatusText(result.status));
}

void PrintChange(const MonitoredSetting& setting, const std::optional<std::wstring>& before,
                 const std::wstring& now, bool json) {
  if (json) {
    Json line = ToJson(setting);
    line["before"] = ValueAsJson(setting, before);
    line["value"] = ValueAsJson(setting, now);
    PrintJsonLine(line);
    return;
  }
  const std::wstring key = setting.key == SettingsKey::logging ? L"logging" : L"debug";
  Print(ClockTime() + L"  " + key + L"  " + setting.value.name + L" = " + Shown(setting, now) +
        L"  (was " + (before ? Shown(setting, *before) : L"not stored") + L")\n");
}

int Watch(const SettingsArguments& arguments) {
  std::vector<MonitoredSetting> settings;
  for (MonitoredSetting& setting : MonitoredSettings()) {
    if (!setting.isWatched || (arguments.key && setting.key != *arguments.key)) continue;
    const StoredSetting stored = ReadStored(setting);
    // The monitor would be silent for ever.
    if (stored.status != 0) return NotReadable(stored.status);
    settings.push_back(setting);
  }
  const auto ready = [&] {
    if (arguments.json) return;
    Print(L"Watching " + std::to_wstring(settings.size()) +
          L" settings as a service does; Ctrl+C ends it.\n");
  };
  const auto changed = [&](const MonitoredSetting& setting,
                           const std::optional<std::wstring>& before, const std::wstring& now) {
    PrintChange(setting, before, now, arguments.json);
  };
  const std::optional<WaitEnd> end = WatchSettings(settings, arguments.seconds, ready, changed);
  if (!end) return Fail(kExitInternal, L"The settings monitor does not take the settings.");
  return ExitCodeOf(*end);
}

using Settings = CommandWith<SettingsArguments>;

Settings AddOperation(Command& group, const char* name, const char* description,
                      int (*operation)(const SettingsArguments&)) {
  Settings command = group.Add(name, description, kExamples, operation);
  command.Choice<std::optional<SettingsKey>>(
      "--key logging|debug", command->key,
      {{"logging", SettingsKey::logging}, {"debug", SettingsKey::debug}},
      "Only the values of one key: logging or debug");
  return command;
}

void AddName(Settings& command) {
  command.Text("NAME", command->name, "The setting, as 'list' names it; in any case").Required();
}

}  // namespace

void AddSettingsCommand(Command& program) {
  Command group = program.AddGroup(
      "settings", "Read, change and watch the settings that services follow live", kExamples);
  Settings list = AddOperation(
      group, "list", "Print all of them with type, range and what counts if not stored", List);
  list.Json("One JSON array with everything");
  Settings get = AddOperation(group, "get", "Print one value", Get);
  AddName(get);
  get.Json("One JSON object with type and range");
  Settings set = AddOperation(group, "set", "Write one value, if it is within its range", Set);
  AddName(set);
  set.Text("DATA", set->data, "The value; numbers in decimal or 0x...").Required();
  Settings watch = AddOperation(group, "watch", "Print changes as they come", Watch);
  watch.Count("--for SECONDS", watch->seconds, "End after so many seconds", kSeconds);
  watch.Json("One JSON object a change");
}

}  // namespace vtctl
