#ifndef VTCLASS_TOOLS_VTCTL_SHARED_IDENTITY_H
#define VTCLASS_TOOLS_VTCTL_SHARED_IDENTITY_H

#include <string>
#include <vector>

#include "vtclass/net.h"

namespace vtctl {

/* This machine's names, as it knows them without asking anybody; empty where it cannot tell. */
struct MachineNames {
  std::wstring computer; /* of a virtual server, in a program that a cluster has started */
  std::wstring node;     /* of the machine itself */
  std::wstring dnsHost;
  std::wstring full; /* with the domain */
};
MachineNames AskMachineNames();

/* Is this name or address this machine? */
struct IdentityQuestion {
  std::wstring name; /* as the operator wrote it; may be a UNC path */
  bool clusterAware = false;
  int timeout = 0; /* milliseconds for DNS; 0: the product's setting */
};

/* What vtclass::IsThisMeEx said. */
struct IdentityAnswer {
  std::wstring server; /* what it was asked: the server of a UNC path, else the name */
  bool isMe = false;
  unsigned long code = 0;
  unsigned long milliseconds = 0; /* how long it took */
  std::vector<vtclass::Step> steps;
};

IdentityAnswer AskIdentity(const IdentityQuestion& question);

/* True when the answer is yes or no, and no failure keeps it open. */
bool IsSettled(const IdentityAnswer& answer);

/* "\\HOST\share is this machine.": the answer, or why there is none. */
std::wstring Sentence(const IdentityQuestion& question, const IdentityAnswer& answer);

/* kExitClean, kExitNotThisMachine, kExitNoAnswer; kExitUsage for an empty name. */
int ExitCodeOf(const IdentityAnswer& answer);

/* One step of the test, in words. */
struct ExplainedStep {
  std::wstring title;
  std::vector<std::wstring> compared; /* with what */
  std::wstring found;
  bool decides = false; /* the answer comes from here */
  std::wstring warning; /* what to mind about the answer; mostly empty */
};

/* The steps as they were taken, up to the one that decides. */
std::vector<ExplainedStep> ExplainIdentity(const IdentityAnswer& answer);

}  // namespace vtctl

#endif
