#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/vtctl/registry/key_reader.h"
#include "tools/vtctl/registry/watch.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
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
    "  vtctl registry list \"Software\\Norvane\\Vantorel For Windows\\Vantorel\"\n"
    "  vtctl registry get HKCU\\Software\\Test Level\n"
    "  vtctl registry set HKCU\\Software\\Test Level 3 --type dword\n"
    "  vtctl registry set HKCU\\Software\\Test Mask \"0f ff 00\" --type binary\n"
    "  vtctl registry set HKCU\\Software\\Test Servers alpha beta --type multi\n"
    "  vtctl registry watch HKCU\\Software\\Test --count 1 --timeout 60";

/* The words of the command line, in UTF-8 as the parser stores them. */
struct RegistryArguments {
  std::string key;
  std::string value;
  std::vector<std::string> data;
  std::string type = "sz";
  std::string machine;
  std::string view;
  bool json = false;
  unsigned count = 0;
  unsigned timeout = 0;
};

std::wstring StatusText(const Configuration& key) {
  if (key.GetErrorCode() == -1) return L"the value has another type than expected (-1)";
  return SystemText(static_cast<unsigned long>(key.GetErrorCode()));
}

bool ReadTarget(const RegistryArguments& arguments, KeyTarget& target) {
  const auto path = ParseKeyPath(FromUtf8(arguments.key));
  if (!path) return false;
  target.path = *path;
  target.machine = FromUtf8(arguments.machine);
  if (arguments.view == "64") target.view = Configuration::access64BitView;
  if (arguments.view == "32") target.view = Configuration::access32BitView;
  return true;
}

bool Open(Configuration& key, const KeyTarget& target, Configuration::openMode mode,
          unsigned access) {
  return key.Open(mode, target.path.subkey.c_str(), target.machine.c_str(), access | target.view);
}

int Get(const KeyTarget& target, const RegistryArguments& arguments) {
  Configuration key(target.path.root);
  if (!Open(key, target, Configuration::openExisting, Configuration::accessRead)) {
    return Fail(kExitNoInput, KeyName(target.path) + L" cannot be opened: " + StatusText(key));
  }
  const std::wstring name = FromUtf8(arguments.value);
  Value value;
  if (!LoadValue(key, name.c_str(), value)) {
    return Fail(kExitNoInput, L"The value \"" + name + L"\" of " + KeyName(target.path) +
                                  L" cannot be read: " + StatusText(key));
  }
  if (arguments.json) {
    nlohmann::ordered_json line = {{"key", ToUtf8(KeyName(target.path))},
                                   {"value", arguments.value}};
    line.update(ToJson(value));
    PrintUtf8(line.dump() + "\n");
  } else {
    Print(FullText(value));
  }
  return kExitClean;
}

/* The data of "set", read as the type asks. */
struct NewData {
  DWORD number = 0;
  std::vector<unsigned char> bytes;
  std::vector<wcstring> texts;
  std::wstring problem; /* why the words cannot be used */
};

NewData ReadData(const RegistryArguments& arguments) {
  NewData data;
  for (const std::string& word : arguments.data) data.texts.emplace_back(FromUtf8(word));
  if (arguments.type == "multi") {
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
  if (arguments.type == "dword") {
    const auto number = ParseNumber(word);
    if (!number) data.problem = L"\"" + word + L"\" is no number from 0 to 4294967295 (0xffffffff)";
    data.number = number.value_or(0);
  } else if (arguments.type == "binary") {
    const auto bytes = ParseHex(word);
    if (!bytes)
      data.problem = L"\"" + word + L"\" does not consist of bytes of two hexadecimal digits";
    data.bytes = bytes.value_or(std::vector<unsigned char>());
  }
  return data;
}

bool Store(Configuration& key, const wchar_t* name, const std::string& type, NewData& data) {
  if (type == "multi") return key.Save(name, data.texts);
  if (type == "dword") return key.SaveDWORD(name, data.number);
  if (type == "binary") {
    return key.Save(name, data.bytes.data(), static_cast<unsigned long>(data.bytes.size()));
  }
  if (type == "expand") return key.Save(name, data.texts.front(), REG_EXPAND_SZ);
  return key.Save(name, data.texts.front());
}

int Set(const KeyTarget& target, const RegistryArguments& arguments) {
  NewData data = ReadData(arguments);
  if (!data.problem.empty()) {
    return Fail(kExitUsage, L"The data cannot be used: " + data.problem + L".");
  }
  Configuration key(target.path.root);
  if (!Open(key, target, Configuration::openOrCreate, Configuration::accessWrite)) {
    return Fail(kExitCannotWrite,
                KeyName(target.path) + L" cannot be opened for writing: " + StatusText(key));
  }
  const std::wstring name = FromUtf8(arguments.value);
  if (!Store(key, name.c_str(), arguments.type, data)) {
    return Fail(kExitCannotWrite, L"The value \"" + name + L"\" of " + KeyName(target.path) +
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

void PrintContentsAsJson(const KeyTarget& target, const KeyContents& contents) {
  nlohmann::ordered_json json = {{"key", ToUtf8(KeyName(target.path))},
                                 {"subkeys", nlohmann::ordered_json::array()},
                                 {"values", nlohmann::ordered_json::array()}};
  for (const std::wstring& name : contents.subkeys) json["subkeys"].push_back(ToUtf8(name));
  for (const auto& [name, value] : contents.values) {
    nlohmann::ordered_json entry = {{"name", ToUtf8(name)}};
    entry.update(ToJson(value));
    json["values"].push_back(entry);
  }
  PrintUtf8(json.dump(2) + "\n");
}

int List(const KeyTarget& target, const RegistryArguments& arguments) {
  KeyHandle key;
  const LSTATUS status = key.Open(target);
  if (status != ERROR_SUCCESS) {
    return Fail(kExitNoInput, KeyName(target.path) + L" cannot be opened: " +
                                  SystemText(static_cast<unsigned long>(status)));
  }
  const KeyContents contents = ReadKey(key.Get(), L"");
  arguments.json ? PrintContentsAsJson(target, contents) : PrintContents(target, contents);
  if (contents.unreadable == 0) return kExitClean;
  return Fail(kExitWarnings, std::to_wstring(contents.unreadable) +
                                 L" entries of the key could not be read; it may have changed.");
}

int WatchKey(const KeyTarget& target, const RegistryArguments& arguments) {
  WatchOptions options;
  if (arguments.count > 0) options.count = arguments.count;
  if (arguments.timeout > 0) options.seconds = arguments.timeout;
  options.json = arguments.json;
  return Watch(target, options);
}

using Operation = int (*)(const KeyTarget&, const RegistryArguments&);

/* A subcommand with what all of them take. */
CLI::App* AddOperation(CLI::App& registry, ChosenCommand& chosen, const char* name,
                       const char* description, const std::shared_ptr<RegistryArguments>& arguments,
                       Operation operation) {
  CLI::App* command = registry.add_subcommand(name, description);
  command->add_option("KEY", arguments->key, "The key")->required()->option_text(" ");
  command->add_option("--view", arguments->view, "The 32-bit or the 64-bit view of the registry")
      ->check(CLI::IsMember({"32", "64"}))
      ->option_text("32|64");
  command->add_option("--machine", arguments->machine, "The computer whose registry is meant")
      ->option_text("NAME");
  command->callback([&chosen, arguments, operation] {
    chosen.run = [arguments, operation] {
      KeyTarget target;
      if (!ReadTarget(*arguments, target)) {
        return Fail(kExitUsage, L"\"" + FromUtf8(arguments->key) + L"\" names no registry key.");
      }
      return operation(target, *arguments);
    };
  });
  return command;
}

void AddJson(CLI::App* command, const std::shared_ptr<RegistryArguments>& arguments,
             const char* description) {
  command->add_flag("--json", arguments->json, description);
}

}  // namespace

void AddRegistryCommand(CLI::App& app, ChosenCommand& chosen) {
  CLI::App* registry =
      app.add_subcommand("registry", "Read, write and watch registry keys as the product does");
  registry->require_subcommand(1);
  registry->footer(kExamples);
  const auto arguments = std::make_shared<RegistryArguments>();

  CLI::App* get = AddOperation(*registry, chosen, "get", "Print one value", arguments, Get);
  get->add_option("VALUE", arguments->value, "The value; without it the key's default value")
      ->option_text(" ");
  AddJson(get, arguments, "One JSON object with the type and the data");

  CLI::App* set = AddOperation(*registry, chosen, "set",
                               "Write one value, making the key if needed", arguments, Set);
  set->add_option("VALUE", arguments->value, "The value; \"\" for the key's default value")
      ->required()
      ->option_text(" ");
  set->add_option("DATA", arguments->data, "The data; for multi one word an item")
      ->option_text("...");
  set->add_option("--type", arguments->type, "sz (if not given), expand, dword, binary or multi")
      ->check(CLI::IsMember({"sz", "expand", "dword", "binary", "multi"}))
      ->option_text("TYPE");

  CLI::App* list = AddOperation(*registry, chosen, "list", "Print the subkeys and values of a key",
                                arguments, List);
  AddJson(list, arguments, "One JSON object with everything");

  CLI::App* watch = AddOperation(*registry, chosen, "watch",
                                 "Print the changes of a key and of everything below as they come",
                                 arguments, WatchKey);
  watch->add_option("--count", arguments->count, "End with 0 after so many changes")
      ->check(CLI::Range(1U, UINT32_MAX))
      ->option_text("N");
  watch
      ->add_option("--timeout", arguments->timeout,
                   "End after so many seconds, with 1 if --count was not reached")
      ->check(CLI::Range(1U, 1000000U))
      ->option_text("SECONDS");
  AddJson(watch, arguments, "One JSON object a change");
  for (CLI::App* command : {get, set, list, watch}) command->footer(kExamples);
}

}  // namespace vtctl
