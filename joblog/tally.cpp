#include "joblog/tally.h"

#include <algorithm>

namespace vtclass::joblog {

void Tally::Add(const Event& event) {
  switch (event.kind) {
    case EventKind::kDocument:
      ++documents;
      break;
    case EventKind::kSet:
      ++sets;
      break;
    case EventKind::kFolder:
      ++folders;
      break;
    case EventKind::kDamage:
      ++damages;
      break;
    case EventKind::kSection:
      break;
    case EventKind::kEntry:
      if (event.continued) break;
      ++entries;
      if (event.severity == Severity::kRecommendation) ++recommendations;
      if (event.severity == Severity::kWarning) ++warnings;
      if (event.severity == Severity::kError) ++errors;
      break;
    case EventKind::kDocumentEnd:
      lastIsClosed = event.closed;
      lastCut = event.text;
      lastEnd = event.at;
      if (!event.closed) ++cutOff;
      break;
  }
}

Severity Tally::Worst() const {
  if (errors > 0) return Severity::kError;
  if (warnings > 0) return Severity::kWarning;
  return recommendations > 0 ? Severity::kRecommendation : Severity::kInfo;
}

Severity Tally::Verdict() const {
  if (cutOff == 0) return Worst();
  return std::max(Worst(), lastIsClosed ? Severity::kWarning : Severity::kError);
}

}  // namespace vtclass::joblog
