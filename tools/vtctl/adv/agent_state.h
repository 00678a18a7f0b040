#ifndef VTCLASS_TOOLS_VTCTL_ADV_AGENT_STATE_H
#define VTCLASS_TOOLS_VTCTL_ADV_AGENT_STATE_H

#include <string>

#include "tools/vtctl/shared/exit_code.h"

/* What AgentAdvConfig::Open has found, as operators understand it. */
namespace vtctl {

struct AgentState {
  unsigned long status = 0; /* of Open */
  unsigned long code = 0;   /* of GetErrorCode after it; of no meaning while the status is 0 */
  std::wstring machine;     /* as the operator named it; empty: this one */
};

/* "running", "not-running", "older-version", ...: for scripts. */
const char* StateWord(const AgentState& state);
/* The system's own status behind it; 0 where there is none. */
unsigned long SystemStatus(const AgentState& state);

/* "runs", "stopped", ...: for people. */
const wchar_t* StateName(const AgentState& state);

/* "this machine", "SRV1". */
std::wstring MachineName(const AgentState& state);

/* What is the matter, and what to do about it. Empty while nothing is. */
std::wstring Explanation(const AgentState& state);

/* kExitWarnings where the settings could be read all the same; otherwise why not. */
ExitCode ExitCodeOf(const AgentState& state, bool isKeyOpen);

}  // namespace vtctl

#endif
