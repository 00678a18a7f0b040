#include "joblog/summary.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

#include "joblog/comparison.h"
#include "joblog/element_names.h"

namespace vtclass::joblog {
namespace {

constexpr std::string_view kSkippedListElement = "skipped_items_summary";

bool TellsAStep(std::string_view element) {
  return element.ends_with("_started") || element.ends_with("_ended");
}

// The list's title, and the line that tells how many it leaves out.
bool IsListed(const Event& entry) { return entry.element != "heading" && entry.element != "note"; }

// An example stays one line of a summary, and a hostile log does not fill the memory with them.
std::string Shortened(std::string text) {
  constexpr std::size_t kMostBytes = 1000;
  if (text.size() <= kMostBytes) return text;
  std::size_t end = kMostBytes;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  text.resize(end);
  return text + "...";
}

}  // namespace

void Summary::Handle(const Event& event) {
  trail.Handle(event);
  total.Add(event);
  if (event.kind != EventKind::kDamage && skippedFrom && event.depth <= *skippedFrom) {
    skippedFrom.reset();
  }
  switch (event.kind) {
    case EventKind::kDocument:
      job = Job();
      job.file = file;
      job.document = event.document;
      lastTime.reset();
      break;
    case EventKind::kSection:
      if (event.element == kSkippedListElement) skippedFrom = event.depth;
      break;
    case EventKind::kEntry:
      HandleEntry(event);
      break;
    default:
      break;
  }
  job.tally.Add(event);
  if (event.kind != EventKind::kDocumentEnd) return;
  if (jobs.size() < kMostJobs) {
    jobs.push_back(std::move(job));
  } else {
    ++furtherJobs;
  }
  job = Job();
}

void Summary::HandleEntry(const Event& entry) {
  if (entry.continued) return;
  if (entry.severity != Severity::kInfo) {
    AddCause(entry, false);
  } else if (skippedFrom && IsListed(entry)) {
    AddCause(entry, true);
  }
  if (entry.element == "job_name") job.name = Shortened(entry.text);
  if (entry.element == "job_server") job.server = Shortened(entry.text);
  if (entry.element == "job_completion_status") job.status = Shortened(entry.text);
  if (!TellsAStep(entry.element)) return;
  const auto time = TimeIn(entry.text);
  if (!time) return;
  if (entry.element == kJobStartElement) job.started = time;
  if (entry.element == "job_ended") job.ended = time;
  AddTime(entry, *time);
}

void Summary::AddCause(const Event& entry, bool isSkipped) {
  std::string key(isSkipped ? "s" : std::to_string(static_cast<int>(entry.severity)));
  for (const std::string* part : {&entry.code, &entry.type, &entry.element}) {
    (key += '\0') += *part;
  }
  auto found = causes.find(key);
  if (found == causes.end()) {
    if (causes.size() == kMostCauses) {
      ++furtherCauses;
      return;
    }
    Cause cause;
    cause.isSkipped = isSkipped;
    cause.severity = entry.severity;
    cause.code = entry.code;
    cause.type = entry.type;
    cause.element = entry.element;
    cause.first = entry;
    cause.first.text = Shortened(entry.text);
    cause.path = trail.Path();
    cause.status = StatusIn(entry);
    found = causes.emplace(std::move(key), std::move(cause)).first;
  }
  ++found->second.count;
}

void Summary::AddTime(const Event& entry, LogTime time) {
  if (lastTime && time > *lastTime) {
    Gap gap = {*lastTime, time, lastTimeText, Shortened(entry.text), entry};
    const auto behind = std::ranges::upper_bound(gaps, gap.Seconds(), std::ranges::greater(),
                                                 [](const Gap& other) { return other.Seconds(); });
    gaps.insert(behind, std::move(gap));
    if (gaps.size() > kMostGaps) gaps.pop_back();
  }
  lastTime = time;
  lastTimeText = Shortened(entry.text);
}

Outcome Summary::Result() const {
  Outcome worst = total.Result();
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    // A log that another one follows in its file counts as the total has it.
    const bool isFilesLast = i + 1 == jobs.size() || jobs[i + 1].file != jobs[i].file;
    if (isFilesLast) worst = std::max(worst, jobs[i].tally.Result());
  }
  return worst;
}

TopCauses Summary::Causes(std::size_t most) const {
  TopCauses top{{}, furtherCauses};
  std::vector<Cause>& sorted = top.causes;
  sorted.reserve(causes.size());
  for (const auto& [key, cause] : causes) sorted.push_back(cause);
  std::ranges::sort(sorted, [](const Cause& a, const Cause& b) {
    return std::tie(b.severity, b.count, a.code, a.type, a.element) <
           std::tie(a.severity, a.count, b.code, b.type, b.element);
  });
  for (; sorted.size() > most; sorted.pop_back()) top.further += sorted.back().count;
  return top;
}

std::string CauseLabel(const Cause& cause) {
  if (cause.isSkipped) return Label(cause.element);
  return Label(cause.type.empty() ? cause.element : cause.type);
}

}  // namespace vtclass::joblog
