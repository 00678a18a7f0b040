#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_CREDENTIALS_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_CREDENTIALS_CHECK_H

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/shared/credential_report.h"

namespace vtctl::doctor {

/* Each stored credential, and the keys that were not read. */
Findings JudgeCredentials(const CredentialReport& report);

}  // namespace vtctl::doctor

#endif
