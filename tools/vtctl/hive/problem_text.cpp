#include "tools/vtctl/hive/problem_text.h"

#include <algorithm>
#include <string_view>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"

namespace vtctl {
namespace {

using vtclass::hive::Problem;
using vtclass::hive::Severity;

std::string Sentence(const Problem& problem) {
  return std::string(problem.what) + " " + problem.fault;
}

// The part of the hive that the sentence is about: "The key's name" is "key-name".
std::string Code(const Problem& problem) {
  const std::string_view what = problem.what;
  std::string code(what.substr(what.find(' ') + 1));  // without its article
  if (const auto at = code.find("'s"); at != std::string::npos) code.erase(at, 2);
  std::ranges::replace(code, ' ', '-');
  return code;
}

const char* NameOf(Severity severity) { return severity == Severity::error ? "error" : "warning"; }

}  // namespace

std::wstring ShownPath(const std::wstring& path) { return L"\\" + Printable(path); }

std::wstring ProblemLine(const Problem& problem) {
  std::wstring line = FromUtf8(NameOf(problem.severity));
  line.resize(9, L' ');
  line += L"byte " + HexNumber(problem.at) + L"  " + FromUtf8(Sentence(problem));
  if (!problem.key.empty()) line += L", in " + ShownPath(std::wstring(problem.key));
  return line + L"\n";
}

Json ProblemJson(const Problem& problem) {
  return {{"severity", NameOf(problem.severity)},
          {"code", Code(problem)},
          {"path", ToUtf8(problem.key)},
          {"status", nullptr},  // the system is not asked
          {"at", problem.at},
          {"text", Sentence(problem)}};
}

}  // namespace vtctl
