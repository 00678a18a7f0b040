#ifndef VTCLASS_JOBLOG_TALLY_H
#define VTCLASS_JOBLOG_TALLY_H

#include <cstdint>
#include <string>

#include "joblog/log_event.h"

namespace vtclass::joblog {

/* What a job log comes to, from good to bad. Only the first is plain success. */
enum class Outcome {
  kClean,
  kPartial, /* clean as far as shown, but a filter or the log's size limit left entries out */
  kSkipped, /* the job passed items over */
  kWarnings,
  kDamaged, /* parts of the log cannot be read, and nobody knows what they said */
  kErrors,
  kUnfinished, /* the last log has no end */
};

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
  std::uint64_t skipped = 0; /* items that the jobs tell that they passed over */
  std::uint64_t leftOut = 0; /* entries that a filter kept back; set from outside */
  std::uint64_t leftOutJobs = 0;
  std::uint64_t cutOff = 0;  /* documents without their end */
  std::uint64_t wrapped = 0; /* documents without their beginning */
  bool lastIsClosed = false; /* the last document has its end */
  std::string lastCut;       /* where it was cut off otherwise */
  Position lastEnd;

  void Add(const Event& event);

  /* Of the entries. */
  Severity Worst() const;

  /* For the exit code: a last document that is cut off counts as an error, because its job did not
   * end; one that another follows counts as a warning. A damaged place counts as an error: it may
   * have told one. */
  Severity Verdict() const;

  Outcome Result() const;

  /* Documents without their end that another one follows. */
  std::uint64_t EarlierCutOff() const { return cutOff == 0 || lastIsClosed ? cutOff : cutOff - 1; }

  /* False when something of the logs is missing, which may have told more. */
  bool IsWhole() const { return cutOff == 0 && damages == 0 && wrapped == 0; }
};

}  // namespace vtclass::joblog

#endif
