#include "joblog/comparison.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <unordered_map>

#include "joblog/element_names.h"
#include "joblog/summary_text.h"
#include "joblog/utf8.h"

namespace vtclass::joblog {
namespace {

std::string KeyOf(const Finding& finding) {
  const Event& entry = finding.entry;
  std::string key = std::to_string(static_cast<int>(entry.severity));
  for (const std::string* part : {&entry.code, &entry.type, &finding.path, &entry.text}) {
    (key += '\0') += *part;
  }
  return key;
}

using Counts = std::unordered_map<std::string, std::uint64_t>;

// Those of the list that are more often than in the other one.
std::vector<Finding> Surplus(const std::vector<Finding>& list, const std::vector<Finding>& other) {
  Counts left;
  for (const Finding& finding : other) ++left[KeyOf(finding)];
  std::vector<Finding> surplus;
  for (const Finding& finding : list) {
    const auto found = left.find(KeyOf(finding));
    if (found != left.end() && found->second > 0) {
      --found->second;
    } else {
      surplus.push_back(finding);
    }
  }
  return surplus;
}

void AddList(const std::string& title, const std::vector<Finding>& list, const char* mark,
             const char* colour, std::string& text) {
  text += title + ": " + GroupedNumber(list.size()) + "\n";
  for (const Finding& finding : list) {
    const Event& entry = finding.entry;
    std::string line = std::string(SeverityName(entry.severity));
    if (!entry.code.empty()) line += " " + entry.code;
    line += ": " + (entry.text.empty() ? Label(entry.type) : entry.text);
    // The same message may come of many folders.
    if (line.find(finding.path) == std::string::npos) line += " [" + finding.path + "]";
    text += colour;
    text += mark;
    AppendPrintable(line, " ", text);
    text += *colour ? "\x1b[0m\n" : "\n";
  }
  text += '\n';
}

}  // namespace

void Findings::Handle(const Event& event) {
  trail.Handle(event);
  if (event.kind != EventKind::kEntry || event.severity < Severity::kWarning) return;
  if (!event.continued) {
    all.push_back({event, trail.Path()});
    return;
  }
  if (all.empty()) return;
  // What another finding stands in before the rest of its text is not put together again.
  Event& last = all.back().entry;
  if (last.element == event.element && last.type == event.type) last.text += " " + event.text;
}

Severity Comparison::Worst() const {
  Severity worst = Severity::kInfo;
  for (const Finding& finding : fresh) worst = std::max(worst, finding.entry.severity);
  return worst;
}

Comparison Compare(const std::vector<Finding>& before, const std::vector<Finding>& now) {
  Comparison comparison;
  comparison.gone = Surplus(before, now);
  comparison.fresh = Surplus(now, before);
  comparison.same = now.size() - comparison.fresh.size();
  return comparison;
}

std::string ComparisonText(const Comparison& comparison, const Tally& before, const Tally& now,
                           bool withColour) {
  std::string text;
  AddList("Fails now and did not before", comparison.fresh, "  + ", withColour ? "\x1b[31m" : "",
          text);
  AddList("Failed before and does not now", comparison.gone, "  - ", withColour ? "\x1b[32m" : "",
          text);
  text += "The same in both: " + GroupedNumber(comparison.same) + "\n";
  if (!now.IsWhole()) {
    text += "The newer log is not whole: what does not fail in it may stand in what is missing.\n";
  }
  if (!before.IsWhole()) {
    text += "The older log is not whole: what seems new may stand in what is missing there.\n";
  }
  return text;
}

std::optional<std::uint32_t> StatusIn(const Event& entry) {
  std::string_view text = entry.text;
  if (entry.severity < Severity::kWarning || !text.ends_with(')')) return std::nullopt;
  const std::size_t bracket = text.rfind(" (");
  if (bracket == std::string_view::npos) return std::nullopt;
  const std::string_view words = text.substr(0, bracket);
  if (!words.ends_with('.') && !words.ends_with("\xE3\x80\x82")) return std::nullopt;
  std::string_view number = text.substr(bracket + 2);
  number.remove_suffix(1);
  const bool isHexadecimal = number.starts_with("0x");
  if (isHexadecimal) number.remove_prefix(2);
  std::uint32_t status = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), status,
                                            isHexadecimal ? 16 : 10);
  if (status == 0 || error != std::errc() || end != number.data() + number.size())
    return std::nullopt;
  return status;
}

}  // namespace vtclass::joblog
