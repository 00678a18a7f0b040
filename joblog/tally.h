#ifndef VTCLASS_JOBLOG_TALLY_H
#define VTCLASS_JOBLOG_TALLY_H

#include <cstdint>
#include <string>

#include "joblog/log_event.h"

namespace vtclass::joblog {

/* What was shown of a job log, in numbers. */
struct Tally {
  std::uint64_t documents = 0;
  std::uint64_t sets = 0;
  std::uint64_t folders = 0;
  std::uint64_t entries = 0;
  std::uint64_t recommendations = 0;
  std::uint64_t warnings = 0;
  std::uint64_t errors = 0;
  std::uint64_t damages = 0;
  std::uint64_t cutOff = 0;  /* documents without their end */
  bool lastIsClosed = false; /* the last document has its end */
  std::string lastCut;       /* where it was cut off otherwise */
  Position lastEnd;

  void Add(const Event& event);

  /* Of the entries. */
  Severity Worst() const;

  /* For the exit code: a last document that is cut off counts as an error, because its job did not
   * end; one that another follows counts as a warning. */
  Severity Verdict() const;
};

}  // namespace vtclass::joblog

#endif
