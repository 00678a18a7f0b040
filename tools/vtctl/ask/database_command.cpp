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
  unsigned long error = 0;  // why the cluster could not be asked for it
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
    if (each.isKnown) {
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

Json ToJson(const Database& database) {
  if (!database.isKnown) return nullptr;
  Json json = {{"server", ToUtf8(database.server)},
               {"isLocal", database.isLocal},
               {"activeNode", TextOrNull(database.activeNode)},
               {"instance", ToUtf8(database.instance)},
               {"database", ToUtf8(database.name)},
               {"odbc", ToUtf8(database.odbc)},
               {"error", nullptr}};
  if (database.error != 0) json["error"] = ToUtf8(SystemText(database.error));
  return json;
}

int Run(const DatabaseArguments& arguments) {
  Json json;
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
