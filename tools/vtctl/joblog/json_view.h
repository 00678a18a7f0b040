#ifndef VTCLASS_TOOLS_VTCTL_JOBLOG_JSON_VIEW_H
#define VTCLASS_TOOLS_VTCTL_JOBLOG_JSON_VIEW_H

#include <optional>
#include <string>

#include "tools/vtctl/joblog/log_event.h"
#include "tools/vtctl/joblog/tally.h"

namespace vtctl::joblog {

/* One JSON object on a line of its own, with its line feed. The kinds are "document", "set",
 * "section", "folder", "entry", "damage" and "end"; empty members are left out. */
std::string JsonLine(const Event& event);

/* The last line, of the kind "summary". */
std::string JsonSummary(const Tally& tally, std::optional<bool> isOpen);

}  // namespace vtctl::joblog

#endif
