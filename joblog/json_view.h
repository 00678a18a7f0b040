#ifndef VTCLASS_JOBLOG_JSON_VIEW_H
#define VTCLASS_JOBLOG_JSON_VIEW_H

#include <optional>
#include <string>

#include "joblog/comparison.h"
#include "joblog/log_event.h"
#include "joblog/summary.h"

namespace vtclass::joblog {

/* What stands around an event. */
struct Place {
  std::string file;
  std::string path; /* of the folder; empty outside */
};

/* One JSON object on a line of its own, with its line feed. The kinds are "document", "set",
 * "section", "folder", "entry", "damage" and "end"; empty members are left out, but a warning or an
 * error has its severity, code, path and status always. */
std::string JsonLine(const Event& event, const Place& place);

/* The last line, of the kind "summary". */
std::string JsonSummary(const Summary& summary, std::optional<bool> isOpen);

/* A line of the kind "change" for each finding that is gone or new, and one of the kind "diff".
 * The tallies tell whether the logs are whole. */
std::string JsonComparison(const Comparison& comparison, const Tally& before, const Tally& now);

}  // namespace vtclass::joblog

#endif
