#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_IDENTITY_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_IDENTITY_CHECK_H

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/shared/identity.h"

namespace vtctl::doctor {

/* One of this machine's names, asked whether it is this machine's. */
Finding JudgeOwnName(const IdentityQuestion& question, const IdentityAnswer& answer);

/* The names that there are. */
Findings JudgeNames(const MachineNames& names);

}  // namespace vtctl::doctor

#endif
