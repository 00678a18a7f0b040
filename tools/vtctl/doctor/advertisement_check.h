#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_ADVERTISEMENT_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_ADVERTISEMENT_CHECK_H

#include <optional>

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/shared/adv_settings.h"

namespace vtctl::doctor {

/* What this machine's agent says of itself. */
struct AdvertisementState {
  unsigned long status = 0;            /* of AgentAdvConfig::Open */
  unsigned long error = 0;             /* the system's, behind it */
  std::optional<AdvSettings> settings; /* nothing where its key could not be opened */
};

Findings JudgeAdvertisement(const AdvertisementState& state);

}  // namespace vtctl::doctor

#endif
