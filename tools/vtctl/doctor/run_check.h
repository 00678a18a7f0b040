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
 * Runs a check for so long at most. One that takes longer, or that the operator interrupts, is left
 * behind on its thread: its result is what it had found until then, and a problem that says that
 * it did not come to its end; `end` tells which.
 * Requires: CatchInterrupts was called.
 */
CheckResult RunCheck(const CheckRow& row, DWORD milliseconds);

}  // namespace vtctl::doctor

#endif
