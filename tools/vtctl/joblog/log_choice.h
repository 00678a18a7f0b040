#ifndef VTCLASS_TOOLS_VTCTL_JOBLOG_LOG_CHOICE_H
#define VTCLASS_TOOLS_VTCTL_JOBLOG_LOG_CHOICE_H

#include <string>
#include <vector>

#include "tools/vtctl/shared/paths.h"

namespace vtctl {

/* The job logs that an operator names, or why there are none. */
struct LogChoice {
  std::vector<Path> logs;
  std::wstring problem; /* a sentence */
  unsigned long status = 0;
  int exitCode = 0;
};

/*
 * A word is a file, kStandardInput, or a path whose last name holds "*" or "?" and stands for all
 * such files, by name. With `latest` a folder stands for all its *.xml, and of all files only the
 * one written last remains.
 */
LogChoice ChooseLogs(const std::vector<std::wstring>& words, bool latest);

}  // namespace vtctl

#endif
