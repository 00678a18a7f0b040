#include "joblog/log_time.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace vtclass::joblog {
namespace {

constexpr std::string_view kDateShape = "dddd-dd-dd";
constexpr std::string_view kTimeShape = "dddd-dd-dd dd:dd:dd";
constexpr std::size_t kMinuteLength = 16; /* of "2025-01-31 22:00" */
constexpr std::string_view kFirst = "0000-01-01 00:00:00";
constexpr std::string_view kLast = "0000-01-01 23:59:59";

bool IsDigit(char letter) { return letter >= '0' && letter <= '9'; }

bool Fits(char letter, char shape) {
  if (shape == 'd') return IsDigit(letter);
  return letter == shape || (shape == ' ' && letter == 'T');
}

bool HasShape(std::string_view text, std::string_view shape) {
  return std::ranges::equal(text, shape, Fits);
}

int Number(std::string_view digits) {
  int number = 0;
  for (const char digit : digits) number = number * 10 + (digit - '0');
  return number;
}

// The text has the shape of a time.
std::optional<LogTime> TimeOf(std::string_view text) {
  using namespace std::chrono;
  const auto part = [&](std::size_t at) { return Number(text.substr(at, 2)); };
  const year_month_day date(year(Number(text.substr(0, 4))), month(static_cast<unsigned>(part(5))),
                            day(static_cast<unsigned>(part(8))));
  const int hours = part(11), minutes = part(14), seconds = part(17);
  if (!date.ok() || hours > 23 || minutes > 59 || seconds > 59) return std::nullopt;
  const std::int64_t days = sys_days(date).time_since_epoch().count();
  return LogTime{((days * 24 + hours) * 60 + minutes) * 60 + seconds};
}

void AppendNumber(std::string& text, unsigned number, std::size_t digits, const char* behind) {
  const std::string plain = std::to_string(number);
  text.append(digits - plain.size(), '0').append(plain).append(behind);
}

}  // namespace

std::string IsoText(LogTime time) {
  using namespace std::chrono;
  const sys_seconds moment{seconds(time.seconds)};
  const sys_days midnight = floor<days>(moment);
  const year_month_day date(midnight);
  const hh_mm_ss clock(moment - midnight);
  std::string text;
  AppendNumber(text, static_cast<unsigned>(static_cast<int>(date.year())), 4, "-");
  AppendNumber(text, static_cast<unsigned>(date.month()), 2, "-");
  AppendNumber(text, static_cast<unsigned>(date.day()), 2, "T");
  AppendNumber(text, static_cast<unsigned>(clock.hours().count()), 2, ":");
  AppendNumber(text, static_cast<unsigned>(clock.minutes().count()), 2, ":");
  AppendNumber(text, static_cast<unsigned>(clock.seconds().count()), 2, "");
  return text;
}

std::optional<LogTime> TimeIn(std::string_view text) {
  for (std::size_t at = 0; at + kTimeShape.size() <= text.size(); ++at) {
    const std::size_t end = at + kTimeShape.size();
    const bool standsAlone =
        (at == 0 || !IsDigit(text[at - 1])) && (end == text.size() || !IsDigit(text[end]));
    if (!standsAlone || !HasShape(text.substr(at, kTimeShape.size()), kTimeShape)) continue;
    if (const auto time = TimeOf(text.substr(at, kTimeShape.size()))) return time;
  }
  return std::nullopt;
}

std::optional<LogTime> ParseTime(std::string_view text, bool latest) {
  const bool isLengthKnown = text.size() == kDateShape.size() || text.size() == kMinuteLength ||
                             text.size() == kTimeShape.size();
  if (!isLengthKnown) return std::nullopt;
  std::string whole(text);
  whole += (latest ? kLast : kFirst).substr(text.size());
  return HasShape(whole, kTimeShape) ? TimeOf(whole) : std::nullopt;
}

}  // namespace vtclass::joblog
