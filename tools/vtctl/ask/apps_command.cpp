#include <vtclass/win32.h>

#include <algorithm>
#include <optional>
#include <string>

#include "tools/vtctl/shared/applications.h"
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
    "SERVER is a computer, a node or a virtual server, with or without backslashes. SQL Server\n"
    "counts as running when \"MSSQLServer\" runs, or \"MSSQLServer$\" with SERVER behind it as it\n"
    "is written: other named instances are not looked at. Exchange counts as running when\n"
    "\"MSExchangeSA\" runs. In a cluster the cluster must agree. Exit code 69 when there is a\n"
    "cluster that cannot be opened or read.\n"
    "\n"
    "Examples:\n"
    "  vtctl apps SQL01\n"
    "  vtctl apps SQLV --instance INST2 --json";

struct AppsArguments : CommonArguments {
  std::wstring server;
  std::optional<std::wstring> instance;
};

const wchar_t* InstanceWord(vtclass::clusAppState state) {
  switch (state) {
    case vtclass::clusAppRunning:
      return L"running";
    case vtclass::clusAppUnknown:
      return L"on its way up or down";
    case vtclass::clusAppNotRunning:
      return L"not running";
    default:
      return L"not known to a cluster";
  }
}

void PrintApplication(const Application& application) {
  Print(application.title + std::wstring(application.isRunning ? L": running" : L": not running") +
        L" (" + Printable(application.reason) + L")\n");
  size_t width = 0;
  for (const vtclass::Step& service : application.services) {
    width = std::max(width, Printable(service.text).size());
  }
  for (const vtclass::Step& service : application.services) {
    if (service.text.empty()) continue;
    std::wstring name = Printable(service.text);
    name.resize(width, L' ');
    Print(L"  " + name + L"  " + StateText(service) + L"\n");
  }
}

void PrintText(const ApplicationAnswers& answers) {
  Print(L"Server: " + Printable(answers.server) +
        (answers.isVirtual ? L", a virtual server on the node " + Printable(answers.node)
                           : std::wstring()) +
        (answers.cluster.empty() ? std::wstring(L", no cluster found")
                                 : L", in the cluster " + Printable(answers.cluster)) +
        L"\n");
  if (answers.error != 0) {
    Print(L"The cluster cannot be asked: " + SystemText(answers.error) + L"\n");
  }
  PrintApplication(answers.sql);
  if (answers.sqlIsClustered) Print(L"  The instance belongs to the cluster.\n");
  PrintApplication(answers.exchange);
}

Json ToJson(const Application& application) {
  Json services = Json::object();
  for (const vtclass::Step& service : application.services) {
    if (!service.text.empty()) services[ToUtf8(service.text)] = ToUtf8(StateText(service));
  }
  return {{"running", application.isRunning},
          {"reason", ToUtf8(application.reason)},
          {"services", services}};
}

Json ToJson(const ApplicationAnswers& answers) {
  Json json = {{"server", ToUtf8(answers.server)},
               {"node", nullptr},
               {"cluster", nullptr},
               {"error", nullptr},
               {answers.sql.key, ToJson(answers.sql)},
               {answers.exchange.key, ToJson(answers.exchange)}};
  if (answers.isVirtual) json["node"] = ToUtf8(answers.node);
  if (answers.error != 0) json["error"] = ToUtf8(SystemText(answers.error));
  if (!answers.cluster.empty()) json["cluster"] = ToUtf8(answers.cluster);
  json[answers.sql.key]["clustered"] = answers.sqlIsClustered;
  return json;
}

int Run(const AppsArguments& arguments) {
  const std::wstring& server = arguments.server;
  if (server.find_first_not_of(L'\\') == std::wstring::npos) {
    return Fail(kExitUsage, L"\"" + server + L"\" names no server.");
  }
  const ApplicationAnswers answers = AskApplications(server);
  Json json = ToJson(answers);
  if (!arguments.json) PrintText(answers);
  unsigned long instanceError = 0;
  if (arguments.instance) {
    const auto state = vtclass::ServerIsRunningSQL2KInstance(server.c_str(), *arguments.instance);
    instanceError = ::GetLastError();
    const std::wstring word =
        instanceError == 0 ? InstanceWord(state) : L"cannot be told: " + SystemText(instanceError);
    if (arguments.json) {
      json["instance"] = {{"name", ToUtf8(*arguments.instance)}, {"state", ToUtf8(word)}};
    } else {
      Print(L"Instance " + Printable(*arguments.instance) + L": " + word + L"\n");
    }
  }
  if (arguments.json) PrintJson(json);
  return answers.error == 0 && instanceError == 0 ? kExitClean : kExitNoAnswer;
}

}  // namespace

void AddAppsCommand(Command& program) {
  auto apps = program.Add("apps", "Tell whether SQL Server and Exchange run on a server, and why",
                          kFooter, Run);
  apps.Text("SERVER", apps->server, "The server").Required();
  apps.Text("--instance NAME", apps->instance,
            "Tell the state of this SQL Server instance in the server's cluster, too");
  apps.Json("One JSON object with everything");
}

}  // namespace vtctl
