#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "config/product_keys.h"
#include "tools/vtctl/registry/watch.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/csv.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/key_reader.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/value.h"
#include "vtclass/config.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "KEY begins with HKLM, HKCU, HKCR, HKU or HKCC (or the long name); without one it lies below\n"
    "HKLM.\n"
    "\n"
    "Examples:\n"
    "  vtctl registry list \"" VTCLASS_PRODUCT_ROOT
    "\"\n"
    "  vtctl registry get HKCU\\Software\\Test Level\n"
    "  vtctl registry set HKCU\\Software\\Test Level 3 --type dword\n"
    "  vtctl registry set HKCU\\Software\\Test Mask \"0f ff 00\" --type binary\n"
    "  vtctl registry set HKCU\\Software\\Test Servers alpha beta --type multi\n"
    "  vtctl registry watch HKCU\\Software\\Test --count 1 --for 60\n"
    "\n"
    "Exit codes: 0 clean, 1 'list' could not read every entry, or 'watch' has not seen --count\n"
    "changes in time; 64 data that the type cannot hold, 66 the key or value cannot be read, 73 "
    "it\n"
    "cannot be written.";

// What all of the group take.
struct KeyArguments : CommonArguments {
  std::optional<KeyPath> key;
  std::wstring machine;
  unsigned view = 0;

  // The parser sees to it that there is a key.
  KeyTarget Target() const { return {key.value_or(KeyPath()), machine, view}; }
};

struct GetArguments : KeyArguments {
  std::wstring value;
};

struct ListArguments : KeyArguments {
  bool csv = false;
};

struct SetArguments : KeyArguments {
  std::wstring value;
  std::vector<std::wstring> data;
  DWORD type = REG_SZ;
};

struct WatchArguments : KeyArguments {
  unsigned count = 0;
  unsigned seconds = 0;
};

std::wstring StatusText(const Configuration& key) {
  if (key.GetErrorCode() == -1) return L"the value has another type than expected (-1)";
  return SystemText(static_cast<unsigned long>(key.GetErrorCode()));
}

// The system's status; 0 where the key's own is none.
unsigned long StatusOf(const Configuration& key) {
  return key.GetErrorCode() == -1 ? 0 : static_cast<unsigned long>(key.GetErrorCode());
}

bool Open(Configuration& key, const KeyTarget& target, Configuration::openMode mode,
          unsigned access) {
  return key.Open(mode, target.path.subkey.c_str(), target.machine.c_str(), access | target.view);
}

int Get(const GetArguments& arguments) {
  const KeyTarget target = arguments.Target();
  Configuration key(target.path.root);
  if (!Open(key, target, Configuration::openExisting, Configuration::accessRead)) {
    return FailWith(kExitNoInput, StatusOf(key),
                    KeyName(target.path) + L" cannot be opened: " + StatusText(key));
  }
  Value value;
  if (!LoadValue(key, arguments.value.c_str(), value)) {
    return FailWith(kExitNoInput, StatusOf(key),
                    L"The value \"" + arguments.value + L"\" of " + KeyName(target.path) +
                        L" cannot be read: " + StatusText(key));
  }
  if (arguments.json) {
    Json line = {{"key", ToUtf8(KeyName(target.path))}, {"name", ToUtf8(arguments.value)}};
    line.update(ToJson(value));
    PrintJsonLine(line);
  } else {
    Print(FullText(value));
  }
  return kExitClean;
}

// The data of "set", read as the type asks.
struct NewData {
  DWORD number = 0;
  std::vector<unsigned char> bytes;
  std::vector<wcstring> texts;
  std::wstring problem;  // why the words cannot be used
};

NewData ReadData(const SetArguments& arguments) {
  NewData data;
  data.texts.assign(arguments.data.begin(), arguments.data.end());
  if (arguments.type == REG_MULTI_SZ) {
    for (const wcstring& item : data.texts) {
      if (item.empty()) {
        data.problem = L"an empty item of a multi-string would be gone on reading";
      }
    }
    return data;
  }
  if (data.texts.empty()) {
    data.problem = L"there are none; \"\" stands for an empty text";
    return data;
  }
  if (data.texts.size() != 1) {
    data.problem = L"this type takes one word; put it into quotation marks if it holds blanks";
    return data;
  }
  const wcstring& word = data.texts.front();
  if (arguments.type == REG_DWORD) {
    const auto number = ParseNumber(word);
    if (!number) data.problem = L"\"" + word + L"\" is no number from 0 to 4294967295 (0xffffffff)";
    data.number = number.value_or(0);
  } else if (arguments.type == REG_BINARY) {
    const auto bytes = ParseHex(word);
    if (!bytes)
      data.problem = L"\"" + word + L"\" does not consist of bytes of two hexadecimal digits";
    data.bytes = bytes.value_or(std::vector<unsigned char>());
  }
  return data;
}

bool Store(Configuration& key, const wchar_t* name, DWORD type, NewData& data) {
  switch (type) {
    case REG_MULTI_SZ:
      return key.Save(name, data.texts);
    case REG_DWORD:
      return key.SaveDWORD(name, data.number);
    case REG_BINARY:
      return key.Save(name, data.bytes.data(), static_cast<unsigned long>(data.bytes.size()));
    case REG_EXPAND_SZ:
      return key.Save(name, data.texts.front(), REG_EXPAND_SZ);
    default:
      return key.Save(name, data.texts.front());
  }
}

int Set(const SetArguments& arguments) {
  const KeyTarget target = arguments.Target();
  NewData data = ReadData(arguments);
  if (!data.problem.empty()) {
    return Fail(kExitUsage, L"The data cannot be used: " + data.problem + L".");
  }
  Configuration key(target.path.root);
  if (!Open(key, target, Configuration::openOrCreate, Configuration::accessWrite)) {
    return FailWith(kExitCannotWrite, StatusOf(key),
                    KeyName(target.path) + L" cannot be opened for writing: " + StatusText(key));
  }
  if (!Store(key, arguments.value.c_str(), arguments.type, data)) {
    return FailWith(kExitCannotWrite, StatusOf(key),
                    L"The value \"" + arguments.value + L"\" of " + KeyName(target.path) +
                        L" cannot be written: " + StatusText(key));
  }
  return kExitClean;
}

void PrintContents(const KeyTarget& target, const KeyContents& contents) {
  Print(KeyName(target.path) + L"\n");
  for (const std::wstring& name : contents.subkeys) Print(L"  " + Printable(name) + L"\\\n");
  for (const auto& [name, value] : contents.values) {
    Print(L"  " + ShownName(name) + L" = " + OneLine(value) + L"  [" + TypeName(value.type) +
          L"]\n");
  }
}

Json ValuesAsJson(const KeyContents& contents) {
  Json values = Json::array();
  for (const auto& [name, value] : contents.values) {
    Json entry = {{"name", ToUtf8(name)}};
    entry.update(ToJson(value));
    values.push_back(entry);
  }
  return values;
}

void PrintContentsAsJson(const KeyTarget& target, const KeyContents& contents) {
  Json json = {{"key", ToUtf8(KeyName(target.path))},
               {"subkeys", Json::array()},
               {"values", ValuesAsJson(contents)},
               {"unreadable", contents.unreadable}};
  for (const std::wstring& name : contents.subkeys) json["subkeys"].push_back(ToUtf8(name));
  PrintJson(json);
}

int List(const ListArguments& arguments) {
  if (arguments.csv && arguments.json) {
    return Fail(kExitUsage, L"--csv and --json do not go together.");
  }
  const KeyTarget target = arguments.Target();
  KeyHandle key;
  const LSTATUS status = key.Open(target);
  if (status != ERROR_SUCCESS) {
    return Fail(kExitNoInput, KeyName(target.path) + L" cannot be opened",
                static_cast<unsigned long>(status));
  }
  const KeyContents contents = ReadKey(key.Get(), L"");
  if (arguments.json) {
    PrintContentsAsJson(target, contents);
  } else if (arguments.csv) {
    Print(Csv({{"name", ""}, {"type", ""}, {"data", ""}}, ValuesAsJson(contents)));
  } else {
    PrintContents(target, contents);
  }
  if (contents.unreadable == 0) return kExitClean;
  return Fail(kExitWarnings, std::to_wstring(contents.unreadable) +
                                 L" entries of the key could not be read; it may have changed.");
}

int WatchKey(const WatchArguments& arguments) {
  return Watch(arguments.Target(), {arguments.count, arguments.seconds, arguments.json});
}

template <typename Arguments>
CommandWith<Arguments> AddOperation(Command& registry, const char* name, const char* description,
                                    int (*operation)(const Arguments&)) {
  CommandWith<Arguments> command = registry.Add(name, description, kExamples, operation);
  command.Key("KEY", command->key, "The key").Required();
  command.template Choice<unsigned>(
      "--view 32|64", command->view,
      {{"32", Configuration::access32BitView}, {"64", Configuration::access64BitView}},
      "The 32-bit or the 64-bit view of the registry");
  command.Text("--machine NAME", command->machine, "The computer whose registry is meant");
  return command;
}

}  // namespace

void AddRegistryCommand(Command& program) {
  Command registry = program.AddGroup(
      "registry", "Read, write and watch registry keys as the product does", kExamples);
  auto get = AddOperation(registry, "get", "Print one value", Get);
  get.Text("VALUE", get->value, "The value; without it the key's default value");
  get.Json("One JSON object with the type and the data");

  auto set = AddOperation(registry, "set", "Write one value, making the key if needed", Set);
  set.Text("VALUE", set->value, "The value; \"\" for the key's default value").Required();
  set.Texts("DATA ...", set->data, "The data; for multi one word an item");
  set.Choice<DWORD>("--type TYPE", set->type,
                    {{"sz", REG_SZ},
                     {"expand", REG_EXPAND_SZ},
                     {"dword", REG_DWORD},
                     {"binary", REG_BINARY},
                     {"multi", REG_MULTI_SZ}},
                    "sz (if not given), expand, dword, binary or multi");

  auto list = AddOperation(registry, "list", "Print the subkeys and values of a key", List);
  list.Flag("--csv", list->csv, "The values alone, one line each, for spreadsheets");
  list.Json("One JSON object with everything");

  auto watch =
      AddOperation(registry, "watch",
                   "Print the changes of a key and of everything below as they come", WatchKey);
  watch.Count("--count N", watch->count, "End with 0 after so many changes",
              NumberRange<unsigned>{1, UINT32_MAX});
  watch.Count("--for SECONDS", watch->seconds,
              "End after so many seconds, with 1 if --count was not reached", kSeconds);
  watch.Json("One JSON object a change");
}

}  // namespace vtctl
