#include "joblog/html_view.h"

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

#include "joblog/element_names.h"
#include "joblog/page_parts.h"
#include "joblog/summary_text.h"
#include "joblog/text_view.h"
#include "joblog/utf8.h"

namespace vtclass::joblog {
namespace {

constexpr std::size_t kShownCauses = 12;
constexpr std::size_t kShownGaps = 5;
constexpr std::size_t kShownJobs = 200;

// What a row is, in its first text: one of these letters, the depth, and "+" and "~" for an entry
// that is continued or partial. page.js reads them.
constexpr char kDocumentRow = 'D';
constexpr char kGroupRow = 'G';
constexpr char kFolderRow = 'F';
constexpr char kSettingsRow = 'S';
constexpr char kDamageRow = 'x';
constexpr char kCutRow = 'c';
constexpr char kEntryRows[] = {'i', 'r', 'w', 'e'};

constexpr std::string_view kSettingElements = "setting_";

// The text as a JSON string that may stand in a script element: no "<" can end it.
void AppendJsonText(std::string_view text, std::string& to) {
  std::string printable;
  AppendPrintable(text, "\n", printable);
  to += '"';
  for (const char letter : printable) {
    switch (letter) {
      case '"':
        to += "\\\"";
        break;
      case '\\':
        to += "\\\\";
        break;
      case '\n':
        to += "\\n";
        break;
      case '\t':
        to += "\\t";
        break;
      case '<':
        to += "\\u003c";
        break;
      default:
        to += letter;
    }
  }
  to += '"';
}

// A row; empty texts at its end are left out.
void AppendRow(char kind, const Event& event, std::initializer_list<std::string_view> texts,
               std::string& to) {
  to += "[\"";
  to += kind;
  to += std::to_string(event.depth);
  if (event.continued) to += '+';
  if (event.partial) to += '~';
  to += '"';
  std::vector<std::string_view> fields(texts);
  while (!fields.empty() && fields.back().empty()) fields.pop_back();
  for (const std::string_view field : fields) {
    to += ',';
    AppendJsonText(field, to);
  }
  to += "]\n";
}

std::string GroupTitle(const Event& event) {
  if (event.kind == EventKind::kSet) return "Set " + std::to_string(event.number);
  return Label(event.element) + (event.type.empty() ? "" : " (" + Label(event.type) + ")");
}

std::string_view OutcomeClass(Outcome outcome) {
  if (outcome >= Outcome::kDamaged) return "error";
  if (outcome >= Outcome::kSkipped) return "warning";
  return outcome == Outcome::kClean ? "good" : "partial";
}

void AppendElement(std::string_view name, std::string_view text, std::string& page) {
  page.append("<").append(name).append(">");
  AppendHtml(text, page);
  page.append("</").append(name).append(">");
}

void AppendHead(const std::string& title, std::string& page) {
  page +=
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src '";
  page += kPageStyleHash;
  page += "'; script-src '";
  page += kPageScriptHash;
  page +=
      "'; base-uri 'none'; form-action 'none'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>";
  AppendHtml(title, page);
  page += " - job log</title>\n<style>";
  page += kPageStyle;
  page += "</style>\n</head>\n<body>\n";
}

void AppendVerdict(const Summary& summary, const std::vector<std::string>& notRead,
                   std::optional<bool> isOpen, std::string& page) {
  const Tally& total = summary.Total();
  const std::string_view kind = notRead.empty() ? OutcomeClass(summary.Result()) : "error";
  page.append("<p class=\"verdict ").append(kind).append("\">");
  page += Headline(total);
  if (!notRead.empty()) page += ", and " + Counted(notRead.size(), "log") + " could not be read";
  page += "<small>";
  for (const std::string& name : notRead) AppendElement("span", "Not read: " + name, page);
  if (summary.Jobs().size() == 1) {
    const Job& job = summary.Jobs().front();
    for (const std::string* fact : {&job.name, &job.server, &job.status}) {
      if (!fact->empty()) AppendElement("span", *fact, page);
    }
  }
  if (total.documents > 0) {
    const char* const which = summary.Jobs().size() > 1 ? "The last log is " : "The log is ";
    AppendElement("span", which + EndingText(total, isOpen) + ".", page);
  }
  if (total.leftOut > 0) {
    AppendElement("span", "Entries left out by a filter: " + GroupedNumber(total.leftOut) + ".",
                  page);
  }
  page += "</small></p>\n";
}

void AppendCauses(const Summary& summary, std::string& page) {
  const auto [causes, further] = summary.Causes(kShownCauses);
  if (causes.empty()) return;
  page += "<section class=\"causes\">\n<h2>Reasons</h2>\n<ul>\n";
  for (const Cause& cause : causes) {
    page.append("<li class=\"").append(CauseKind(cause)).append("\"><b>");
    page += GroupedNumber(cause.count) + "</b> <span>";
    page.append(CauseKind(cause)).append(": ");
    // What the script looks for: texts that stand in the rows.
    const std::string words = !cause.code.empty() ? cause.code : Label(cause.type);
    page += R"(<button type="button" data-words=")";
    if (!cause.isSkipped) AppendHtml(words, page);
    page += "\">";
    AppendHtml(CauseLabel(cause), page);
    page += "</button>";
    if (!cause.code.empty()) {
      page += ' ';
      AppendElement("code", cause.code, page);
    }
    page += "</span>";
    if (!cause.first.text.empty()) AppendElement("small", cause.first.text, page);
    page += "</li>\n";
  }
  if (further > 0) page += "<li><b>" + GroupedNumber(further) + "</b> <span>further</span></li>\n";
  page += "</ul>\n</section>\n";
}

void AppendCount(std::string_view what, std::uint64_t count, std::string_view kind,
                 std::string& page) {
  page += "<div";
  if (count > 0 && !kind.empty()) page.append(" class=\"").append(kind).append("\"");
  page += "><dt>";
  page += what;
  page += "</dt><dd>" + GroupedNumber(count) + "</dd></div>\n";
}

void AppendCounts(const Tally& tally, std::string& page) {
  page += "<dl class=\"counts\">\n";
  AppendCount("Errors", tally.errors, "error", page);
  AppendCount("Warnings", tally.warnings, "warning", page);
  AppendCount("Skipped", tally.skipped, "warning", page);
  if (tally.recommendations > 0) {
    AppendCount("Recommendations", tally.recommendations, "recommendation", page);
  }
  if (tally.damages > 0) AppendCount("Damaged places", tally.damages, "recommendation", page);
  if (tally.documents > 1) AppendCount("Job logs", tally.documents, "", page);
  AppendCount("Sets", tally.sets, "", page);
  AppendCount("Folders", tally.folders, "", page);
  AppendCount("Entries", tally.entries, "", page);
  page += "</dl>\n";
}

void AppendJobs(const Summary& summary, std::string& page) {
  const auto& jobs = summary.Jobs();
  if (jobs.size() < 2) return;
  page +=
      "<section>\n<h2>Jobs</h2>\n<div class=\"wide\"><table>\n<tr><th>Log</th><th>Verdict</th>"
      "<th>Began</th><th>Took</th></tr>\n";
  for (std::size_t i = 0; i < std::min(jobs.size(), kShownJobs); ++i) {
    const Job& job = jobs[i];
    page += "<tr>";
    AppendElement("td", job.file + " (" + std::to_string(job.document) + ")", page);
    page.append("<td class=\"").append(OutcomeClass(job.tally.Result())).append("\">");
    page += Headline(job.tally) + "</td>";
    AppendElement("td", job.started ? IsoText(*job.started) : "", page);
    const bool isTimed = job.started && job.ended;
    AppendElement("td", isTimed ? DurationText(job.ended->seconds - job.started->seconds) : "",
                  page);
    page += "</tr>\n";
  }
  page += "</table></div>\n";
  const std::uint64_t further =
      jobs.size() - std::min(jobs.size(), kShownJobs) + summary.FurtherJobs();
  if (further > 0) page += "<p>and " + GroupedNumber(further) + " more</p>\n";
  page += "</section>\n";
}

void AppendGaps(const Summary& summary, std::string& page) {
  const auto& gaps = summary.Gaps();
  if (gaps.empty()) return;
  page +=
      "<section class=\"gaps\">\n<h2>Where the time went</h2>\n<div class=\"wide\"><table>\n"
      "<tr><th>Took</th><th>From</th><th>To</th></tr>\n";
  for (std::size_t i = 0; i < std::min(gaps.size(), kShownGaps); ++i) {
    page += "<tr>";
    AppendElement("td", DurationText(gaps[i].Seconds()), page);
    AppendElement("td", gaps[i].before, page);
    AppendElement("td", gaps[i].after, page);
    page += "</tr>\n";
  }
  page += "</table></div>\n</section>\n";
}

void AppendFilter(std::string_view rows, std::string_view label, std::string& page) {
  page += R"(<label><input type="checkbox" checked value=")";
  page += rows;
  page += "\">";
  page += label;
  page += "</label>\n";
}

void AppendControls(const Tally& tally, std::string& page) {
  page +=
      "<form role=\"search\">\n<label class=\"search\">Search <input type=\"search\" "
      "autocomplete=\"off\" spellcheck=\"false\" placeholder=\"text, folder or code\" "
      "title=\"Press / to come here\"></label>\n<fieldset><legend>Severities shown</legend>\n";
  AppendFilter("ec", "Errors", page);
  AppendFilter("w", "Warnings", page);
  if (tally.recommendations > 0) AppendFilter("r", "Recommendations", page);
  if (tally.damages > 0) AppendFilter("x", "Damage", page);
  AppendFilter("i", "Information", page);
  page +=
      "</fieldset>\n<span><button type=\"button\" data-open=\"1\">Open all</button> "
      "<button type=\"button\" data-open=\"0\">Close all</button></span>\n"
      "<output role=\"status\"></output>\n</form>\n"
      "<noscript><p>The entries of the log are shown by a script, and scripts are switched off "
      "here. Switch them on for this page, or read the log with: vtctl joblog "
      "show.</p></noscript>\n"
      "<div class=\"log\"></div>\n<nav hidden><button type=\"button\" data-step=\"-1\">Previous "
      "lines</button> <span></span> <button type=\"button\" data-step=\"1\">Next lines</button>"
      "</nav>\n";
}

}  // namespace

void AppendHtml(std::string_view text, std::string& to) {
  std::string printable;
  AppendPrintable(text, "\n", printable);
  for (const char letter : printable) {
    switch (letter) {
      case '&':
        to += "&amp;";
        break;
      case '<':
        to += "&lt;";
        break;
      case '>':
        to += "&gt;";
        break;
      case '"':
        to += "&quot;";
        break;
      case '\'':
        to += "&#39;";
        break;
      default:
        to += letter;
    }
  }
}

HtmlView::HtmlView(std::string pageTitle) : title(std::move(pageTitle)) {}

void HtmlView::BeginFile(const std::string& name) {
  file = name;
  summary.BeginFile(name);
}

void HtmlView::AddEntry(const Event& entry, std::string& to) const {
  const bool isLabelled = entry.severity == Severity::kInfo && NeedsLabel(entry);
  AppendRow(kEntryRows[static_cast<std::size_t>(entry.severity)], entry,
            {entry.text, entry.code, entry.continued ? "" : Label(entry.type),
             isLabelled ? Label(entry.element) : ""},
            to);
}

void HtmlView::Handle(const Event& event) {
  summary.Handle(event);
  switch (event.kind) {
    case EventKind::kDocument: {
      const std::string name = "Job log " + std::to_string(event.document);
      AppendRow(kDocumentRow, event, {name, DocumentText(event), file}, rows);
      return;
    }
    case EventKind::kSet:
    case EventKind::kSection:
      AppendRow(kGroupRow, event, {GroupTitle(event)}, rows);
      return;
    case EventKind::kFolder:
      AppendRow(kFolderRow, event,
                {event.text.empty() ? std::string_view("(folder without a name)") : event.text},
                rows);
      return;
    case EventKind::kEntry:
      if (event.element.starts_with(kSettingElements)) {
        Event setting = event;
        setting.depth = 1;
        AddEntry(setting, settings);
      } else {
        AddEntry(event, rows);
      }
      return;
    case EventKind::kDamage:
      AppendRow(kDamageRow, event, {event.text, "", PositionText(event.at)}, rows);
      return;
    case EventKind::kDocumentEnd:
      if (!event.closed) AppendRow(kCutRow, event, {event.text, "", PositionText(event.at)}, rows);
      if (!settings.empty()) AppendRow(kSettingsRow, event, {"Settings"}, rows);
      rows += std::exchange(settings, {});
  }
}

std::string HtmlView::Page(std::optional<bool> isOpen) const {
  std::string page;
  page.reserve(rows.size() + 65'536);
  AppendHead(title, page);
  page += "<header>\n<h1>";
  AppendHtml(title, page);
  page += "</h1>\n";
  AppendVerdict(summary, notRead, isOpen, page);
  AppendCauses(summary, page);
  AppendCounts(summary.Total(), page);
  AppendJobs(summary, page);
  AppendGaps(summary, page);
  page += "</header>\n<main>\n";
  AppendControls(summary.Total(), page);
  page += "</main>\n<script type=\"application/json\">";
  page += rows;
  page += "</script>\n<script>";
  page += kPageScript;
  page += "</script>\n</body>\n</html>\n";
  return page;
}

}  // namespace vtclass::joblog
