#include "joblog/code_filter.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace vtclass::joblog {
namespace {

constexpr std::string_view kPrefix = "Q-79-";

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

CodeFilter::CodeFilter(std::vector<std::string> wantedCodes, EventSink to)
    : codes(std::move(wantedCodes)), sink(std::move(to)) {}

void CodeFilter::Handle(const Event& event) {
  if (codes.empty()) {
    sink(event);
    return;
  }
  switch (event.kind) {
    case EventKind::kDocument:
    case EventKind::kDamage:
    case EventKind::kDocumentEnd:
      sink(event);
      return;
    case EventKind::kSet:
    case EventKind::kSection:
    case EventKind::kFolder:
      while (!headings.empty() && headings.back().depth >= event.depth) headings.pop_back();
      headings.push_back(event);
      return;
    case EventKind::kEntry:
      break;
  }
  while (!headings.empty() && headings.back().depth >= event.depth) headings.pop_back();
  if (!event.continued) showsContinuation = std::ranges::count(codes, event.code) > 0;
  if (!showsContinuation) return;
  for (const Event& heading : headings) sink(heading);
  headings.clear();
  sink(event);
}

}  // namespace vtclass::joblog
