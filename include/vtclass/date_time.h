#ifndef VTCLASS_DATE_TIME_H
#define VTCLASS_DATE_TIME_H

#include <vtclass/win32.h>

#include <array>
#include <ctime>

#include "vtclass/export.h"
#include "vtclass/strings.h"

/*
 * Points in time, lengths of time, and a stopwatch.
 *
 * Time is counted in ticks of 100 nanoseconds; a point in time counts them from 1601-01-01 00:00,
 * as the system's file times do. No object knows whether its ticks are local time or UTC. What
 * takes the present (SetToNow, StopWatch) takes the local wall clock, and the conversion into
 * seconds since 1970 reads the ticks as local time; everything else is the same for both.
 *
 * Comparison and arithmetic are plain operations on the numbers that GetTicks returns.
 *
 * Failures: nothing here throws. Fields that do not exist become the value 0, which means no time;
 * conversions out of a DateTime answer 0 in place of a nonzero number, texts are empty.
 * Threads: objects are values; one object belongs to one thread at a time.
 */

/*
 * A record of eight fields that other modules and files know; see DateTimeConvert.
 */
// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): the interface has this name
struct _DATE_TIME {
  unsigned short valid;     /* 1: the other fields hold a time; 0: there is none */
  unsigned short year;      /* in full: 2009 */
  unsigned short month;     /* 1 to 12 */
  unsigned short day;       /* 1 to 31 */
  unsigned short hour;      /* 0 to 23 */
  unsigned short minute;    /* 0 to 59 */
  unsigned short second;    /* 0 to 59 */
  unsigned short dayOfWeek; /* 0 (Sunday) to 6 */
};

/*
 * A point in time: one unsigned 64-bit count of ticks.
 *
 * Into a DateTime. Fields exist when they name a moment of the Gregorian calendar in the years 1601
 * to 30827: the month 1 to 12, the day one of that month, the hour up to 23, minute and second up
 * to 59, the millisecond up to 999. All others give the value 0, on every system and whatever type
 * they come in; nothing is normalised: a month 13, a 29 February 2001 and a year of 65536 + 2009 do
 * not exist. Days of the week and of the year are ignored. The conversions are the library's own:
 * systems differ in what they take (29 February of a common year, the year 30828).
 *
 * Out of a DateTime. A value has a time from 2^32 ticks (1601-01-01 00:07:09) to 2^63 - 1
 * (30828-09-14). All others are refused, and what was to be filled is left as it was.
 *
 * Contract: the seven minutes below 2^32 ticks count as no time although fields may name them.
 * Records of times that were never set hold small numbers there, and must not become dates.
 */
class DateTime {
 public:
  enum PredefinedTime : int {
    CurrentTime = 0, /* the local wall clock, as SetToNow */
    NoTime = 1       /* the value 0; every other number means the same */
  };

  DateTime(PredefinedTime predefined) noexcept {
    if (predefined == CurrentTime) SetToNow();
  }

  /* The 64 bits of a file time, whatever they are. */
  DateTime(const FILETIME& time) noexcept
      : ticks(static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime) {}

  VTCLASS_API DateTime(const SYSTEMTIME& time) noexcept;

  VTCLASS_API DateTime(int year, int month, int day, int hour, int minute, int second,
                       int milliseconds) noexcept;

  /*
   * 1 January of `year`, 00:00, and `dayOffset` days: 0 is 1 January, -1 the day before. Computed
   * modulo 2^64: a moment up to 10,675,199 days before 1601 becomes a value that has no time, and
   * what lies further off, or beyond the last time, can become any.
   * Contract: of a year that does not exist the days alone are left, counted from 1601-01-01.
   */
  VTCLASS_API DateTime(int year, int dayOffset) noexcept;

  /* tm_year to tm_sec as they are. The daylight flag is ignored too. */
  VTCLASS_API DateTime(const tm& time) noexcept;

  /* The local wall clock, in milliseconds. It jumps where the clock is set and where daylight
   * saving begins and ends. */
  VTCLASS_API void SetToNow() noexcept;

  unsigned long long GetTicks() const noexcept { return ticks; }

  /* Each of these returns nonzero when it has filled `time`, and 0 when it was refused. */

  /* The 64 bits, whatever they are: is never refused. */
  int GetDateTime(FILETIME& time) const noexcept {
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return 1;
  }

  /* All eight fields. */
  VTCLASS_API int GetDateTime(SYSTEMTIME& time) const noexcept;

  /* All nine fields, in whole seconds. tm_isdst is 0 (standard time). */
  VTCLASS_API int GetDateTime(tm& time) const noexcept;

  /*
   * Seconds since 1970-01-01 00:00 UTC, in whole seconds. The value is read as local time, by the
   * zone and the daylight rules of the C run time (TZ in the environment, or the system's zone).
   * Contract: a time that the C run time cannot count (about: before 1970 or after the year 3000)
   * answers 0 and stores -1. A value that has no time stores nothing.
   */
  VTCLASS_API int GetDateTime(__int64& seconds) const noexcept;

  /*
   * The date and the time of day as the user's locale writes them; both return `out`. The date is
   * the locale's long one when `longDate` is not 0, otherwise the short one. `flags` goes to the
   * system's time formatting (GetTimeFormat) as it is: TIME_NOSECONDS, TIME_FORCE24HOURFORMAT, ...
   * A narrow text is what the system's narrow calls give, in the ANSI code page and with question
   * marks where that lacks a character; from then on `out` has the code page `acp`. Where the
   * user's locale and the system's have different ANSI code pages, take the wide form.
   *
   * A value that has no time gives an empty text; so does everything that the system refuses (flags
   * that contradict each other, ...), a locale that changes to a longer text in the middle of the
   * call, and a lack of memory.
   */
  wcstring& FormatDate(wcstring& out, int longDate) const noexcept;
  cstring& FormatDate(cstring& out, int longDate) const noexcept;
  wcstring& FormatTime(wcstring& out, unsigned flags = 0) const noexcept;
  cstring& FormatTime(cstring& out, unsigned flags = 0) const noexcept;

 protected:
  /* Nonzero when `y` is divisible by 4 and not by 100, or divisible by 400. Any number will do. */
  VTCLASS_API static int IsLeapYear(int y) noexcept;

  /* The days of a month. Requires: `month` is 1 to 12; nothing checks that. */
  VTCLASS_API static int DaysInMonth(int month, int year) noexcept;

  /* The days from 1 January to the end of a month. Requires: as above. */
  VTCLASS_API static int DaysThruEndOfMonth(int month, int year) noexcept;

  /* Of a common year, by month, 1 to 12; entry 0 is 0. */
  VTCLASS_API static const std::array<int, 13> days_in_month;
  /* Entry m: the days of the months 1 to m together. */
  VTCLASS_API static const std::array<int, 13> days_preceding_month;

 private:
  unsigned long long ticks = 0;
};

/*
 * Writes a DateTime into a record, and reads it back. Requires: the pointers are not null.
 *
 * Into a record: `valid` becomes 1 and the other fields the value's; where the value has no time,
 * `valid` becomes 0 and nothing else is written. Out of a record: 0 when `valid` is 0; otherwise
 * (any nonzero number will do) as from fields, with 0 milliseconds; dayOfWeek is ignored.
 */
VTCLASS_API void DateTimeConvert(const DateTime& in, _DATE_TIME* out) noexcept;
VTCLASS_API void DateTimeConvert(const _DATE_TIME* in, DateTime& out) noexcept;

/* A length of time: one signed 64-bit count of ticks. */
class TimeSpan {
 public:
  /* The sum of all five. Each may be any number, negative ones too: 90 minutes, -1 day and 25
   * hours. Computed modulo 2^64: beyond 29,227 years the number wraps. */
  constexpr TimeSpan(int days, int hours, int minutes, int seconds, int milliseconds) noexcept
      : ticks(Sum(days, hours, minutes, seconds, milliseconds)) {}

  constexpr long long GetTicks() const noexcept { return ticks; }

 private:
  friend class StopWatch;

  explicit constexpr TimeSpan(unsigned long long ticks) noexcept
      : ticks(static_cast<long long>(ticks)) {}

  static constexpr long long Sum(int days, int hours, int minutes, int seconds,
                                 int milliseconds) noexcept {
    const auto plus = [](unsigned long long sum, int number) {
      return sum + static_cast<unsigned long long>(static_cast<long long>(number));
    };
    const unsigned long long inHours = plus(plus(0, days) * 24, hours);
    const unsigned long long inSeconds = plus(plus(inHours * 60, minutes) * 60, seconds);
    return static_cast<long long>(plus(inSeconds * 1000, milliseconds) * 10000);
  }

  long long ticks;
};

/*
 * Adds up the time between its starts and stops.
 *
 * Contract: it reads the local wall clock, so the sum follows every change of it: an hour more or
 * less where daylight saving begins or ends, and less than nothing where the clock is set back. It
 * times what people see, not what a benchmark needs.
 */
class StopWatch {
 public:
  /* Stopped, at zero. */
  StopWatch() noexcept = default;

  /* Starts a stopped one; a running one goes on. */
  VTCLASS_API void Start() noexcept;

  /* Stops a running one and keeps the sum; a stopped one stays as it is. */
  VTCLASS_API void Stop() noexcept;

  /* Back to zero. A running one goes on from there. */
  VTCLASS_API void Reset() noexcept;

  /* The sum so far, with the time since the last start while it is running. */
  VTCLASS_API TimeSpan ElapsedTime() const noexcept;

 private:
  TimeSpan accumulatedTime = TimeSpan(0, 0, 0, 0, 0);
  DateTime startTime = DateTime::NoTime;
  bool running = false;
};

#include "vtclass/client/date_time.h"

#endif
