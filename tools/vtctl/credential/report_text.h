#ifndef VTCLASS_TOOLS_VTCTL_CREDENTIAL_REPORT_TEXT_H
#define VTCLASS_TOOLS_VTCTL_CREDENTIAL_REPORT_TEXT_H

#include <string>

#include "tools/vtctl/shared/credential_report.h"
#include "tools/vtctl/shared/json.h"

namespace vtctl {

/* For people and for scripts; the secrets stand in neither. */
std::wstring Text(const CredentialReport& report);
Json ToJson(const CredentialReport& report);

}  // namespace vtctl

#endif
