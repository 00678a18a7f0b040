#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_ADVERTISEMENT_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_ADVERTISEMENT_CHECK_H

#include <optional>
#include <vector>

#include "tools/vtctl/doctor/finding.h"
#include "vtclass/agent.h"

namespace vtctl::doctor {

/* What this machine's agent says of itself. */
struct AdvertisementState {
  unsigned long status = 0; /* of AgentAdvConfig::Open */
  unsigned long error = 0;  /* the system's, behind it */
  bool hasSettings = false; /* its key could be opened; otherwise the rest is unknown */
  bool isEnabled = true;
  bool isDiscovered = true;
  bool isPurgePending = false;
  std::optional<unsigned long> interval; /* in minutes; nothing when none can be read */
  unsigned long listError = 0;           /* why the servers cannot be read */
  std::vector<wcstring> servers;
};

Findings JudgeAdvertisement(const AdvertisementState& state);

}  // namespace vtctl::doctor

#endif
