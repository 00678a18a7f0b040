#include "joblog/entry_filter.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "joblog/element_names.h"

namespace vtclass::joblog {
namespace {

constexpr std::string_view kPrefix = "Q-79-";
// A job's start stands among the first entries of its log, in front of its sets.
constexpr std::size_t kMostHeadEvents = 1000;

// A decimal number of 16 bits, as the parts of an identifier are.
bool IsPart(std::string_view digits) {
  if (digits.empty() || digits.size() > 5) return false;
  unsigned value = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return false;
    value = value * 10 + static_cast<unsigned>(digit - '0');
  }
  return value <= 0xFFFF;
}

// As paths are compared: one kind of separator, and none at the end.
std::string NormalFolder(std::string path, const FoldCase& fold) {
  std::ranges::replace(path, '/', '\\');
  while (path.ends_with('\\')) path.pop_back();
  return fold(path);
}

}  // namespace

std::string NormalCode(const std::string& text) {
  std::string code = text;
  if (code.starts_with('q')) code[0] = 'Q';
  if (!code.starts_with(kPrefix)) return {};
  const std::string_view parts = std::string_view(code).substr(kPrefix.size());
  const std::size_t dash = parts.find('-');
  if (dash == std::string_view::npos) return {};
  return IsPart(parts.substr(0, dash)) && IsPart(parts.substr(dash + 1)) ? code : std::string();
}

EntryFilter::EntryFilter(Wanted wantedEntries, EventSink to)
    : wanted(std::move(wantedEntries)), sink(std::move(to)) {
  if (!wanted.folder.empty()) wanted.folder = NormalFolder(wanted.folder, wanted.fold);
}

void EntryFilter::Handle(const Event& event) {
  if (wanted.IsAnything()) {
    sink(event);
  } else if (TakesJob(event)) {
    Choose(event);
  }
}

// Holds the beginning of a document back until its job's start is known.
bool EntryFilter::TakesJob(const Event& event) {
  if (!wanted.since && !wanted.until) return true;
  if (event.kind == EventKind::kDocument) job = Job::kUndecided;
  if (job == Job::kLeftOut && event.kind == EventKind::kEntry) entriesLeftOut += !event.continued;
  if (job != Job::kUndecided) return job == Job::kShown;
  undecided.push_back(event);
  const bool isStart = event.kind == EventKind::kEntry && event.element == kJobStartElement;
  const auto start = isStart ? TimeIn(event.text) : std::nullopt;
  const bool isHeadOver = event.kind == EventKind::kSet || event.kind == EventKind::kDocumentEnd ||
                          undecided.size() >= kMostHeadEvents;
  if (!start && !isHeadOver) return false;
  const bool isWanted = !start || ((!wanted.since || *start >= *wanted.since) &&
                                   (!wanted.until || *start <= *wanted.until));
  job = isWanted ? Job::kShown : Job::kLeftOut;
  for (const Event& held : std::exchange(undecided, {})) {
    if (isWanted) {
      Choose(held);
    } else if (held.kind == EventKind::kEntry) {
      entriesLeftOut += !held.continued;
    }
  }
  jobsLeftOut += !isWanted;
  return false;
}

void EntryFilter::Choose(const Event& event) {
  switch (event.kind) {
    case EventKind::kDocument:
    case EventKind::kDocumentEnd:
      Leave(event.depth);
      entries.clear();
      sink(event);
      return;
    case EventKind::kDamage:
      sink(event);
      return;
    case EventKind::kSet:
    case EventKind::kSection:
    case EventKind::kFolder:
      Leave(event.depth);
      LeaveEntries(event.depth);
      headings.push_back(event);
      if (event.kind == EventKind::kFolder && !insideFrom && IsWantedFolder(event.text)) {
        insideFrom = event.depth;
      }
      return;
    case EventKind::kEntry:
      break;
  }
  Leave(event.depth);
  const bool isShown = event.continued ? IsContinuationShown(event) : IsWantedEntry(event);
  if (!event.continued) {
    LeaveEntries(event.depth);
    entries.push_back({event.depth, event.element, isShown});
    entriesLeftOut += !isShown;
  }
  if (!isShown) return;
  for (const Event& heading : headings) sink(heading);
  headings.clear();
  sink(event);
}

// What is as deep or deeper is over.
void EntryFilter::Leave(std::size_t depth) {
  while (!headings.empty() && headings.back().depth >= depth) headings.pop_back();
  if (insideFrom && *insideFrom >= depth) insideFrom.reset();
}

void EntryFilter::LeaveEntries(std::size_t depth) {
  while (!entries.empty() && entries.back().depth >= depth) entries.pop_back();
}

bool EntryFilter::IsWantedEntry(const Event& entry) const {
  const bool hasCode = wanted.codes.empty() || std::ranges::count(wanted.codes, entry.code) > 0;
  return hasCode && entry.severity >= wanted.least && (wanted.folder.empty() || insideFrom);
}

// What goes on is the last entry, or one around it. The name of a folder goes on too.
bool EntryFilter::IsContinuationShown(const Event& entry) {
  LeaveEntries(entry.depth + 1);
  for (std::size_t i = entries.size(); i-- > 0;) {
    if (entries[i].element == entry.element) return entries[i].isShown;
  }
  return IsWantedEntry(entry);
}

bool EntryFilter::IsWantedFolder(const std::string& path) const {
  if (wanted.folder.empty()) return false;
  const std::string folder = NormalFolder(path, wanted.fold);
  return folder.starts_with(wanted.folder) &&
         (folder.size() == wanted.folder.size() || folder[wanted.folder.size()] == '\\');
}

}  // namespace vtclass::joblog
