#ifndef VTCLASS_JOBLOG_JSON_VIEW_H
#define VTCLASS_JOBLOG_JSON_VIEW_H

#include <optional>
#include <string>

#include "joblog/log_event.h"
#include "joblog/tally.h"

namespace vtclass::joblog {

/* One JSON object on a line of its own, with its line feed. The kinds are "document", "set",
 * "section", "folder", "entry", "damage" and "end"; empty members are left out. */
std::string JsonLine(const Event& event);

/* The last line, of the kind "summary". */
std::string JsonSummary(const Tally& tally, std::optional<bool> isOpen);

}  // namespace vtclass::joblog

#endif
