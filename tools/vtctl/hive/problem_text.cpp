#include "tools/vtctl/hive/problem_text.h"

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"

namespace vtctl {
namespace {

using vtclass::hive::Problem;
using vtclass::hive::Severity;

std::string Sentence(const Problem& problem) {
  return std::string(problem.what) + " " + problem.fault;
}

std::wstring Hexadecimal(std::uint64_t number) {
  std::wstring digits;
  for (; number != 0 || digits.empty(); number >>= 4) {
    digits.insert(digits.begin(), L"0123456789abcdef"[number & 0xF]);
  }
  return L"0x" + digits;
}

const char* NameOf(Severity severity) { return severity == Severity::error ? "error" : "warning"; }

}  // namespace

std::wstring ShownPath(const std::wstring& path) { return L"\\" + Printable(path); }

std::wstring ProblemLine(const Problem& problem) {
  std::wstring line = FromUtf8(NameOf(problem.severity));
  line.resize(9, L' ');
  line += L"byte " + Hexadecimal(problem.at) + L"  " + FromUtf8(Sentence(problem));
  if (!problem.key.empty()) line += L", in " + ShownPath(std::wstring(problem.key));
  return line + L"\n";
}

Json ProblemJson(const Problem& problem) {
  return {{"severity", NameOf(problem.severity)},
          {"at", problem.at},
          {"text", Sentence(problem)},
          {"key", ToUtf8(problem.key)}};
}

}  // namespace vtctl
