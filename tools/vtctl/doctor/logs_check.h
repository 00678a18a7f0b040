#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_LOGS_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_LOGS_CHECK_H

#include <cstdint>
#include <string>
#include <vector>

#include "log/debug/size_limits.h"
#include "tools/vtctl/doctor/finding.h"

namespace vtctl::doctor {

// NOLINTBEGIN(readability-redundant-member-init): a folder that is missing has few members
/* Where a component keeps its debug log, as it is stored and as it was found. */
struct LogFolder {
  std::wstring value = {};      /* the value that holds the path */
  std::wstring folder = {};     /* of that path */
  unsigned long error = 0;      /* why the folder cannot be reached */
  unsigned long writeError = 0; /* why no file can be made in it */
  std::size_t files = 0;
  uint64_t size = 0;      /* of all files, in bytes */
  uint64_t freeSpace = 0; /* for this account, in bytes */
};

// NOLINTEND(readability-redundant-member-init)
struct LogsState {
  bool isOn = false;
  vtclass::log::SizeLimits limits;
  std::vector<LogFolder> folders;
};

Findings JudgeLogs(const LogsState& state);

/* What is found at a path that is stored under that value. Makes a file there and deletes it. */
LogFolder LookAtLogFolder(const std::wstring& value, const std::wstring& path);

}  // namespace vtctl::doctor

#endif
