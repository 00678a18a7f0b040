#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_CLOCK_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_CLOCK_CHECK_H

#include <optional>
#include <string>

#include "tools/vtctl/doctor/finding.h"

namespace vtctl::doctor {

/* Times are seconds since 1970-01-01 UTC. */
struct ClockState {
  long long now = 0;
  long long built = 0; /* when the product's library was written: no clock can be before that; 0
                          when that cannot be told */
  std::optional<long long> converted; /* what components make of the local time; nothing when they
                                         cannot */
  std::wstring isoTime;
  std::wstring zone;           /* empty when the system knows none */
  int minutesEast = 0;         /* of the local time now */
  unsigned long zoneError = 0; /* why the zone is not known */
};

Findings JudgeClock(const ClockState& state);

}  // namespace vtctl::doctor

#endif
