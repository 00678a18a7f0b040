#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_CHECKS_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_CHECKS_H

#include <vtclass/win32.h>

#include "platform/critical_section.h"
#include "tools/vtctl/doctor/finding.h"

namespace vtctl::doctor {

/* What a check has found until now: its thread adds, and who waits for it takes. Any thread. */
class Found {
 public:
  /* `limit`: after so many milliseconds nobody waits for the check any more. */
  explicit Found(DWORD limit) : limit(limit) {}

  void Add(Finding finding);
  void Add(Findings more);
  Findings Take();
  DWORD Limit() const { return limit; }

 private:
  const DWORD limit;
  vtclass::platform::CriticalSection lock;
  Findings findings VTCLASS_GUARDED_BY(lock);
};

/*
 * One look at the machine: asks, and judges what it got. It changes nothing that lasts, runs on a
 * thread of its own, and may be left behind there when it takes too long: it uses nothing that
 * ends before the process does, and adds each finding as soon as it has it. What it throws becomes
 * a finding.
 */
using Check = void (*)(Found&);

void CheckKeys(Found& found);
void CheckValues(Found& found);
void CheckIdentity(Found& found);
void CheckResolver(Found& found);
void CheckCluster(Found& found);
void CheckLibraries(Found& found);
void CheckLogs(Found& found);
void CheckVolumes(Found& found);
void CheckClock(Found& found);
void CheckCredentials(Found& found);
void CheckAdvertisement(Found& found);

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
