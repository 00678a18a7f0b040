#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "config/product_keys.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/cluster.h"
#include "vtclass/config.h"

namespace vtctl {
namespace {

constexpr const char* kFooter =
    "Where nothing is stored the server is this machine, the instance \"Vantorl\" and the "
    "database\n"
    "\"VTDB\".\n"
    "\n"
    "Examples:\n"
    "  vtctl database\n"
    "  vtctl database --application Reports --json\n"
    "\n"
    "Exit codes: 0 clean, 66 this machine knows none of the databases, 69 it knows one, but the\n"
    "cluster cannot be asked where that is.";

struct DatabaseArguments : CommonArguments {
  std::wstring application;
  bool physicalName = false;
};

using Query = bool (*)(std::wstring&, std::wstring&, std::wstring&, std::wstring&, bool&);

struct Database {
  const wchar_t* title = nullptr;
  const wchar_t* key = nullptr;  // below HKEY_LOCAL_MACHINE, for people
  Query query = nullptr;
  bool isKnown = false;
  unsigned long error = 0;  // why the cluster could not be asked for it, or the key not be read
  std::wstring server;
  std::wstring activeNode;
  std::wstring instance;
  std::wstring name;
  bool isLocal = false;
  std::wstring odbc;
};

unsigned long WhyUnread(const wchar_t* path) {
  Configuration key;
  if (key.Open(Configuration::openExisting, path, nullptr, Configuration::accessRead)) return 0;
  return static_cast<unsigned long>(key.GetErrorCode());
}

std::vector<Database> AskAll(const DatabaseArguments& arguments) {
  std::vector<Database> databases(3);
  databases[0].title = L"product";
  databases[0].key = vtclass::config::kProductDatabaseKey.Path();
  databases[0].query = &vtclass::GetDatabaseServerNames;
  databases[1].title = L"server";
  databases[1].key = vtclass::config::kVTDatabaseKey.Path();
  databases[1].query = &vtclass::GetVTDatabaseServerNames;
  databases[2].title = L"catalogue";
  databases[2].key = vtclass::config::kVTDatabaseKey.Path();
  databases[2].query = &vtclass::GetCATDatabaseServerNames;
  for (Database& each : databases) {
    each.isKnown = each.query(each.server, each.activeNode, each.instance, each.name, each.isLocal);
    if (!each.isKnown) {
      each.error = WhyUnread(each.key);
    } else {
      each.error = ::GetLastError();
      vtclass::GetOdbcConnectionString(each.odbc, each.server, each.instance, each.name,
                                       arguments.application.c_str(), arguments.physicalName);
    }
  }
  return databases;
}

void PrintText(const Database& database) {
  const std::wstring title = database.title;
  if (!database.isKnown) {
    Print(L"Database of the " + title + L": not known; HKEY_LOCAL_MACHINE\\" + database.key +
          L" cannot be read" + (database.error == 0 ? L"" : L": " + SystemText(database.error)) +
          L"\n");
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

Json ToJson(const Database& database) {
  Json json = {{"known", database.isKnown},
               {"key", ToUtf8(L"HKEY_LOCAL_MACHINE\\" + std::wstring(database.key))},
               {"server", TextOrNull(database.server)},
               {"thisMachine", database.isKnown ? Json(database.isLocal) : Json()},
               {"activeNode", TextOrNull(database.activeNode)},
               {"instance", database.isKnown ? Json(ToUtf8(database.instance)) : Json()},
               {"database", TextOrNull(database.name)},
               {"odbc", TextOrNull(database.odbc)}};
  AddStatus(json, database.error);
  return json;
}

int Run(const DatabaseArguments& arguments) {
  Json json;
  bool anyIsKnown = false;
  bool anyFailed = false;
  for (const Database& database : AskAll(arguments)) {
    anyIsKnown = anyIsKnown || database.isKnown;
    anyFailed = anyFailed || (database.isKnown && database.error != 0);
    if (arguments.json) {
      json[ToUtf8(database.title)] = ToJson(database);
    } else {
      PrintText(database);
    }
  }
  if (arguments.json) PrintJson(json);
  if (!anyIsKnown) return kExitNoInput;
  return anyFailed ? kExitNoAnswer : kExitClean;
}

}  // namespace

void AddDatabaseCommand(Command& program) {
  auto database = program.Add(
      "database", "Tell where the product's databases are, and the ODBC strings for them", kFooter,
      Run);
  database.Text("--application NAME", database->application, "The application in the ODBC string");
  database.Flag("--physical-name", database->physicalName,
                "Put this machine's own host name into the ODBC string");
  database.Json("One JSON object with all databases");
}

}  // namespace vtctl
