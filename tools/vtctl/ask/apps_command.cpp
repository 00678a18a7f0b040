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
    "\"MSExchangeSA\" runs. In a cluster the cluster must agree.\n"
    "\n"
    "Examples:\n"
    "  vtctl apps SQL01\n"
    "  vtctl apps SQL01 --need sqlserver --quiet\n"
    "  vtctl apps SQLV --instance INST2 --json\n"
    "\n"
    "Exit codes: 0 it runs, 1 it does not, 64 SERVER names none, 69 there is a cluster that cannot "
    "be\n"
    "opened or read. \"It\" is the instance where one is named, else the application of --need, "
    "else\n"
    "any of the two.";

// What the exit code is about.
enum class Asked { either, sql, exchange };

struct AppsArguments : CommonArguments {
  std::wstring server;
  Asked asked = Asked::either;
  std::optional<std::wstring> instance;
};

struct InstanceWords {
  const wchar_t* shown;
  const char* word;  // for scripts
};

InstanceWords WordsOf(vtclass::clusAppState state) {
  switch (state) {
    case vtclass::clusAppRunning:
      return {L"running", "running"};
    case vtclass::clusAppUnknown:
      return {L"on its way up or down", "pending"};
    case vtclass::clusAppNotRunning:
      return {L"not running", "not-running"};
    default:
      return {L"not known to a cluster", "not-clustered"};
  }
}

// The instance, where the operator asks for one.
struct Instance {
  std::wstring name;
  vtclass::clusAppState state = vtclass::clusAppUnknown;
  unsigned long error = 0;
};

std::optional<Instance> AskInstance(const AppsArguments& arguments) {
  if (!arguments.instance) return std::nullopt;
  Instance instance = {*arguments.instance};
  instance.state =
      vtclass::ServerIsRunningSQL2KInstance(arguments.server.c_str(), *arguments.instance);
  instance.error = ::GetLastError();
  return instance;
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
               {answers.sql.key, ToJson(answers.sql)},
               {answers.exchange.key, ToJson(answers.exchange)}};
  if (answers.isVirtual) json["node"] = ToUtf8(answers.node);
  AddStatus(json, answers.error);
  if (!answers.cluster.empty()) json["cluster"] = ToUtf8(answers.cluster);
  json[answers.sql.key]["clustered"] = answers.sqlIsClustered;
  return json;
}

Json ToJson(const Instance& instance) {
  Json json = {{"name", ToUtf8(instance.name)}, {"state", nullptr}};
  if (instance.error == 0) json["state"] = WordsOf(instance.state).word;
  AddStatus(json, instance.error);
  return json;
}

void PrintInstance(const Instance& instance) {
  const std::wstring state = instance.error == 0 ? WordsOf(instance.state).shown
                                                 : L"cannot be told: " + SystemText(instance.error);
  Print(L"Instance " + Printable(instance.name) + L": " + state + L"\n");
}

// Whether that runs which the operator asks for: an instance, one application, or any of them.
int ExitCodeOf(const AppsArguments& arguments, const ApplicationAnswers& answers,
               const std::optional<Instance>& instance) {
  if (answers.error != 0 || (instance && instance->error != 0)) return kExitNoAnswer;
  if (instance) return instance->state == vtclass::clusAppRunning ? kExitClean : kExitWarnings;
  const bool isRunning = (arguments.asked != Asked::exchange && answers.sql.isRunning) ||
                         (arguments.asked != Asked::sql && answers.exchange.isRunning);
  return isRunning ? kExitClean : kExitWarnings;
}

int Run(const AppsArguments& arguments) {
  const std::wstring& server = arguments.server;
  if (server.find_first_not_of(L'\\') == std::wstring::npos) {
    return Fail(kExitUsage, L"\"" + server + L"\" names no server.");
  }
  const ApplicationAnswers answers = AskApplications(server);
  const std::optional<Instance> instance = AskInstance(arguments);
  if (arguments.json) {
    Json json = ToJson(answers);
    if (instance) json["instance"] = ToJson(*instance);
    PrintJson(json);
  } else {
    PrintText(answers);
    if (instance) PrintInstance(*instance);
  }
  return ExitCodeOf(arguments, answers, instance);
}

}  // namespace

void AddAppsCommand(Command& program) {
  auto apps = program.Add("apps", "Tell whether SQL Server and Exchange run on a server, and why",
                          kFooter, Run);
  apps.Text("SERVER", apps->server, "The server").Required();
  apps.Text("--instance NAME", apps->instance,
            "Tell the state of this SQL Server instance in the server's cluster, too");
  apps.Choice<Asked>("--need APPLICATION", apps->asked,
                     {{"sqlserver", Asked::sql}, {"exchange", Asked::exchange}},
                     "sqlserver or exchange: the exit code tells whether this one runs");
  apps.Json("One JSON object with everything");
}

}  // namespace vtctl
