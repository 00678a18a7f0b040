#include <vtclass/win32.h>

#include <vtcluster/vtcluster.h>

#include <algorithm>
#include <optional>
#include <ranges>
#include <string>
#include <vector>

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

struct Application {
  const char* key;
  const wchar_t* title;
  size_t deciding;  // any of so many services at the front makes it run
  bool isRunning = false;
  unsigned long error = 0;  // why the cluster could not be asked
  std::wstring reason;
  std::vector<vtclass::Step> services;  // as they were looked at
};

struct AppsAnswers {
  std::wstring server;
  wcstring node;  // behind a virtual server's name
  bool isVirtual = false;
  std::wstring computer;    // whose services are looked at
  std::wstring cluster;     // the name of the cluster, empty without one
  unsigned long error = 0;  // why the cluster could not be opened or read
  bool sqlIsClustered = false;
  Application sql = {"sqlServer", L"SQL Server", 2, false, 0, {}, {}};
  Application exchange = {"exchange", L"Exchange", 1, false, 0, {}, {}};
};

bool IsRunning(const vtclass::Step& service) { return service.answer == SERVICE_RUNNING; }

// No service can have a name that the system refuses.
bool IsInstalled(const vtclass::Step& service) {
  return service.code != ERROR_SERVICE_DOES_NOT_EXIST && service.code != ERROR_INVALID_NAME;
}

// "running", "not installed", ...
std::wstring StateText(const vtclass::Step& service) {
  if (!IsInstalled(service)) return L"not installed";
  if (service.code != 0) return L"not visible: " + SystemText(service.code);
  switch (service.answer) {
    case SERVICE_STOPPED:
      return L"stopped";
    case SERVICE_START_PENDING:
      return L"starting";
    case SERVICE_STOP_PENDING:
      return L"stopping";
    case SERVICE_RUNNING:
      return L"running";
    default:
      return L"paused";
  }
}

// Why the library says so: the services as they were, and what the cluster makes of them.
std::wstring Reason(const AppsAnswers& answers, const Application& application) {
  const auto& services = application.services;
  if (services.empty() || services.front().text.empty()) {
    return L"the services of " + answers.computer + L" cannot be looked at" +
           (services.empty() ? L"" : L": " + SystemText(services.front().code));
  }
  const auto deciding =
      std::views::take(services, static_cast<std::ptrdiff_t>(application.deciding));
  const bool serviceRuns = std::ranges::any_of(deciding, IsRunning);
  if (serviceRuns && application.error != 0) {
    return L"its service runs there, but the cluster cannot be asked: " +
           SystemText(application.error);
  }
  if (application.isRunning) {
    if (answers.cluster.empty()) return L"its service runs there";
    return L"its service runs there, and the cluster agrees";
  }
  if (serviceRuns) {
    return L"its service runs there, but the cluster does not confirm it for this server";
  }
  return std::ranges::any_of(deciding, IsInstalled)
             ? L"its service does not run there"
             : services.front().text + L" is not installed there";
}

AppsAnswers Ask(const std::wstring& server) {
  AppsAnswers answers;
  answers.server = server;
  answers.isVirtual = vtclass::ClusterVirtualNameToNodeName(server, answers.node);
  answers.error = ::GetLastError();
  answers.computer = L"\\\\" + answers.node;
  const auto cluster = Cluster::GetInstance(server.c_str());
  if (cluster->Open()) answers.cluster = cluster->GetClusterName();

  answers.sql.isRunning = vtclass::ServerIsRunningSQLWithServices(
      server.c_str(), &answers.sqlIsClustered, answers.sql.services);
  answers.sql.error = ::GetLastError();
  std::wstring writable = server;
  answers.exchange.isRunning = vtclass::ServerIsRunningExchangeWithServices(
      writable.data(), nullptr, nullptr, nullptr, nullptr, false, answers.exchange.services);
  answers.exchange.error = ::GetLastError();
  for (Application* application : {&answers.sql, &answers.exchange}) {
    application->reason = Reason(answers, *application);
    if (answers.error == 0) answers.error = application->error;
  }
  return answers;
}

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

void PrintText(const AppsAnswers& answers) {
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

Json ToJson(const AppsAnswers& answers) {
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
  const AppsAnswers answers = Ask(server);
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
