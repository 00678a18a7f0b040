#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_CHECKS_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_CHECKS_H

#include <span>

#include "tools/vtctl/doctor/finding.h"

namespace vtctl::doctor {

/*
 * One look at the machine: asks, and judges what it got. It changes nothing that lasts, runs on a
 * thread of its own, and may be left behind there when it takes too long: it uses nothing that
 * ends before the process does. What it throws becomes a finding.
 */
using Check = Findings (*)();

Findings CheckKeys();
Findings CheckValues();
Findings CheckIdentity();
Findings CheckResolver();
Findings CheckCluster();
Findings CheckLibraries();
Findings CheckLogs();
Findings CheckVolumes();
Findings CheckClock();
Findings CheckCredentials();
Findings CheckAdvertisement();

struct CheckRow {
  const char* name; /* for --only and for scripts */
  const wchar_t* title;
  Check check;
};

/* All checks, in the order in which they run. A further one is a row here and a function above. */
inline constexpr CheckRow kChecks[] = {
    {"keys", L"Product keys", CheckKeys},
    {"values", L"Registry values", CheckValues},
    {"identity", L"Identity", CheckIdentity},
    {"resolver", L"Name resolver", CheckResolver},
    {"cluster", L"Cluster and applications", CheckCluster},
    {"libraries", L"Libraries", CheckLibraries},
    {"logs", L"Debug logs", CheckLogs},
    {"volumes", L"Free space", CheckVolumes},
    {"clock", L"Clock and time zone", CheckClock},
    {"credentials", L"Stored credentials", CheckCredentials},
    {"advertisement", L"Agent and advertisement", CheckAdvertisement}};

}  // namespace vtctl::doctor

#endif
