#ifndef VTCLASS_JOBLOG_ENTRY_FILTER_H
#define VTCLASS_JOBLOG_ENTRY_FILTER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "joblog/log_event.h"
#include "joblog/log_time.h"

namespace vtclass::joblog {

using EventSink = std::function<void(const Event&)>;

/* Names of files that differ in case alone are the same text after it. */
using FoldCase = std::function<std::string(std::string_view)>;

/* What an entry has to be; what is left empty does not count. */
struct Wanted {
  std::vector<std::string> codes; /* one of these */
  Severity least = Severity::kInfo;
  std::string folder;           /* in this folder or below it */
  FoldCase fold;                /* Requires: set where `folder` is */
  std::optional<LogTime> since; /* of a job that began then or later */
  std::optional<LogTime> until; /* of a job that began then or earlier */

  bool IsAnything() const {
    return codes.empty() && least == Severity::kInfo && folder.empty() && !since && !until;
  }
};

/*
 * Stands between the reader and a view: lets the wanted entries through, and the headings above
 * them. Where a document begins and ends and what is damaged passes always: it tells how much the
 * answer is worth. Only a job that began at another time is left out whole; a log that does not
 * tell when its job began is not one.
 */
class EntryFilter {
 public:
  EntryFilter(Wanted wantedEntries, EventSink to);

  void Handle(const Event& event);

  std::uint64_t EntriesLeftOut() const { return entriesLeftOut; }
  std::uint64_t JobsLeftOut() const { return jobsLeftOut; }

 private:
  enum class Job { kUndecided, kShown, kLeftOut };
  bool TakesJob(const Event& event);
  void Choose(const Event& event);
  void Leave(std::size_t depth);
  void LeaveEntries(std::size_t depth);
  bool IsWantedEntry(const Event& entry) const;
  bool IsWantedFolder(const std::string& path) const;
  bool IsContinuationShown(const Event& entry);

  Wanted wanted;
  EventSink sink;
  Job job = Job::kShown;
  std::vector<Event> undecided;          /* the document's events so far */
  std::vector<Event> headings;           /* not passed on yet, outermost first */
  std::optional<std::size_t> insideFrom; /* depth of the wanted folder that is open */
  struct OpenEntry {
    std::size_t depth;
    std::string element;
    bool isShown;
  };
  std::vector<OpenEntry> entries; /* that may go on: an error may hold elements, and text again */
  std::uint64_t entriesLeftOut = 0;
  std::uint64_t jobsLeftOut = 0;
};

/* The identifier as logs have it: "q-79-57344-33928" becomes "Q-79-57344-33928". Empty when the
 * text is none. */
std::string NormalCode(const std::string& text);

}  // namespace vtclass::joblog

#endif
