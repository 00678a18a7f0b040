#ifndef VTCLASS_HIVE_PROBLEM_H
#define VTCLASS_HIVE_PROBLEM_H

#include <cstdint>
#include <functional>

#include "strings/wide_text.h"

namespace vtclass::hive {

/* A warning: all can be read, and the system would mend it or not find something. An error: a part
 * of the hive is damaged or missing, or the hive as a whole is not to be trusted. */
enum class Severity { warning, error };

/* What is wrong in a hive, and where. */
struct Problem {
  Severity severity = Severity::error;
  std::uint64_t at = 0;   /* the byte of the file that says so */
  const char* what = "";  /* what is meant: "The list of values" */
  const char* fault = ""; /* the rest of the sentence, without its full stop */
  // NOLINTNEXTLINE(readability-redundant-member-init): so that it may be left out
  WideView key = WideView(); /* the key concerned; valid while the problem is told */
};

using ReportProblem = std::function<void(const Problem&)>;

}  // namespace vtclass::hive

#endif
