#ifndef VTCLASS_AGENT_INSTALLATION_H
#define VTCLASS_AGENT_INSTALLATION_H

#include <string>

#include "agent/open_status.h"

/* What is installed on a machine: "\\SRV", or this one where the name is empty. These throw
 * std::bad_alloc. */
namespace vtclass::agent {

/* Why there is no agents key: an agent of an older generation, or none. */
Outcome WhyNoAgentsKey(const std::wstring& machine);

/* Whether the agent is of this version. */
Outcome CheckVersion(const std::wstring& machine);

/* Whether the agent's service runs. */
Outcome CheckService(const std::wstring& machine);

}  // namespace vtclass::agent

#endif
