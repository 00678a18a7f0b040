#include "vtclass/date_time.h"

#include "time/calendar.h"

using vtclass::time::TicksOf;

namespace {

// Wraps where it overflows, to a year or month that no calendar has.
constexpr int Sum(int a, unsigned b) noexcept {
  return static_cast<int>(static_cast<unsigned>(a) + b);
}

}  // namespace

constinit const std::array<int, 13> DateTime::days_in_month = vtclass::time::kDaysInMonth;
constinit const std::array<int, 13> DateTime::days_preceding_month =
    vtclass::time::kDaysPrecedingMonth;

DateTime::DateTime(const SYSTEMTIME& time) noexcept
    : DateTime(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond,
               time.wMilliseconds) {}

DateTime::DateTime(int year, int month, int day, int hour, int minute, int second,
                   int milliseconds) noexcept
    : ticks(TicksOf(year, month, day, hour, minute, second, milliseconds)) {}

DateTime::DateTime(int year, int dayOffset) noexcept : DateTime(year, 1, 1, 0, 0, 0, 0) {
  ticks += static_cast<unsigned long long>(static_cast<long long>(dayOffset)) *
           vtclass::time::kTicksPerDay;
}

DateTime::DateTime(const tm& time) noexcept
    : ticks(TicksOf(Sum(time.tm_year, 1900), Sum(time.tm_mon, 1), time.tm_mday, time.tm_hour,
                    time.tm_min, time.tm_sec, 0)) {}

void DateTime::SetToNow() noexcept {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  *this = DateTime(now);
}

int DateTime::GetDateTime(SYSTEMTIME& time) const noexcept {
  tm fields = {};
  if (!GetDateTime(fields)) return 0;
  const auto word = [](int number) { return static_cast<WORD>(number); };
  const auto milliseconds = static_cast<WORD>(ticks / vtclass::time::kTicksPerMillisecond % 1000);
  time = {word(fields.tm_year + 1900), word(fields.tm_mon + 1),
          word(fields.tm_wday),        word(fields.tm_mday),
          word(fields.tm_hour),        word(fields.tm_min),
          word(fields.tm_sec),         milliseconds};
  return 1;
}

int DateTime::GetDateTime(tm& time) const noexcept { return vtclass::time::BreakDown(ticks, time); }

int DateTime::GetDateTime(__int64& seconds) const noexcept {
  tm time = {};
  if (!GetDateTime(time)) return 0;
  time.tm_isdst = -1;
  seconds = ::_mktime64(&time);
  return seconds != -1;
}

int DateTime::IsLeapYear(int y) noexcept { return vtclass::time::IsLeapYear(y); }

int DateTime::DaysInMonth(int month, int year) noexcept {
  return vtclass::time::DaysInMonth(month, year);
}

int DateTime::DaysThruEndOfMonth(int month, int year) noexcept {
  return vtclass::time::DaysThruEndOfMonth(month, year);
}

void DateTimeConvert(const DateTime& in, _DATE_TIME* out) noexcept {
  SYSTEMTIME time = {};
  out->valid = in.GetDateTime(time) ? 1 : 0;
  if (out->valid) {
    *out = {1,          time.wYear,   time.wMonth,  time.wDay,
            time.wHour, time.wMinute, time.wSecond, time.wDayOfWeek};
  }
}

void DateTimeConvert(const _DATE_TIME* in, DateTime& out) noexcept {
  out = in->valid ? DateTime(in->year, in->month, in->day, in->hour, in->minute, in->second, 0)
                  : DateTime(DateTime::NoTime);
}
