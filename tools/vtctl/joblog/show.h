#ifndef VTCLASS_TOOLS_VTCTL_JOBLOG_SHOW_H
#define VTCLASS_TOOLS_VTCTL_JOBLOG_SHOW_H

#include <optional>
#include <string>
#include <vector>

#include "joblog/entry_filter.h"
#include "joblog/log_event.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {

enum class Colours { automatic, always, never };

/* What the operator asks of 'joblog show'. */
struct ShowArguments : CommonArguments {
  std::vector<std::wstring> files;
  Path html;
  std::vector<std::wstring> codes;
  vtclass::joblog::Severity least = vtclass::joblog::Severity::kInfo;
  std::optional<std::wstring> folder;
  std::optional<std::wstring> since;
  std::optional<std::wstring> until;
  bool latest = false;
  bool summary = false;
  bool csv = false;
  bool follow = false;
  unsigned seconds = 0;
  bool diff = false;
  Colours colours = Colours::automatic;
};

/* The logs and the entries of them that are asked for. */
struct ShowRequest {
  const ShowArguments& arguments;
  std::vector<Path> logs;
  vtclass::joblog::Wanted wanted;
};

/* Each shows the logs of the request in its way and returns the exit code. */
int ShowLogs(const ShowRequest& request);
int FollowLog(const ShowRequest& request);
int ShowDifference(const ShowRequest& request);

}  // namespace vtctl

#endif
