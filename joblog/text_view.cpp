#include "joblog/text_view.h"

#include <algorithm>
#include <utility>

#include "joblog/element_names.h"
#include "joblog/utf8.h"

namespace vtclass::joblog {
namespace {

// Deeper nests stay at this indentation; they would only run out of the window.
constexpr std::size_t kMaxIndent = 20;
// Of a document; a log of raw markup would drown in them.
constexpr std::uint64_t kShownDamages = 20;

// What stands before an entry's text.
std::string EntryMark(const Event& entry) {
  if (entry.severity == Severity::kInfo) {
    std::string mark = entry.code.empty() ? "" : entry.code + ": ";
    if (!NeedsLabel(entry)) return mark;
    mark += Label(entry.element);
    if (!entry.type.empty()) mark += " (" + Label(entry.type) + ")";
    return entry.text.empty() ? mark : mark + ": ";
  }
  std::string mark(SeverityName(entry.severity));
  if (entry.continued) return mark + " (continued): ";
  if (!entry.code.empty()) mark += " " + entry.code;
  if (entry.text.empty() && !entry.type.empty()) return mark + ": " + Label(entry.type);
  return mark + ": ";
}

}  // namespace

std::string PositionText(const Position& at) {
  return "line " + std::to_string(at.line) + ", column " + std::to_string(at.column) + " (byte " +
         std::to_string(at.offset) + ")";
}

std::string DocumentText(const Event& document) {
  std::string text = document.encoding == Encoding::kUtf16 ? "UTF-16" : "ANSI";
  if (!document.text.empty()) text += ", version " + document.text;
  if (document.beginning == Beginning::kWrapped) {
    text += ", its beginning was cut away when the file wrapped";
  }
  if (document.beginning == Beginning::kNoHeader) text += ", without a header";
  return text;
}

std::string EndingText(const Tally& tally, std::optional<bool> isOpen) {
  if (tally.documents == 0) return "not shown";
  if (tally.lastIsClosed && tally.damages > 0) return "ended, but damaged";
  if (tally.lastIsClosed && tally.wrapped > 0) return "complete but for its beginning";
  if (tally.lastIsClosed) return "complete";
  std::string text = "cut off at " + PositionText(tally.lastEnd);
  if (!tally.lastCut.empty()) text += ", " + tally.lastCut;
  if (!isOpen) return text + " - the job did not end properly or may still be running";
  return text + (*isOpen ? " - another program has the log open, so the job may still be running"
                         : " - the job did not end properly");
}

TextView::TextView(TextSink to, bool withColour) : sink(std::move(to)), colour(withColour) {}

// `mark` takes the style's colour when text follows it; a line without mark takes it as a whole.
void TextView::Line(std::size_t depth, Style style, std::string_view mark, std::string_view text) {
  static constexpr std::string_view kColours[] = {"",         "\x1b[1m",  "\x1b[36m",
                                                  "\x1b[33m", "\x1b[31m", "\x1b[35m"};
  const std::string_view begin = colour ? kColours[static_cast<std::size_t>(style)] : "";
  const std::string_view end = begin.empty() ? "" : "\x1b[0m";
  const std::string indent(2 * std::min(depth, kMaxIndent), ' ');
  const std::string lineEnd = "\n" + indent + "  ";
  line = indent;
  line += begin;
  AppendPrintable(mark, " ", line);
  if (!mark.empty()) line += end;
  AppendPrintable(text, lineEnd, line);
  if (mark.empty()) line += end;
  line += '\n';
  sink(line);
}

void TextView::Entry(const Event& event) {
  static constexpr Style kStyles[] = {Style::kPlain, Style::kNote, Style::kWarning, Style::kError};
  const Style style = kStyles[static_cast<std::size_t>(event.severity)];
  std::string text = event.text;
  if (event.partial) text += text.empty() ? "(cut off)" : " (cut off)";
  Line(event.depth, style, EntryMark(event), text);
}

void TextView::Damage(const Event& event) {
  ++damages;
  if (damages > kShownDamages) return;
  Line(event.depth, Style::kNote, "Damaged at " + PositionText(event.at) + ": ", event.text);
}

void TextView::Handle(const Event& event) {
  switch (event.kind) {
    case EventKind::kDocument:
      damages = 0;
      if (event.document > 1) sink("\n");
      Line(0, Style::kHeading, "",
           "Job log " + std::to_string(event.document) + " (" + DocumentText(event) + ")");
      return;
    case EventKind::kSet:
      Line(event.depth, Style::kHeading, "", "Set " + std::to_string(event.number));
      return;
    case EventKind::kSection: {
      std::string text = Label(event.element);
      if (!event.type.empty()) text += " (" + Label(event.type) + ")";
      Line(event.depth, Style::kHeading, "", text);
      return;
    }
    case EventKind::kFolder:
      Line(event.depth, Style::kFolder, "",
           event.text.empty() ? "(folder without a name)" : event.text);
      return;
    case EventKind::kEntry:
      Entry(event);
      return;
    case EventKind::kDamage:
      Damage(event);
      return;
    case EventKind::kDocumentEnd:
      if (damages > kShownDamages) {
        Line(0, Style::kNote, "",
             "Damaged at " + std::to_string(damages - kShownDamages) + " more places");
      }
      if (event.closed) return;
      Line(0, Style::kError, "Cut off: ",
           "the log ends at " + PositionText(event.at) +
               (event.text.empty() ? "" : ", " + event.text));
      return;
  }
}

void TextView::Count(std::string_view what, std::uint64_t count, Style style) {
  std::string mark(what);
  mark.resize(18, ' ');
  Line(1, count > 0 ? style : Style::kPlain, mark, std::to_string(count));
}

void TextView::Close(const Tally& tally, std::optional<bool> isOpen) {
  sink("\n");
  Line(0, Style::kHeading, "", "Summary");
  Count("Job logs", tally.documents, Style::kPlain);
  Count("Sets", tally.sets, Style::kPlain);
  Count("Folders", tally.folders, Style::kPlain);
  Count("Entries", tally.entries, Style::kPlain);
  Count("Errors", tally.errors, Style::kError);
  Count("Warnings", tally.warnings, Style::kWarning);
  Count("Recommendations", tally.recommendations, Style::kNote);
  if (tally.skipped > 0) Count("Skipped", tally.skipped, Style::kWarning);
  if (tally.leftOut > 0) Count("Entries left out", tally.leftOut, Style::kNote);
  if (tally.leftOutJobs > 0) Count("Jobs left out", tally.leftOutJobs, Style::kNote);
  if (tally.damages > 0) Count("Damaged places", tally.damages, Style::kNote);
  if (tally.EarlierCutOff() > 0) Count("Logs cut off", tally.cutOff, Style::kWarning);
  const Severity worst = tally.Worst();
  Line(1, Style::kPlain, "Worst severity    ",
       worst == Severity::kInfo ? "none" : std::string(SeverityName(worst)));
  Line(1, tally.lastIsClosed ? Style::kPlain : Style::kError, "End of the log    ",
       EndingText(tally, isOpen));
}

}  // namespace vtclass::joblog
