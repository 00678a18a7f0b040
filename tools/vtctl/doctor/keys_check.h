#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_KEYS_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_KEYS_CHECK_H

#include <string>
#include <vector>

#include "tools/vtctl/doctor/finding.h"

namespace vtctl::doctor {

/* Who may change a key. */
struct KeyWriter {
  std::wstring sid;  /* "S-1-5-32-544" */
  std::wstring name; /* of the account or group; the SID where it has none */
};

/* A key of the product as it was found. The codes are the system's, 0 for none. */
struct KeyState {
  std::wstring path; /* below HKEY_LOCAL_MACHINE */
  bool isRoot = false;
  unsigned long readError = 0;
  unsigned long writeError = 0;
  unsigned long listError = 0; /* of reading who may change it */
  std::vector<KeyWriter> writers;
};

Finding JudgeKey(const KeyState& state);

}  // namespace vtctl::doctor

#endif
