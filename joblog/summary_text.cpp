#include "joblog/summary_text.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "joblog/text_view.h"
#include "joblog/utf8.h"

namespace vtclass::joblog {
namespace {

constexpr std::size_t kShownCauses = 15;
constexpr std::size_t kShownJobs = 50;
constexpr std::size_t kShownGaps = 5;
constexpr std::size_t kLabelColumns = 17;
constexpr std::size_t kCountColumns = 9;

std::string_view Colour(Outcome outcome) {
  if (outcome >= Outcome::kDamaged) return "\x1b[31m";
  return outcome >= Outcome::kSkipped ? "\x1b[33m" : "\x1b[1m";
}

std::string_view Colour(Severity severity) {
  if (severity == Severity::kError) return "\x1b[31m";
  return severity == Severity::kWarning ? "\x1b[33m" : "";
}

// Collects lines of text that may be anybody's.
class Lines {
 public:
  explicit Lines(bool withColour) : colour(withColour) {}

  void Add(std::string_view line, std::string_view style = "") {
    if (colour) text += style;
    AppendPrintable(line, " ", text);
    text += colour && !style.empty() ? "\x1b[0m\n" : "\n";
  }
  void Heading(std::string_view title) {
    text += '\n';
    Add(title, "\x1b[1m");
  }
  void Total(std::string name, std::uint64_t count) {
    name.resize(std::max(name.size(), kLabelColumns), ' ');
    Add("  " + name + " " + GroupedNumber(count));
  }
  std::string Take() { return std::move(text); }

 private:
  bool colour;
  std::string text;
};

std::string RightAligned(std::uint64_t number) {
  const std::string plain = GroupedNumber(number);
  return std::string(kCountColumns - std::min(kCountColumns, plain.size()), ' ') + plain;
}

void AddTotals(const Tally& tally, Lines& lines) {
  lines.Heading("Totals");
  lines.Total("Errors", tally.errors);
  lines.Total("Warnings", tally.warnings);
  lines.Total("Recommendations", tally.recommendations);
  lines.Total("Skipped", tally.skipped);
  if (tally.damages > 0) lines.Total("Damaged places", tally.damages);
  if (tally.cutOff > 0) lines.Total("Logs cut off", tally.cutOff);
  lines.Total("Job logs", tally.documents);
  lines.Total("Sets", tally.sets);
  lines.Total("Folders", tally.folders);
  lines.Total("Entries", tally.entries);
  if (tally.leftOut > 0) lines.Total("Entries left out", tally.leftOut);
  if (tally.leftOutJobs > 0) lines.Total("Jobs left out", tally.leftOutJobs);
}

void AddCauses(const Summary& summary, Lines& lines) {
  const auto [causes, further] = summary.Causes(kShownCauses);
  if (causes.empty()) return;
  lines.Heading("Reasons");
  for (const Cause& cause : causes) {
    lines.Add(RightAligned(cause.count) + "  " + CauseKind(cause) + ": " + CauseLabel(cause) +
                  (cause.code.empty() ? "" : " (" + cause.code + ")"),
              Colour(cause.severity));
    if (!cause.first.text.empty()) {
      lines.Add(std::string(kCountColumns + 2, ' ') + "such as: " + cause.first.text);
    }
  }
  if (further > 0) lines.Add(RightAligned(further) + "  with further reasons");
}

std::string TimeText(const Job& job) {
  if (!job.started) return "";
  std::string text = ", began " + IsoText(*job.started);
  if (job.ended) text += ", took " + DurationText(job.ended->seconds - job.started->seconds);
  return text;
}

void AddJobs(const Summary& summary, Lines& lines) {
  const auto& jobs = summary.Jobs();
  if (jobs.empty()) return;
  lines.Heading(jobs.size() == 1 ? "Job" : "Jobs");
  for (std::size_t i = 0; i < std::min(jobs.size(), kShownJobs); ++i) {
    const Job& job = jobs[i];
    const Outcome result = job.tally.Result();
    const bool isBad = result > Outcome::kPartial;
    lines.Add("  " + job.file + ": " + Headline(job.tally) + TimeText(job),
              isBad ? Colour(result) : "");
    for (const std::string* fact : {&job.name, &job.server, &job.status}) {
      if (!fact->empty()) lines.Add("    " + *fact);
    }
  }
  const std::uint64_t further =
      jobs.size() - std::min(jobs.size(), kShownJobs) + summary.FurtherJobs();
  if (further > 0) lines.Add("  and " + GroupedNumber(further) + " more");
}

void AddGaps(const Summary& summary, Lines& lines) {
  const auto& gaps = summary.Gaps();
  if (gaps.empty()) return;
  lines.Heading("Where the time went");
  for (std::size_t i = 0; i < std::min(gaps.size(), kShownGaps); ++i) {
    lines.Add("  " + DurationText(gaps[i].Seconds()) + "  from \"" + gaps[i].before + "\" to \"" +
              gaps[i].after + "\"");
  }
}

}  // namespace

std::string GroupedNumber(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, 1, ',');
  return text;
}

std::string Counted(std::uint64_t count, const std::string& what) {
  return GroupedNumber(count) + " " + what + (count == 1 ? "" : "s");
}

std::string DurationText(std::int64_t seconds) {
  const auto two = [](std::int64_t number) {
    return (number < 10 ? ":0" : ":") + std::to_string(number);
  };
  const std::int64_t length = std::max<std::int64_t>(seconds, 0);
  return std::to_string(length / 3600) + two(length / 60 % 60) + two(length % 60);
}

std::string Headline(const Tally& tally) {
  if (tally.documents == 0) return "No job log was left to show";
  std::string text;
  const auto add = [&](std::uint64_t count, const std::string& what, const char* behind) {
    if (count > 0) text += (text.empty() ? "" : ", ") + Counted(count, what) + behind;
  };
  add(tally.errors, "error", "");
  add(tally.warnings, "warning", "");
  if (text.empty()) text = "No errors and no warnings";
  if (tally.leftOut > 0) text += " in what is shown";
  if (tally.leftOut == 0 && (tally.wrapped > 0 || tally.damages > 0)) {
    text += " in what can be read";
  }
  add(tally.skipped, "item", " skipped");
  add(tally.damages, "damaged place", "");
  add(tally.EarlierCutOff(), "earlier log", " cut off");
  return tally.lastIsClosed ? text : text + ", and the log is cut off";
}

const char* OutcomeName(Outcome outcome) {
  static constexpr const char* kNames[] = {"clean",   "partial", "skipped",   "warnings",
                                           "damaged", "errors",  "unfinished"};
  return kNames[static_cast<std::size_t>(outcome)];
}

const char* CauseKind(const Cause& cause) {
  if (cause.isSkipped) return "skipped";
  if (cause.severity == Severity::kError) return "error";
  return cause.severity == Severity::kWarning ? "warning" : "recommendation";
}

std::string SummaryText(const Summary& summary, std::optional<bool> isOpen, bool withColour) {
  Lines lines(withColour);
  const Tally& total = summary.Total();
  lines.Add(Headline(total) + ".", Colour(summary.Result()));
  if (total.documents > 0) lines.Add("The log is " + EndingText(total, isOpen) + ".");
  AddTotals(total, lines);
  AddCauses(summary, lines);
  AddGaps(summary, lines);
  AddJobs(summary, lines);
  return lines.Take();
}

}  // namespace vtclass::joblog
