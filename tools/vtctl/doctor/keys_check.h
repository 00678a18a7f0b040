#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_KEYS_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_KEYS_CHECK_H

#include <string>

#include "tools/vtctl/doctor/finding.h"
#include "tools/vtctl/shared/key_access.h"

namespace vtctl::doctor {

/* A key of the product as it was found. The codes are the system's, 0 for none. */
struct KeyState {
  std::wstring path; /* below HKEY_LOCAL_MACHINE */
  bool isRoot = false;
  unsigned long readError = 0;
  unsigned long writeError = 0;
  KeyAccess writers;
};

Finding JudgeKey(const KeyState& state);

}  // namespace vtctl::doctor

#endif
