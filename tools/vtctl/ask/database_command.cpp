#include <vtclass/win32.h>

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/cluster.h"

namespace vtctl {
namespace {

constexpr const char* kFooter =
    "Where nothing is stored the server is this machine, the instance \"Vantorl\" and the "
    "database\n"
    "\"VTDB\". Exit code 66 when this machine knows none of the databases, 69 when it knows one, "
    "but\n"
    "the cluster cannot be asked where that is.\n"
    "\n"
    "Examples:\n"
    "  vtctl database\n"
    "  vtctl database --application Reports --json";

constexpr wchar_t kPordex[] = L"Software\\Norvane\\Vantorel For Windows\\Pordex";
constexpr wchar_t kVTDatabase[] = L"Software\\Norvane\\Vantorel For Windows\\VTDatabase";

struct DatabaseArguments {
  std::string application;
  bool physicalName = false;
  bool json = false;
};

using Query = bool (*)(std::wstring&, std::wstring&, std::wstring&, std::wstring&, bool&);

struct Database {
  const wchar_t* title = nullptr;
  const wchar_t* key = nullptr; /* below HKEY_LOCAL_MACHINE, for people */
  Query query = nullptr;
  bool isKnown = false;
  unsigned long error = 0; /* why the cluster could not be asked for it */
  std::wstring server;
  std::wstring activeNode;
  std::wstring instance;
  std::wstring name;
  bool isLocal = false;
  std::wstring odbc;
};

std::vector<Database> AskAll(const DatabaseArguments& arguments) {
  std::vector<Database> databases(3);
  databases[0].title = L"product";
  databases[0].key = kPordex;
  databases[0].query = &vtclass::GetDatabaseServerNames;
  databases[1].title = L"server";
  databases[1].key = kVTDatabase;
  databases[1].query = &vtclass::GetVTDatabaseServerNames;
  databases[2].title = L"catalogue";
  databases[2].key = kVTDatabase;
  databases[2].query = &vtclass::GetCATDatabaseServerNames;
  const std::wstring application = FromUtf8(arguments.application);
  for (Database& each : databases) {
    each.isKnown = each.query(each.server, each.activeNode, each.instance, each.name, each.isLocal);
    if (each.isKnown) {
      each.error = ::GetLastError();
      vtclass::GetOdbcConnectionString(each.odbc, each.server, each.instance, each.name,
                                       application.c_str(), arguments.physicalName);
    }
  }
  return databases;
}

void PrintText(const Database& database) {
  const std::wstring title = database.title;
  if (!database.isKnown) {
    Print(L"Database of the " + title + L": not known; HKEY_LOCAL_MACHINE\\" + database.key +
          L" is missing or cannot be read\n");
    return;
  }
  Print(L"Database of the " + title + L": " + Printable(database.name) + L"\n");
  Print(L"  server:    " + Printable(database.server) +
        (database.isLocal ? L" (this machine)" : L" (another machine)") + L"\n");
  if (!database.activeNode.empty()) {
    Print(L"  on node:   " + Printable(database.activeNode) + L"\n");
  }
  if (database.error != 0) {
    Print(L"  unsure:    the node and whether it is this machine cannot be told: " +
          SystemText(database.error) + L"\n");
  }
  Print(L"  instance:  " +
        (database.instance.empty() ? L"(the default one)" : Printable(database.instance)) + L"\n");
  Print(L"  ODBC:      " + Printable(database.odbc) + L"\n");
}

nlohmann::ordered_json ToJson(const Database& database) {
  if (!database.isKnown) return nullptr;
  nlohmann::ordered_json json = {{"server", ToUtf8(database.server)},
                                 {"isLocal", database.isLocal},
                                 {"activeNode", nullptr},
                                 {"instance", ToUtf8(database.instance)},
                                 {"database", ToUtf8(database.name)},
                                 {"odbc", ToUtf8(database.odbc)},
                                 {"error", nullptr}};
  if (database.error != 0) json["error"] = ToUtf8(SystemText(database.error));
  if (!database.activeNode.empty()) json["activeNode"] = ToUtf8(database.activeNode);
  return json;
}

int Run(const DatabaseArguments& arguments) {
  nlohmann::ordered_json json;
  bool anyIsKnown = false;
  bool anyFailed = false;
  for (const Database& database : AskAll(arguments)) {
    anyIsKnown = anyIsKnown || database.isKnown;
    anyFailed = anyFailed || database.error != 0;
    if (arguments.json) {
      json[ToUtf8(database.title)] = ToJson(database);
    } else {
      PrintText(database);
    }
  }
  if (arguments.json) PrintUtf8(json.dump(2) + "\n");
  if (!anyIsKnown) return kExitNoInput;
  return anyFailed ? kExitNoAnswer : kExitClean;
}

}  // namespace

void AddDatabaseCommand(CLI::App& app, ChosenCommand& chosen) {
  CLI::App* command = app.add_subcommand(
      "database", "Tell where the product's databases are, and the ODBC strings for them");
  command->footer(kFooter);
  const auto arguments = std::make_shared<DatabaseArguments>();
  command->add_option("--application", arguments->application, "The application in the ODBC string")
      ->option_text("NAME");
  command->add_flag("--physical-name", arguments->physicalName,
                    "Put this machine's own host name into the ODBC string");
  command->add_flag("--json", arguments->json, "One JSON object with all databases");
  command->callback([&chosen, arguments] { chosen.run = [arguments] { return Run(*arguments); }; });
}

}  // namespace vtctl
