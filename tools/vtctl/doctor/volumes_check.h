#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_VOLUMES_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_VOLUMES_CHECK_H

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/shared/volume.h"

namespace vtctl::doctor {

/* Drives for media are passed over: they may be empty, or full for good. */
Findings JudgeVolumes(const VolumeList& list);

}  // namespace vtctl::doctor

#endif
