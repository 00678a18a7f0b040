#ifndef VTCLASS_JOBLOG_SUMMARY_H
#define VTCLASS_JOBLOG_SUMMARY_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "joblog/folder_trail.h"
#include "joblog/log_event.h"
#include "joblog/log_time.h"
#include "joblog/tally.h"

namespace vtclass::joblog {

/* Entries that have the same reason. */
struct Cause {
  bool isSkipped = false; /* items that were passed over; otherwise an entry of this severity */
  Severity severity = Severity::kInfo;
  std::string code;
  std::string type;    /* "access_denied" */
  std::string element; /* of what was passed over: "reparse_point" */
  std::uint64_t count = 0;
  Event first; /* as an example, with the folder that it stands in; a long text is cut */
  std::string path;
  std::optional<std::uint32_t> status;
};

struct TopCauses {
  std::vector<Cause> causes;
  std::uint64_t further = 0;
};

/* A stretch between two times that a log tells. */
struct Gap {
  LogTime from;
  LogTime to;
  std::string before; /* the messages that tell them */
  std::string after;
  Event at; /* the later one */
  std::int64_t Seconds() const { return to.seconds - from.seconds; }
};

/* One document: a job. */
struct Job {
  std::string file;
  std::uint64_t document = 0;
  std::string name; /* these three are messages in the job's language */
  std::string server;
  std::string status;
  std::optional<LogTime> started;
  std::optional<LogTime> ended;
  Tally tally;
};

inline constexpr std::size_t kMostJobs = 10'000;
inline constexpr std::size_t kMostCauses = 1000;
inline constexpr std::size_t kMostGaps = 10;

/*
 * A view that draws one picture of all that it is shown: how the jobs ended, what went wrong and
 * how often, where the time went. Memory is bounded: jobs and reasons beyond the limits are only
 * counted.
 */
class Summary {
 public:
  /* What comes is of this file. */
  void BeginFile(std::string name) { file = std::move(name); }
  void Handle(const Event& event);
  /* How much a filter kept back in all. */
  void LeftOut(std::uint64_t entries, std::uint64_t wholeJobs) {
    total.leftOut = entries;
    total.leftOutJobs = wholeJobs;
  }

  /* Of all files; the last log's end is that of the last file. */
  const Tally& Total() const { return total; }
  /* The worst of all jobs and of the total. */
  Outcome Result() const;
  const std::vector<Job>& Jobs() const { return jobs; }
  std::uint64_t FurtherJobs() const { return furtherJobs; }
  /* The worst severity first, then the most frequent, and how many entries have another reason. */
  TopCauses Causes(std::size_t most = kMostCauses) const;
  /* The longest first. */
  const std::vector<Gap>& Gaps() const { return gaps; }

 private:
  void HandleEntry(const Event& entry);
  void AddCause(const Event& entry, bool isSkipped);
  void AddTime(const Event& entry, LogTime time);

  std::string file;
  Tally total;
  Job job; /* that is being read */
  std::vector<Job> jobs;
  std::uint64_t furtherJobs = 0;
  std::map<std::string, Cause, std::less<>> causes;
  std::uint64_t furtherCauses = 0;
  std::vector<Gap> gaps;
  FolderTrail trail;
  std::optional<std::size_t> skippedFrom; /* depth of the open list of what was passed over */
  std::optional<LogTime> lastTime;
  std::string lastTimeText;
};

/* What people call the reason: "Access denied", "Reparse point". */
std::string CauseLabel(const Cause& cause);

}  // namespace vtclass::joblog

#endif
