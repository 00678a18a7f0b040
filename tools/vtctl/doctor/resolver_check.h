#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_RESOLVER_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_RESOLVER_CHECK_H

#include <string>

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/shared/resolution.h"

namespace vtctl::doctor {

/* A name and what the resolver said of it. */
struct ResolvedName {
  std::wstring name;
  Resolution resolution;
  unsigned long milliseconds = 0;
};

/* This machine's full name. */
Finding JudgeOwnAddress(const ResolvedName& own);
/* A name that no server can have. */
Finding JudgeForeignName(const ResolvedName& foreign);

}  // namespace vtctl::doctor

#endif
