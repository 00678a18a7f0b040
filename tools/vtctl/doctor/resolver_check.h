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

/* How long each of the two questions may take, in milliseconds, for a check that may take so long:
 * the product's default, and less where the check would be left behind before it could say that
 * nobody answers. */
unsigned long NameLimit(unsigned long checkLimit);

/* This machine's full name. */
Finding JudgeOwnAddress(const ResolvedName& own);
/* A name that no server can have. */
Finding JudgeForeignName(const ResolvedName& foreign);

}  // namespace vtctl::doctor

#endif
