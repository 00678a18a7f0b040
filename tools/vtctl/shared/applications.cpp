#include "tools/vtctl/shared/applications.h"

#include <vtclass/win32.h>

#include <vtcluster/vtcluster.h>

#include <algorithm>
#include <ranges>

#include "tools/vtctl/shared/system_text.h"
#include "vtclass/cluster.h"

namespace vtctl {
namespace {

bool IsRunning(const vtclass::Step& service) { return service.answer == SERVICE_RUNNING; }

// Why the library says so: the services as they were, and what the cluster makes of them.
std::wstring Reason(const ApplicationAnswers& answers, const Application& application) {
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

}  // namespace

// No service can have a name that the system refuses.
bool IsInstalled(const vtclass::Step& service) {
  return service.code != ERROR_SERVICE_DOES_NOT_EXIST && service.code != ERROR_INVALID_NAME;
}

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

ApplicationAnswers AskApplications(const std::wstring& server) {
  ApplicationAnswers answers;
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

}  // namespace vtctl
