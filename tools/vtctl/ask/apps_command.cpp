#include <vtclass/win32.h>

#include <vtcluster/vtcluster.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/vtctl/ask/service_facts.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
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

struct AppsArguments {
  std::string server;
  std::optional<std::string> instance;
  bool json = false;
};

struct Application {
  const char* key;
  const wchar_t* title;
  size_t deciding; /* any of so many services at the front makes it run */
  bool isRunning = false;
  unsigned long error = 0; /* why the cluster could not be asked */
  std::wstring reason;
  ServiceFacts facts;
};

struct AppsAnswers {
  std::wstring server;
  wcstring node; /* behind a virtual server's name */
  bool isVirtual = false;
  std::wstring computer;   /* whose services are looked at */
  std::wstring cluster;    /* the name of the cluster, empty without one */
  unsigned long error = 0; /* why the cluster could not be opened or read */
  bool sqlIsClustered = false;
  Application sql = {"sqlServer", L"SQL Server", 2, false, 0, {}, {}};
  Application exchange = {"exchange", L"Exchange", 1, false, 0, {}, {}};
};

/* Why the library says so: the services as they are, and what the cluster makes of them. */
std::wstring Reason(const AppsAnswers& answers, const Application& application) {
  if (!application.facts.problem.empty()) {
    return L"the services of " + answers.computer + L" cannot be looked at: " +
           application.facts.problem;
  }
  const auto& services = application.facts.services;
  const auto end = services.begin() + static_cast<std::ptrdiff_t>(application.deciding);
  const bool serviceRuns =
      std::any_of(services.begin(), end, [](const ServiceFact& fact) { return fact.isRunning; });
  if (serviceRuns && application.error != 0) {
    return L"its service runs there, but the cluster cannot be asked: " +
           SystemText(application.error);
  }
  if (application.isRunning) {
    if (answers.cluster.empty()) return L"its service runs there";
    return L"its service runs there, and the cluster agrees";
  }
  if (serviceRuns) {
    return answers.cluster.empty()
               ? L"its service runs there now, but did not a moment ago"
               : L"its service runs there, but the cluster does not confirm it for this server";
  }
  const bool isInstalled =
      std::any_of(services.begin(), end, [](const ServiceFact& fact) { return fact.isInstalled; });
  return isInstalled ? L"its service does not run there"
                     : services.front().name + L" is not installed there";
}

AppsAnswers Ask(const std::wstring& server) {
  AppsAnswers answers;
  answers.server = server;
  answers.isVirtual = vtclass::ClusterVirtualNameToNodeName(server, answers.node);
  answers.error = ::GetLastError();
  answers.computer = L"\\\\" + answers.node;
  const auto cluster = Cluster::GetInstance(server.c_str());
  if (cluster->Open()) answers.cluster = cluster->GetClusterName();

  answers.sql.isRunning = vtclass::ServerIsRunningSQL(server.c_str(), &answers.sqlIsClustered);
  answers.sql.error = ::GetLastError();
  answers.sql.facts = LookAtServices(answers.computer, {L"MSSQLServer", L"MSSQLServer$" + server});
  std::wstring writable = server;
  answers.exchange.isRunning =
      vtclass::ServerIsRunningExchange(writable.data(), nullptr, nullptr, nullptr, nullptr, false);
  answers.exchange.error = ::GetLastError();
  answers.exchange.facts = LookAtServices(
      answers.computer,
      {L"MSExchangeSA", L"MSExchangeIS", L"MSExchangeDS", L"MSExchangeSRS", L"MSExchangeKMS"});
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
  for (const ServiceFact& service : application.facts.services) {
    width = std::max(width, Printable(service.name).size());
  }
  for (const ServiceFact& service : application.facts.services) {
    std::wstring name = Printable(service.name);
    name.resize(width, L' ');
    Print(L"  " + name + L"  " + service.state + L"\n");
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

nlohmann::ordered_json ToJson(const Application& application) {
  nlohmann::ordered_json services = nlohmann::ordered_json::object();
  for (const ServiceFact& service : application.facts.services) {
    services[ToUtf8(service.name)] = ToUtf8(service.state);
  }
  return {{"running", application.isRunning},
          {"reason", ToUtf8(application.reason)},
          {"services", services}};
}

nlohmann::ordered_json ToJson(const AppsAnswers& answers) {
  nlohmann::ordered_json json = {{"server", ToUtf8(answers.server)},
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
  const std::wstring server = FromUtf8(arguments.server);
  if (server.find_first_not_of(L'\\') == std::wstring::npos) {
    return Fail(kExitUsage, L"\"" + server + L"\" names no server.");
  }
  const AppsAnswers answers = Ask(server);
  nlohmann::ordered_json json = ToJson(answers);
  if (!arguments.json) PrintText(answers);
  unsigned long instanceError = 0;
  if (arguments.instance) {
    const auto state =
        vtclass::ServerIsRunningSQL2KInstance(server.c_str(), FromUtf8(*arguments.instance));
    instanceError = ::GetLastError();
    const std::wstring word =
        instanceError == 0 ? InstanceWord(state) : L"cannot be told: " + SystemText(instanceError);
    if (arguments.json) {
      json["instance"] = {{"name", *arguments.instance}, {"state", ToUtf8(word)}};
    } else {
      Print(L"Instance " + Printable(FromUtf8(*arguments.instance)) + L": " + word + L"\n");
    }
  }
  if (arguments.json) PrintUtf8(json.dump(2) + "\n");
  return answers.error == 0 && instanceError == 0 ? kExitClean : kExitNoAnswer;
}

}  // namespace

void AddAppsCommand(CLI::App& app, ChosenCommand& chosen) {
  CLI::App* command =
      app.add_subcommand("apps", "Tell whether SQL Server and Exchange run on a server, and why");
  command->footer(kFooter);
  const auto arguments = std::make_shared<AppsArguments>();
  command->add_option("SERVER", arguments->server, "The server")->required()->option_text(" ");
  command
      ->add_option("--instance", arguments->instance,
                   "Tell the state of this SQL Server instance in the server's cluster, too")
      ->option_text("NAME");
  command->add_flag("--json", arguments->json, "One JSON object with everything");
  command->callback([&chosen, arguments] { chosen.run = [arguments] { return Run(*arguments); }; });
}

}  // namespace vtctl
