#ifndef VTCLASS_JOBLOG_CODE_FILTER_H
#define VTCLASS_JOBLOG_CODE_FILTER_H

#include <functional>
#include <string>
#include <vector>

#include "joblog/log_event.h"

namespace vtclass::joblog {

using EventSink = std::function<void(const Event&)>;

/*
 * Lets through the entries with one of the given message identifiers, and the headings above them.
 * Without identifiers everything passes. Where a document begins and ends and what is damaged
 * passes always: it tells how much the answer is worth.
 */
class CodeFilter {
 public:
  CodeFilter(std::vector<std::string> wantedCodes, EventSink to);

  void Handle(const Event& event);

 private:
  std::vector<std::string> codes;
  EventSink sink;
  std::vector<Event> headings; /* not passed on yet, outermost first */
  bool showsContinuation = false;
};

/* The identifier as logs have it: "q-79-57344-33928" becomes "Q-79-57344-33928". Empty when the
 * text is none. */
std::string NormalCode(const std::string& text);

}  // namespace vtclass::joblog

#endif
