#ifndef VTCLASS_JOBLOG_COMPARISON_H
#define VTCLASS_JOBLOG_COMPARISON_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "joblog/folder_trail.h"
#include "joblog/log_event.h"
#include "joblog/tally.h"

namespace vtclass::joblog {

/* A warning or an error, with the folder that it stands in. */
struct Finding {
  Event entry;
  std::string path;
};

/* A view that gathers the warnings and errors of a log. */
class Findings {
 public:
  void Handle(const Event& event);
  const std::vector<Finding>& All() const { return all; }

 private:
  FolderTrail trail;
  std::vector<Finding> all;
};

struct Comparison {
  std::vector<Finding> gone;  /* before and not now */
  std::vector<Finding> fresh; /* now and not before */
  std::uint64_t same = 0;

  /* The worst of what is new. */
  Severity Worst() const;
};

/* Findings are the same when they say the same of the same folder: severity, code, type, path and
 * text. One that comes twice now and came once before is new once. */
Comparison Compare(const std::vector<Finding>& before, const std::vector<Finding>& now);

/* For people. The tallies tell which of the logs is not whole, so that what only one of them tells
 * may be missing in the other. */
std::string ComparisonText(const Comparison& comparison, const Tally& before, const Tally& now,
                           bool withColour);

/* The system's status at the end of a message, "... Access denied. (5)": writers close with its
 * words, a full stop and the number. */
std::optional<std::uint32_t> StatusIn(const Event& entry);

}  // namespace vtclass::joblog

#endif
