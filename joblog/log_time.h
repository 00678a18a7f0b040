#ifndef VTCLASS_JOBLOG_LOG_TIME_H
#define VTCLASS_JOBLOG_LOG_TIME_H

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vtclass::joblog {

/* A moment by the clock of the machine that ran the job, whose time zone no log tells. */
struct LogTime {
  std::int64_t seconds = 0; /* since 1970-01-01T00:00:00 of that clock */
  auto operator<=>(const LogTime&) const = default;
};

/* "2025-01-31T22:00:00" */
std::string IsoText(LogTime time);

/* The first "2025-01-31 22:00:00" of a message in any language, with a blank or a "T" between. */
std::optional<LogTime> TimeIn(std::string_view text);

/* What an operator writes: "2025-01-31", "2025-01-31T22:00" or "2025-01-31 22:00:59". What is left
 * out stands for the earliest such moment, or with `latest` for the last one. */
std::optional<LogTime> ParseTime(std::string_view text, bool latest);

}  // namespace vtclass::joblog

#endif
