#include "tools/vtctl/doctor/cluster_check.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/libraries_check.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

// Why the first service that cannot be seen cannot be seen; 0 when all can.
unsigned long HiddenBy(const Application& application) {
  const auto isHidden = [](const vtclass::Step& service) {
    return service.code != 0 && IsInstalled(service);
  };
  const auto hidden = std::ranges::find_if(application.services, isHidden);
  return hidden == application.services.end() ? 0 : hidden->code;
}

}  // namespace

Finding JudgeCluster(const ClusterAnswers& answers) {
  Finding finding = {.code = answers.found ? "cluster-found" : "no-cluster",
                     .what = L"Cluster: " + ClusterSentence(answers) + L"."};
  if (answers.error != 0) {
    finding.verdict = Verdict::warning;
    finding.code = "cluster-unreadable";
    finding.status = answers.error;
    finding.reason =
        L"An agent with this account takes it for none, and names and addresses of "
        L"its virtual servers for this machine's.";
    finding.remedy =
        L"Run this as the agents' account; if that is this one, let it read the "
        L"cluster.";
  } else if (answers.found) {
    finding.what += L" Product: " + ProductSentence(answers) + L".";
  }
  return finding;
}

Finding JudgeApplication(const Application& application) {
  const std::wstring title = application.title;
  Finding finding = {.code = "application-absent", .what = title + L" is not installed."};
  const bool isInstalled = std::ranges::any_of(
      application.services, [](const vtclass::Step& service) { return service.code == 0; });
  finding.status = application.error != 0 ? application.error : HiddenBy(application);
  if (finding.status != 0 || application.services.empty()) {
    finding.verdict = Verdict::warning;
    finding.code = "application-unknown";
    finding.what = L"Whether " + title + L" runs here cannot be told: " +
                   (finding.status != 0 ? SystemText(finding.status) : application.reason + L".");
    finding.reason =
        L"An agent with this account takes it for not running and saves nothing of it.";
    finding.remedy =
        L"Run this as the agents' account; if that is this one, let it query services.";
  } else if (application.isRunning) {
    finding.code = "application-runs";
    finding.what = title + L" runs: " + application.reason + L".";
  } else if (isInstalled) {
    finding.verdict = Verdict::note;
    finding.code = "application-stopped";
    finding.what = title + L" is installed and counts as not running: " + application.reason + L".";
    finding.reason = L"Its agent saves nothing of it meanwhile.";
    finding.remedy = L"If it should run, start its service.";
  }
  return finding;
}

void CheckCluster(Found& found) {
  const Findings lacking = WithoutNetLibraries();
  if (!lacking.empty()) {
    found.Add(lacking);
    return;
  }
  const ClusterAnswers cluster = AskCluster({});
  found.Add(JudgeCluster(cluster));
  const ApplicationAnswers applications = AskApplications(cluster.computer);
  found.Add(JudgeApplication(applications.sql));
  found.Add(JudgeApplication(applications.exchange));
}

}  // namespace vtctl::doctor
