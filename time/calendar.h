#ifndef VTCLASS_TIME_CALENDAR_H
#define VTCLASS_TIME_CALENDAR_H

#include <array>
#include <cstdint>
#include <ctime>

/* The calendar by which ticks of 100 nanoseconds since 1601-01-01 00:00 become fields and back. */
namespace vtclass::time {

/* By month, 1 to 12; [m] of the second is what months 1 to m of a common year have together. */
inline constexpr std::array<int, 13> kDaysInMonth = {0,  31, 28, 31, 30, 31, 30,
                                                     31, 31, 30, 31, 30, 31};
inline constexpr std::array<int, 13> kDaysPrecedingMonth = {0,   31,  59,  90,  120, 151, 181,
                                                            212, 243, 273, 304, 334, 365};

inline constexpr std::uint64_t kTicksPerMillisecond = 10'000;
inline constexpr std::uint64_t kTicksPerSecond = 1000 * kTicksPerMillisecond;
inline constexpr std::uint64_t kTicksPerDay = kTicksPerSecond * 60 * 60 * 24;

/* Divisible by 4 and not by 100, or by 400: one that 25 divides has to be divisible by 16. */
constexpr bool IsLeapYear(int year) noexcept {
  return (year % 25 == 0 ? year % 16 : year % 4) == 0;
}

/* Requires of all three: `month` is 1 to 12. */
constexpr int DaysInMonth(int month, int year) noexcept {
  return month == 2 && IsLeapYear(year) ? 29 : kDaysInMonth[static_cast<unsigned>(month)];
}
constexpr int DaysBeforeMonth(int month, int year) noexcept {
  const int leapDay = month > 2 && IsLeapYear(year) ? 1 : 0;
  return kDaysPrecedingMonth[static_cast<unsigned>(month) - 1] + leapDay;
}
constexpr int DaysThruEndOfMonth(int month, int year) noexcept {
  return DaysBeforeMonth(month, year) + DaysInMonth(month, year);
}

/* The ticks of a moment of the years 1601 to 30827; 0 for all other fields. */
std::uint64_t TicksOf(int year, int month, int day, int hour, int minute, int second,
                      int millisecond) noexcept;

/* Fills all fields: whole seconds, standard time. False, and nothing filled, for the first 2^32
 * ticks, which count as no time, and from 2^63 on, where the system's scale ends. */
bool BreakDown(std::uint64_t ticks, std::tm& time) noexcept;

}  // namespace vtclass::time

#endif
