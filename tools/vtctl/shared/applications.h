#ifndef VTCLASS_TOOLS_VTCTL_SHARED_APPLICATIONS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_APPLICATIONS_H

#include <cstddef>
#include <string>
#include <vector>

#include "vtclass/steps.h"
#include "vtclass/strings.h"

namespace vtctl {

struct Application {
  const char* key;
  const wchar_t* title;
  size_t deciding; /* any of so many services at the front makes it run */
  bool isRunning = false;
  unsigned long error = 0; /* why the cluster could not be asked */
  std::wstring reason;
  std::vector<vtclass::Step> services; /* as they were looked at */
};

struct ApplicationAnswers {
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

/* Asks for SQL Server and Exchange on a server, which is named with or without backslashes. */
ApplicationAnswers AskApplications(const std::wstring& server);

/* Whether there is such a service, as it was looked at. */
bool IsInstalled(const vtclass::Step& service);

/* "running", "not installed", ... */
std::wstring StateText(const vtclass::Step& service);

}  // namespace vtctl

#endif
