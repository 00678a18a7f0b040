#include "joblog/tally.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace vtclass::joblog {
namespace {

constexpr std::string_view kTotalSkippedElement = "total_skipped";
constexpr std::size_t kMostDigits = 15;

bool IsDigit(char letter) { return letter >= '0' && letter <= '9'; }

// How long what groups digits is: a sign, or a blank of any width in UTF-8.
std::size_t GroupLength(std::string_view text) {
  for (const std::string_view sign : {",", ".", "'", " ", "\xC2\xA0", "\xE2\x80\xAF"}) {
    if (text.starts_with(sign)) return sign.size();
  }
  return 0;
}

// The first number of "Skipped: 1,234 of 2,000", whatever groups its digits.
std::uint64_t NumberIn(std::string_view text) {
  std::uint64_t number = 0;
  std::size_t at = text.find_first_of("0123456789");
  for (std::size_t digits = 0; at < text.size();) {
    if (IsDigit(text[at])) {
      if (++digits > kMostDigits) return number;
      number = number * 10 + static_cast<unsigned>(text[at++] - '0');
      continue;
    }
    const std::size_t group = GroupLength(text.substr(at));
    const std::string_view next = text.substr(at + group, 3);
    if (group == 0 || next.size() < 3 || !std::ranges::all_of(next, IsDigit)) break;
    at += group;
  }
  return number;
}

}  // namespace

void Tally::Add(const Event& event) {
  switch (event.kind) {
    case EventKind::kDocument:
      ++documents;
      if (event.beginning == Beginning::kWrapped) ++wrapped;
      break;
    case EventKind::kSet:
      ++sets;
      break;
    case EventKind::kFolder:
      ++folders;
      break;
    case EventKind::kDamage:
      ++damages;
      break;
    case EventKind::kSection:
      break;
    case EventKind::kEntry:
      if (event.continued) break;
      ++entries;
      if (event.severity == Severity::kRecommendation) ++recommendations;
      if (event.severity == Severity::kWarning) ++warnings;
      if (event.severity == Severity::kError) ++errors;
      if (event.element == kTotalSkippedElement) skipped += NumberIn(event.text);
      break;
    case EventKind::kDocumentEnd:
      lastIsClosed = event.closed;
      lastCut = event.text;
      lastEnd = event.at;
      if (!event.closed) ++cutOff;
      break;
  }
}

Severity Tally::Worst() const {
  if (errors > 0) return Severity::kError;
  if (warnings > 0) return Severity::kWarning;
  return recommendations > 0 ? Severity::kRecommendation : Severity::kInfo;
}

Severity Tally::Verdict() const {
  if (damages > 0) return Severity::kError;
  if (cutOff == 0) return Worst();
  return std::max(Worst(), lastIsClosed ? Severity::kWarning : Severity::kError);
}

Outcome Tally::Result() const {
  if (documents > 0 && !lastIsClosed) return Outcome::kUnfinished;
  if (errors > 0) return Outcome::kErrors;
  if (damages > 0) return Outcome::kDamaged;
  if (warnings > 0 || cutOff > 0) return Outcome::kWarnings;
  if (skipped > 0) return Outcome::kSkipped;
  return leftOut > 0 || wrapped > 0 ? Outcome::kPartial : Outcome::kClean;
}

}  // namespace vtclass::joblog
