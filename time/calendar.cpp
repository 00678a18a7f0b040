#include "time/calendar.h"

namespace vtclass::time {

namespace {

struct Date {
  int year, month, day, dayOfYear;  // the month and the day of year from 0, the day from 1
};

// Counts in years that begin with 1 March, so that the leap day is the last of its year, its
// century and its 400 years, and from 1600, with which 400 years begin.
constexpr Date DateOf(unsigned days) noexcept {
  constexpr unsigned kDaysFromMarch1600 = 306;
  constexpr unsigned kDaysIn400Years = 146097;
  constexpr unsigned kDaysIn4Years = 1461;
  constexpr unsigned kDaysUpToNewYear = 306;
  const unsigned quarters = 4 * (days + kDaysFromMarch1600) + 3;
  const unsigned century = quarters / kDaysIn400Years;
  const unsigned quartersOfCentury = 4 * (quarters % kDaysIn400Years / 4) + 3;
  const unsigned yearOfCentury = quartersOfCentury / kDaysIn4Years;
  const unsigned fromMarch = quartersOfCentury % kDaysIn4Years / 4;
  const unsigned month = (5 * fromMarch + 2) / 153;  // five months have 153 days together
  const unsigned day = fromMarch - (153 * month + 2) / 5 + 1;
  const bool isLeap = (yearOfCentury != 0 ? yearOfCentury : century) % 4 == 0;
  const bool isNext = fromMarch >= kDaysUpToNewYear;
  return {static_cast<int>(1600 + 100 * century + yearOfCentury + (isNext ? 1 : 0)),
          static_cast<int>(month + 2 - (isNext ? 12 : 0)), static_cast<int>(day),
          static_cast<int>(isNext ? fromMarch - kDaysUpToNewYear : fromMarch + (isLeap ? 60 : 59))};
}

}  // namespace

std::uint64_t TicksOf(int year, int month, int day, int hour, int minute, int second,
                      int millisecond) noexcept {
  constexpr int kFirstYear = 1601;
  constexpr int kLastYear = 30827;
  // What lies below its range wraps to a number beyond it.
  const auto number = [](int field) { return static_cast<unsigned>(field); };
  const unsigned years = number(year) - kFirstYear;
  if (years > kLastYear - kFirstYear || number(month) - 1 > 11 || number(hour) > 23 ||
      number(minute) > 59 || number(second) > 59 || number(millisecond) > 999 ||
      number(day) - 1 >= number(DaysInMonth(month, year))) {
    return 0;
  }
  const unsigned days = 365 * years + years / 4 - years / 100 + years / 400 +
                        number(DaysBeforeMonth(month, year) + day - 1);
  const int milliseconds = ((hour * 60 + minute) * 60 + second) * 1000 + millisecond;
  return days * kTicksPerDay + number(milliseconds) * kTicksPerMillisecond;
}

bool BreakDown(std::uint64_t ticks, std::tm& time) noexcept {
  if (ticks >> 32 == 0 || ticks >> 63 != 0) return false;
  const auto days = static_cast<unsigned>(ticks / kTicksPerDay);
  const auto seconds = static_cast<unsigned>(ticks % kTicksPerDay / kTicksPerSecond);
  const Date date = DateOf(days);
  time.tm_sec = static_cast<int>(seconds % 60);
  time.tm_min = static_cast<int>(seconds / 60 % 60);
  time.tm_hour = static_cast<int>(seconds / 3600);
  time.tm_mday = date.day;
  time.tm_mon = date.month;
  time.tm_year = date.year - 1900;
  time.tm_wday = static_cast<int>((days + 1) % 7);  // 1601-01-01 was a Monday
  time.tm_yday = date.dayOfYear;
  time.tm_isdst = 0;
  return true;
}

}  // namespace vtclass::time
