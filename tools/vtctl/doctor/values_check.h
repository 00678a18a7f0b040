#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_VALUES_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_VALUES_CHECK_H

#include <vector>

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/doctor/product_values.h"

namespace vtctl::doctor {

/* What is stored and does not count as it stands; one `ok` when there is none. */
Findings JudgeValues(const std::vector<StoredValue>& values);

}  // namespace vtctl::doctor

#endif
