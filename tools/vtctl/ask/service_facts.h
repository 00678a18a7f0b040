#ifndef VTCLASS_TOOLS_VTCTL_ASK_SERVICE_FACTS_H
#define VTCLASS_TOOLS_VTCTL_ASK_SERVICE_FACTS_H

#include <string>
#include <vector>

namespace vtctl {

struct ServiceFact {
  std::wstring name;
  std::wstring state; /* "running", "stopped", "not installed", or why it cannot be seen */
  bool isInstalled = false;
  bool isRunning = false;
};

/* The services of one computer. */
struct ServiceFacts {
  std::wstring problem; /* why the computer's services cannot be looked at; empty: they can */
  std::vector<ServiceFact> services; /* as asked for; none when there is a problem */
};

/* `computer` with two leading backslashes, or a bare name. */
ServiceFacts LookAtServices(const std::wstring& computer, const std::vector<std::wstring>& names);

}  // namespace vtctl

#endif
