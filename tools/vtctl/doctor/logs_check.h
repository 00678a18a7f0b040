#ifndef VTCLASS_TOOLS_VTCTL_DOCTOR_LOGS_CHECK_H
#define VTCLASS_TOOLS_VTCTL_DOCTOR_LOGS_CHECK_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "log/debug/size_limits.h"
#include "tools/vtctl/doctor/finding.h"

namespace vtctl::doctor {

// NOLINTBEGIN(readability-redundant-member-init): a folder that is missing has few members
/* Where a component keeps its debug log, as it is stored and as it was found. The codes are the
 * system's, 0 for none. */
struct LogFolder {
  std::wstring value = {};  /* the value that holds the path */
  std::wstring path = {};   /* as it is stored */
  std::wstring fault = {};  /* why no log can lie there: a sentence; then nothing else is known */
  std::wstring folder = {}; /* of that path */
  unsigned long error = 0;  /* why the folder cannot be reached */
  unsigned long writeError = 0; /* why no file can be made in it */
  unsigned long listError = 0;  /* why its files cannot be counted */
  unsigned long spaceError = 0; /* why its free space is not known */
  std::size_t files = 0;
  uint64_t size = 0;      /* of all files, in bytes */
  uint64_t freeSpace = 0; /* for this account, in bytes */
};

/* A key that holds what is to be known of logs, and that cannot be read. */
struct UnreadLogKey {
  std::wstring path; /* below HKEY_LOCAL_MACHINE */
  unsigned long error = 0;
};

struct LogsState {
  std::optional<bool> isOn = std::nullopt; /* nothing when it cannot be read */
  vtclass::log::SizeLimits limits = {};
  std::vector<LogFolder> folders = {};
  std::vector<UnreadLogKey> unread = {};
};
// NOLINTEND(readability-redundant-member-init)

Findings JudgeLogs(const LogsState& state);

/* Whether a stored path names a file or a folder. */
enum class LogPlace { file, folder };

/* Why no log can lie at a stored path, whatever the machine has: a sentence; empty where one can.
 */
std::wstring FaultOf(std::wstring_view path, LogPlace place);

/* What is found at a path that is stored under that value. Makes a file there and deletes it. */
LogFolder LookAtLogFolder(const std::wstring& value, const std::wstring& path, LogPlace place);

}  // namespace vtctl::doctor

#endif
