#include "joblog/html_view.h"

#include <algorithm>
#include <utility>

#include "joblog/element_names.h"
#include "joblog/page_parts.h"
#include "joblog/text_view.h"
#include "joblog/utf8.h"

namespace vtclass::joblog {
namespace {

// Browsers lay out nested boxes by recursion.
constexpr std::size_t kMaxNest = 24;

constexpr std::string_view kSeverityClasses[] = {"info", "recommendation", "warning", "error"};

bool IsGroup(EventKind kind) {
  return kind == EventKind::kSet || kind == EventKind::kSection || kind == EventKind::kFolder;
}

std::string_view SeverityClass(Severity severity) {
  return kSeverityClasses[static_cast<std::size_t>(severity)];
}

// 1234567 as 1,234,567.
std::string Number(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, 1, ',');
  return text;
}

std::string Plural(std::uint64_t count, const std::string& what) {
  return Number(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Headline(const Tally& tally) {
  std::string text = "No errors and no warnings";
  if (tally.errors > 0) {
    text = Plural(tally.errors, "error") + " and " + Plural(tally.warnings, "warning");
  } else if (tally.warnings > 0) {
    text = Plural(tally.warnings, "warning") + ", no errors";
  }
  return tally.lastIsClosed ? text : text + ", and the log is cut off";
}

std::string GroupTitle(const Event& event) {
  if (event.kind == EventKind::kSet) return "Set " + std::to_string(event.number);
  if (event.kind == EventKind::kFolder) {
    return event.text.empty() ? "(folder without a name)" : event.text;
  }
  return Label(event.element) + (event.type.empty() ? "" : " (" + Label(event.type) + ")");
}

void AppendEntry(const Event& event, std::string& page) {
  const bool isInfo = event.severity == Severity::kInfo;
  page += "<p class=\"entry ";
  page += SeverityClass(event.severity);
  page += "\" data-kind=\"";
  page += SeverityClass(event.severity);
  page += "\">";
  if (!isInfo) {
    page += "<b>";
    page += SeverityName(event.severity);
    page += event.continued ? " (continued)</b> " : "</b> ";
  }
  if (!event.code.empty()) {
    page += "<code>";
    AppendHtml(event.code, page);
    page += "</code> ";
  }
  if (isInfo && NeedsLabel(event)) {
    page += "<i>";
    AppendHtml(Label(event.element), page);
    page += event.text.empty() ? "</i>" : ":</i> ";
  }
  page += "<span>";
  AppendHtml(event.text, page);
  page += "</span>";
  if (!event.type.empty() && !event.continued) {
    page += " <i>";
    AppendHtml(Label(event.type), page);
    page += "</i>";
  }
  if (event.partial) page += " <i>(cut off)</i>";
  page += "</p>\n";
}

void AppendNote(std::string_view mark, const std::string& text, std::string_view kind,
                std::string& page) {
  page += "<p class=\"entry ";
  page += kind;
  page += "\" data-kind=\"";
  page += kind;
  page += "\"><b>";
  page += mark;
  page += "</b> <span>";
  AppendHtml(text, page);
  page += "</span></p>\n";
}

void AppendCount(std::string_view what, std::uint64_t count, std::string_view kind,
                 std::string& page) {
  page += "<div";
  if (count > 0 && !kind.empty()) {
    page += " class=\"";
    page += kind;
    page += '"';
  }
  page += "><dt>";
  page += what;
  page += "</dt><dd>" + Number(count) + "</dd></div>\n";
}

void AppendFilter(std::string_view kind, std::string_view label, std::string& page) {
  page += R"(<label><input type="checkbox" checked value=")";
  page += kind;
  page += "\">";
  page += label;
  page += "</label>\n";
}

void AppendControls(const Tally& tally, std::string& page) {
  page +=
      "<form role=\"search\">\n<label class=\"search\">Search <input type=\"search\" "
      "autocomplete=\"off\" spellcheck=\"false\" placeholder=\"text, folder or code\" "
      "title=\"Press / to come here\"></label>\n<fieldset><legend>Severities shown</legend>\n";
  AppendFilter("error", "Errors", page);
  AppendFilter("warning", "Warnings", page);
  if (tally.recommendations > 0) AppendFilter("recommendation", "Recommendations", page);
  if (tally.damages > 0) AppendFilter("damage", "Damage", page);
  AppendFilter("info", "Information", page);
  page +=
      "</fieldset>\n<span><button type=\"button\" data-open=\"all\">Open all</button> "
      "<button type=\"button\" data-open=\"none\">Close all</button></span>\n"
      "<output role=\"status\"></output>\n</form>\n";
}

void CloseGroups(std::size_t keep, std::size_t& open, std::string& page) {
  for (; open > keep; --open) page += "</div></details>\n";
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

HtmlView::HtmlView(std::string fileName) : name(std::move(fileName)) {}

void HtmlView::Handle(const Event& event) { items.push_back({event, {}}); }

// Adds what each entry counts to its group, and each group that ends to the one around it.
void HtmlView::CountGroups() {
  std::vector<std::size_t> open;
  const auto closeTo = [&](std::size_t depth) {
    while (!open.empty() && items[open.back()].event.depth >= depth) {
      const Counts& inner = items[open.back()].counts;
      open.pop_back();
      if (open.empty()) continue;
      Counts& outer = items[open.back()].counts;
      outer.entries += inner.entries;
      outer.warnings += inner.warnings;
      outer.errors += inner.errors;
    }
  };
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Event& event = items[i].event;
    if (event.kind == EventKind::kDamage) continue;
    closeTo(event.depth);
    if (IsGroup(event.kind)) open.push_back(i);
    if (event.kind != EventKind::kEntry || event.continued || open.empty()) continue;
    Counts& counts = items[open.back()].counts;
    ++counts.entries;
    if (event.severity == Severity::kWarning) ++counts.warnings;
    if (event.severity == Severity::kError) ++counts.errors;
  }
  closeTo(0);
}

void HtmlView::AppendHead(std::string& page) const {
  page +=
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src '";
  page += kPageStyleHash;
  page += "'; script-src '";
  page += kPageScriptHash;
  page +=
      "'; base-uri 'none'; form-action 'none'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>";
  AppendHtml(name, page);
  page += " - job log</title>\n<style>";
  page += kPageStyle;
  page += "</style>\n</head>\n<body>\n";
}

void HtmlView::AppendSummary(const Tally& tally, std::optional<bool> isOpen,
                             std::string& page) const {
  const Severity verdict = tally.Verdict();
  page += "<header>\n<h1>";
  AppendHtml(name, page);
  page += "</h1>\n<p class=\"verdict ";
  page += verdict == Severity::kInfo ? "good" : SeverityClass(verdict);
  page += "\">";
  page += Headline(tally);
  page += "<small>The log is ";
  AppendHtml(EndingText(tally, isOpen), page);
  page += ".</small></p>\n<dl class=\"counts\">\n";
  AppendCount("Errors", tally.errors, "error", page);
  AppendCount("Warnings", tally.warnings, "warning", page);
  if (tally.recommendations > 0) {
    AppendCount("Recommendations", tally.recommendations, "recommendation", page);
  }
  if (tally.damages > 0) AppendCount("Damaged places", tally.damages, "recommendation", page);
  if (tally.documents > 1) AppendCount("Job logs", tally.documents, "", page);
  AppendCount("Sets", tally.sets, "", page);
  AppendCount("Folders", tally.folders, "", page);
  AppendCount("Entries", tally.entries, "", page);
  page += "</dl>\n</header>\n";
}

// Sets and what holds a problem are open; a folder with nothing but files is closed.
void HtmlView::AppendGroup(const Item& item, std::string& page) const {
  const bool isFolder = item.event.kind == EventKind::kFolder;
  const bool hasProblem = item.counts.errors > 0 || item.counts.warnings > 0;
  page += isFolder ? "<details class=\"folder\"" : "<details";
  page += hasProblem || !isFolder ? " open><summary><span>" : "><summary><span>";
  AppendHtml(GroupTitle(item.event), page);
  page += "</span>";
  if (item.event.partial) page += " (cut off)";
  if (item.counts.errors > 0) {
    page += " <span class=\"tag error\">" + Plural(item.counts.errors, "error") + "</span>";
  }
  if (item.counts.warnings > 0) {
    page += " <span class=\"tag warning\">" + Plural(item.counts.warnings, "warning") + "</span>";
  }
  if (isFolder && !hasProblem && item.counts.entries > 0) {
    page += " <span class=\"tag\">" + Number(item.counts.entries);
    page += item.counts.entries == 1 ? " entry</span>" : " entries</span>";
  }
  page += "</summary><div>\n";
}

std::string HtmlView::Page(const Tally& tally, std::optional<bool> isOpen) {
  CountGroups();
  std::string page;
  AppendHead(page);
  AppendSummary(tally, isOpen, page);
  page += "<main>\n";
  AppendControls(tally, page);
  std::size_t open = 0;
  for (const Item& item : items) {
    const Event& event = item.event;
    const std::size_t depth = std::min(event.depth, kMaxNest);
    if (event.kind != EventKind::kDamage) CloseGroups(depth, open, page);
    if (IsGroup(event.kind)) {
      AppendGroup(item, page);
      ++open;
    } else if (event.kind == EventKind::kEntry) {
      AppendEntry(event, page);
    } else if (event.kind == EventKind::kDamage) {
      AppendNote("Damaged at " + PositionText(event.at), event.text, "damage", page);
    } else if (event.kind == EventKind::kDocument) {
      page += "<section>\n<h2>Job log " + std::to_string(event.document) + "<small>";
      AppendHtml(DocumentText(event), page);
      page += "</small></h2>\n<div class=\"log\">\n";
    } else {
      if (!event.closed) {
        AppendNote("Cut off",
                   "at " + PositionText(event.at) + (event.text.empty() ? "" : ", " + event.text),
                   "error", page);
      }
      page += "</div>\n</section>\n";
    }
  }
  page += "</main>\n<script>";
  page += kPageScript;
  page += "</script>\n</body>\n</html>\n";
  return page;
}

}  // namespace vtclass::joblog
