#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/vtctl/settings/monitored.h"
#include "tools/vtctl/settings/watch_settings.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/product.h"

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

struct SettingsArguments {
  std::string name;
  std::string data;
  std::string key;
  unsigned long product = 0;
  unsigned seconds = 0;
  bool json = false;
};

std::optional<SettingsKey> ChosenKey(const SettingsArguments& arguments) {
  if (arguments.key.empty()) return std::nullopt;
  return arguments.key == "debug" ? SettingsKey::debug : SettingsKey::logging;
}

/* "HKEY_LOCAL_MACHINE\...\Debug", with what speaks against relying on it. */
std::wstring KeyLine(const MonitoredSetting& setting) {
  std::wstring line = L"HKEY_LOCAL_MACHINE\\" + std::wstring(setting.value.key);
  if (!setting.isWatched) line += L"  (of the other product: changes reach no service)";
  return line + L"\n";
}

/* Text in quotation marks, so that an empty one can be seen. */
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
  const auto key = ChosenKey(arguments);
  auto json = nlohmann::ordered_json::array();
  std::wstring heading;
  long worst = 0;
  for (const MonitoredSetting& setting : MonitoredSettings()) {
    if (key && setting.key != *key) continue;
    const StoredSetting stored = ReadStored(setting);
    if (stored.status != 0) worst = stored.status;
    if (arguments.json) {
      nlohmann::ordered_json row = ToJson(setting);
      row["value"] = ValueAsJson(setting, stored.value);
      if (stored.hasOtherType) row["hasWrongType"] = true;
      row["ifNotStored"] = ValueAsJson(setting, setting.usual);
      json.push_back(row);
      continue;
    }
    if (KeyLine(setting) != heading) Print(heading = KeyLine(setting));
    PrintRow(setting, stored);
  }
  if (arguments.json) PrintUtf8(json.dump(2) + "\n");
  return worst == 0 ? kExitClean : NotReadable(worst);
}

int UnknownName(const SettingsArguments& arguments) {
  return Fail(kExitUsage, L"\"" + FromUtf8(arguments.name) + L"\" is no monitored setting" +
                              (arguments.key.empty() ? L"" : L" of that key") +
                              L"; 'vtctl settings list' names them.");
}

int Get(const SettingsArguments& arguments) {
  const auto setting = FindSetting(FromUtf8(arguments.name), ChosenKey(arguments));
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
    nlohmann::ordered_json line = ToJson(*setting);
    line["value"] = ValueAsJson(*setting, stored.value);
    PrintUtf8(line.dump() + "\n");
  } else {
    Print(Printable(*stored.value) + L"\n");
  }
  return kExitClean;
}

int Set(const SettingsArguments& arguments) {
  const auto setting = FindSetting(FromUtf8(arguments.name), ChosenKey(arguments));
  if (!setting) return UnknownName(arguments);
  const StoreResult result = Store(*setting, FromUtf8(arguments.data));
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
    nlohmann::ordered_json line = ToJson(setting);
    line["before"] = ValueAsJson(setting, before);
    line["value"] = ValueAsJson(setting, now);
    PrintUtf8(line.dump() + "\n");
    return;
  }
  const std::wstring key = setting.key == SettingsKey::logging ? L"logging" : L"debug";
  Print(ClockTime() + L"  " + key + L"  " + setting.value.name + L" = " + Shown(setting, now) +
        L"  (was " + (before ? Shown(setting, *before) : L"not stored") + L")\n");
}

int Watch(const SettingsArguments& arguments) {
  const auto key = ChosenKey(arguments);
  std::vector<MonitoredSetting> settings;
  for (MonitoredSetting& setting : MonitoredSettings()) {
    if (!setting.isWatched || (key && setting.key != *key)) continue;
    const StoredSetting stored = ReadStored(setting);
    /* The monitor would be silent for ever. */
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
  const DWORD limit = arguments.seconds > 0 ? arguments.seconds * 1000 : INFINITE;
  if (!WatchSettings(settings, InterruptEvent(), limit, ready, changed)) {
    return Fail(kExitInternal, L"The settings monitor does not take the settings.");
  }
  return Interrupted() ? kExitCancelled : kExitClean;
}

using Operation = int (*)(const SettingsArguments&);

CLI::App* AddOperation(CLI::App& settings, ChosenCommand& chosen, const char* name,
                       const char* description, const std::shared_ptr<SettingsArguments>& arguments,
                       Operation operation) {
  CLI::App* command = settings.add_subcommand(name, description);
  command->add_option("--key", arguments->key, "Only the values of one key: logging or debug")
      ->check(CLI::IsMember({"logging", "debug"}))
      ->option_text("logging|debug");
  command->add_option("--product", arguments->product, "1 for the sibling product's registry root")
      ->option_text("N");
  command->footer(kExamples);
  command->callback([&chosen, arguments, operation] {
    chosen.run = [arguments, operation] {
      CMS_SetProd(arguments->product);
      return operation(*arguments);
    };
  });
  return command;
}

void AddName(CLI::App* command, const std::shared_ptr<SettingsArguments>& arguments) {
  command->add_option("NAME", arguments->name, "The setting, as 'list' names it; in any case")
      ->required()
      ->option_text(" ");
}

}  // namespace

void AddSettingsCommand(CLI::App& app, ChosenCommand& chosen) {
  CLI::App* settings = app.add_subcommand(
      "settings", "Read, change and watch the settings that services follow live");
  settings->require_subcommand(1);
  settings->footer(kExamples);
  const auto arguments = std::make_shared<SettingsArguments>();

  CLI::App* list = AddOperation(*settings, chosen, "list",
                                "Print all of them with type, range and what counts if not stored",
                                arguments, List);
  CLI::App* get = AddOperation(*settings, chosen, "get", "Print one value", arguments, Get);
  AddName(get, arguments);
  CLI::App* set = AddOperation(*settings, chosen, "set",
                               "Write one value, if it is within its range", arguments, Set);
  AddName(set, arguments);
  set->add_option("DATA", arguments->data, "The value; numbers in decimal or 0x...")
      ->required()
      ->option_text(" ");
  CLI::App* watch =
      AddOperation(*settings, chosen, "watch", "Print changes as they come", arguments, Watch);
  watch->add_option("--for", arguments->seconds, "End after so many seconds")
      ->check(CLI::Range(1U, 1000000U))
      ->option_text("SECONDS");
  list->add_flag("--json", arguments->json, "One JSON array with everything");
  get->add_flag("--json", arguments->json, "One JSON object with type and range");
  watch->add_flag("--json", arguments->json, "One JSON object a change");
}

}  // namespace vtctl
