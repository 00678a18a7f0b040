#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_RUN_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_RUN_CHECK_H

#include <vtclass/win32.h>

#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/shared/wait.h"

namespace vtctl::doctor {

/* What came of one check. */
struct CheckResult {
  CheckRow row = {};
  Findings findings;
  unsigned long milliseconds = 0; /* how long it took */
  WaitEnd end = WaitEnd::signalled;
};

/*
 * Runs a check for so long at most. One that takes longer is left behind on its thread, and its
 * result is a problem that says so; `end` is timeOut then. Interrupted by the operator it has no
 * findings.
 * Requires: CatchInterrupts was called.
 */
CheckResult RunCheck(const CheckRow& row, DWORD milliseconds);

}  // namespace vtctl::doctor

#endif
