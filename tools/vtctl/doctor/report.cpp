#include "tools/vtctl/doctor/report.h"

#include <algorithm>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/joined.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"

namespace vtctl::doctor {
namespace {

// Below so many columns sentences stand under the verdict and not beside it.
constexpr std::size_t kWide = 60;

struct VerdictWords {
  const wchar_t* shown;
  const wchar_t* colour;
  const char* word;              // for scripts
  const wchar_t *one, *several;  // in the summary
};
// In the order of Verdict.
constexpr VerdictWords kVerdicts[] = {
    {L"ok", L"\x1b[32m", "ok", L"ok", L"ok"},
    {L"note", L"\x1b[36m", "note", L"note", L"notes"},
    {L"warning", L"\x1b[33m", "warning", L"warning", L"warnings"},
    {L"PROBLEM", L"\x1b[31m", "problem", L"problem", L"problems"}};

const VerdictWords& WordsOf(Verdict verdict) {
  return kVerdicts[static_cast<std::size_t>(verdict)];
}

std::wstring Padded(std::wstring text, std::size_t width) {
  text.resize(std::max(text.size(), width), L' ');
  return text;
}

// "Why:  ...", set under the sentence that it belongs to.
std::wstring Explained(const wchar_t* label, const std::wstring& text, std::size_t indent,
                       std::size_t columns) {
  if (text.empty()) return {};
  const std::wstring first = std::wstring(indent, L' ') + label;
  return Wrapped(first, Printable(text), first.size(), columns);
}

std::wstring Text(const Finding& finding, std::size_t columns, bool colours) {
  const VerdictWords& words = WordsOf(finding.verdict);
  const bool isWide = columns >= kWide;
  const std::size_t indent = isWide ? 11 : 4;
  const std::wstring first = L"  " + Padded(words.shown, isWide ? 9 : 0) + (isWide ? L"" : L"  ");
  std::wstring text = Wrapped(first, Printable(finding.what), indent, columns);
  if (colours)
    text.replace(2, std::wcslen(words.shown),
                 words.colour + (words.shown + std::wstring(L"\x1b[0m")));
  return text + Explained(L"Why: ", finding.reason, indent, columns) +
         Explained(L"Do:  ", finding.remedy, indent, columns);
}

Json ToJson(const Finding& finding) {
  Json json = {{"severity", WordsOf(finding.verdict).word},
               {"code", finding.code},
               {"text", ToUtf8(finding.what)},
               {"reason", TextOrNull(finding.reason)},
               {"remedy", TextOrNull(finding.remedy)},
               {"path", TextOrNull(finding.path)},
               {"status", nullptr}};
  if (finding.status != 0) json["status"] = finding.status;
  return json;
}

}  // namespace

Verdict Worst(const Findings& findings) {
  Verdict worst = Verdict::ok;
  for (const Finding& finding : findings) worst = std::max(worst, finding.verdict);
  return worst;
}

int ExitCodeOf(Verdict worst) {
  if (worst == Verdict::problem) return kExitErrors;
  return worst == Verdict::warning ? kExitWarnings : kExitClean;
}

std::wstring Text(const Header& header, std::size_t columns) {
  return Wrapped(L"",
                 L"What agents find on " +
                     (header.computer.empty() ? L"this machine" : Printable(header.computer)) +
                     L", looked at by the account " + Printable(header.account) + L" at " +
                     header.time + L". The product's keys lie below " + header.root + L".",
                 0, columns);
}

std::wstring Text(const CheckResult& result, std::size_t columns, bool colours) {
  std::wstring text = std::wstring(result.row.title) + L"\n";
  for (const Finding& finding : result.findings) text += Text(finding, columns, colours);
  return text;
}

std::wstring Summary(const Report& report) {
  std::size_t counts[std::size(kVerdicts)] = {};
  for (const CheckResult& result : report.results) {
    for (const Finding& finding : result.findings) {
      ++counts[static_cast<std::size_t>(finding.verdict)];
    }
  }
  std::wstring text;
  for (std::size_t i = std::size(kVerdicts); i-- > 0;) {
    if (counts[i] == 0) continue;
    text += (text.empty() ? L"" : L", ") + std::to_wstring(counts[i]) + L" " +
            (counts[i] == 1 ? kVerdicts[i].one : kVerdicts[i].several);
  }
  text = (text.empty() ? L"Nothing found" : text) + L".";
  if (report.interrupted.empty()) return text;
  return text + L" Interrupted: nothing, or not all, is known of " + Joined(report.interrupted) +
         L".";
}

Verdict Worst(const std::vector<CheckResult>& results) {
  Verdict worst = Verdict::ok;
  for (const CheckResult& result : results) worst = std::max(worst, Worst(result.findings));
  return worst;
}

Json ToJson(const Header& header, const Report& report) {
  Json json = {{"time", ToUtf8(header.time)},
               {"computer", TextOrNull(header.computer)},
               {"account", TextOrNull(header.account)},
               {"key", ToUtf8(header.root)},
               {"severity", WordsOf(Worst(report.results)).word},
               {"interrupted", Json::array()},
               {"checks", Json::array()}};
  for (const std::wstring& name : report.interrupted) json["interrupted"].push_back(ToUtf8(name));
  for (const CheckResult& result : report.results) {
    Json findings = Json::array();
    for (const Finding& finding : result.findings) findings.push_back(ToJson(finding));
    json["checks"].push_back({{"check", result.row.name},
                              {"severity", WordsOf(Worst(result.findings)).word},
                              {"milliseconds", result.milliseconds},
                              {"findings", findings}});
  }
  return json;
}

}  // namespace vtctl::doctor
