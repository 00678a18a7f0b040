#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/vtctl/settings/monitored.h"
#include "tools/vtctl/settings/watch_settings.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/csv.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/limit_remarks.h"
#include "tools/vtctl/shared/number_text.h"
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
    "  vtctl settings unset \"MaxDebugFile Count\"\n"
    "  vtctl settings watch --for 60\n"
    "      print changes as a service sees them; Ctrl+C ends it\n"
    "\n"
    "A service that runs keeps what it knows of a value that has been taken away or has a wrong "
    "type.\n"
    "'list' and 'watch' mark a value that is out of its range, or with which another rule counts\n"
    "than it says. 'set' stores no value out of its range, and tells what one leads to that "
    "counts\n"
    "as another.\n"
    "\n"
    "Exit codes: 0 clean, 64 no such setting or no value of it, 66 it cannot be read, 73 it cannot "
    "be\n"
    "written.";

struct SettingsArguments : CommonArguments {
  std::wstring name;
  std::wstring data;
  std::optional<SettingsKey> key;
  unsigned seconds = 0;
  bool csv = false;
};

// Of an HRESULT that carries one.
unsigned long SystemStatus(long status) { return static_cast<unsigned long>(status) & 0xFFFF; }

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

// What has to be said of a value, under its line.
std::wstring RemarkLines(const MonitoredSetting& setting, const std::optional<std::wstring>& data) {
  const std::wstring remark = Remark(setting, data);
  constexpr size_t kIndent = 6;
  return remark.empty() ? L""
                        : Wrapped(L"    ! ", remark, kIndent, static_cast<size_t>(TerminalWidth()));
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
  const std::wstring usual =
      setting.row->otherwise ? FromUtf8(setting.row->otherwise) : Shown(setting, setting.usual);
  Print(L"  " + name + L"= " + value + L"  [" + TypeText(setting) + L"; if not stored: " + usual +
        L"]\n" + RemarkLines(setting, stored.value));
}

int NotReadable(long status) {
  return FailWith(kExitNoInput, SystemStatus(status),
                  L"The settings cannot be read: " + StatusText(status) +
                      L" A service reads them with the right to write.");
}

Json RowOf(const MonitoredSetting& setting, const StoredSetting& stored) {
  Json row = ToJson(setting, stored.value);
  row["ifNotStored"] = ValueAsJson(setting, setting.usual);
  row["wrongType"] = stored.hasOtherType;
  AddStatus(row, SystemStatus(stored.status));
  return row;
}

int List(const SettingsArguments& arguments) {
  if (arguments.csv && arguments.json) {
    return Fail(kExitUsage, L"--csv and --json do not go together.");
  }
  auto rows = Json::array();
  std::wstring heading;
  long worst = 0;
  for (const MonitoredSetting& setting : MonitoredSettings()) {
    if (arguments.key && setting.key != *arguments.key) continue;
    const StoredSetting stored = ReadStored(setting);
    if (stored.status != 0) worst = stored.status;
    rows.push_back(RowOf(setting, stored));
    if (arguments.json || arguments.csv) continue;
    if (KeyLine(setting) != heading) Print(heading = KeyLine(setting));
    PrintRow(setting, stored);
  }
  if (arguments.json) PrintJson(rows);
  if (arguments.csv && !rows.empty()) Print(Csv(rows.front(), rows));
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
    return FailWith(
        kExitNoInput, SystemStatus(stored.status),
        L"The value \"" + std::wstring(setting->value.name) + L"\" cannot be read: " + reason);
  }
  if (arguments.json) {
    PrintJsonLine(ToJson(*setting, stored.value));
  } else {
    Print(Printable(*stored.value) + L"\n");
  }
  return kExitClean;
}

// What a value that was just stored leads to, where it does not speak for itself.
std::wstring Effect(const MonitoredSetting& setting) {
  if (setting.row == &vtclass::config::kMaxDebugFileEnabled && ReadSizeSettings().enabled == 0) {
    return L"Debug logs have no limits now: each goes on in a further file every 20 MB.\n";
  }
  const bool isLimit = &setting.row->key == &vtclass::config::kLoggingKey &&
                       std::wstring_view(setting.row->name).starts_with(L"MaxDebugFile");
  std::wstring text;
  for (const LimitRemark& remark : RemarksOn(ReadSizeSettings())) {
    if (isLimit) text += remark.text + L"\n";
  }
  return text;
}

int Set(const SettingsArguments& arguments) {
  const auto setting = FindSetting(arguments.name, arguments.key);
  if (!setting) return UnknownName(arguments);
  const StoreResult result = Store(*setting, arguments.data);
  const std::wstring name = L"\"" + std::wstring(setting->value.name) + L"\"";
  if (!result.problem.empty()) {
    return Fail(kExitUsage, name + L" is not changed: " + result.problem + L".");
  }
  if (result.status != S_OK) {
    return FailWith(kExitCannotWrite, SystemStatus(result.status),
                    name + L" cannot be written: " + StatusText(result.status));
  }
  Print(Effect(*setting));
  return kExitClean;
}

int Unset(const SettingsArguments& arguments) {
  const auto setting = FindSetting(arguments.name, arguments.key);
  if (!setting) return UnknownName(arguments);
  if (const unsigned long status = Unset(*setting)) {
    return Fail(kExitCannotWrite,
                L"\"" + std::wstring(setting->value.name) + L"\" cannot be taken away", status);
  }
  Print(Effect(*setting));
  return kExitClean;
}

void PrintChange(const MonitoredSetting& setting, const std::optional<std::wstring>& before,
                 const std::wstring& now, bool json) {
  if (json) {
    Json line = {{"time", ToUtf8(IsoTime())}};
    line.update(ToJson(setting, now));
    line["before"] = ValueAsJson(setting, before);
    PrintJsonLine(line);
    return;
  }
  const std::wstring key = setting.key == SettingsKey::logging ? L"logging" : L"debug";
  Print(ClockTime() + L"  " + key + L"  " + setting.value.name + L" = " + Shown(setting, now) +
        L"  (was " + (before ? Shown(setting, *before) : L"not stored") + L")\n" +
        RemarkLines(setting, now));
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
  list.Flag("--csv", list->csv, "One line a value, for spreadsheets");
  list.Json("One JSON array with everything");
  Settings get = AddOperation(group, "get", "Print one value", Get);
  AddName(get);
  get.Json("One JSON object with type and range");
  Settings set = AddOperation(group, "set", "Write one value, if it is within its range", Set);
  AddName(set);
  set.Text("DATA", set->data, "The value; numbers in decimal or 0x...").Required();
  Settings unset =
      AddOperation(group, "unset",
                   "Take one value away; what starts from now on goes by what counts then", Unset);
  AddName(unset);
  Settings watch = AddOperation(group, "watch", "Print changes as they come", Watch);
  watch.Count("--for SECONDS", watch->seconds, "End after so many seconds", kSeconds);
  watch.Json("One JSON object a change");
}

}  // namespace vtctl
