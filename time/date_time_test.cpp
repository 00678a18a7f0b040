#include "vtclass/date_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/support/import_hook.h"

namespace {

using vtclass::test::ImportHook;

constexpr unsigned long long kSecond = 10000000, kDay = 864000000000;
constexpr unsigned long long kLeastTime = 1ULL << 32;
constexpr unsigned long long kEnd = 1ULL << 63;

static_assert(sizeof(_DATE_TIME) == 16 && sizeof(DateTime) == 8 && sizeof(TimeSpan) == 8);

FILETIME Split(unsigned long long ticks) {
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Year, month, day, hour, minute, second, millisecond.
using Seven = std::array<int, 7>;

WORD Word(int number) { return static_cast<WORD>(number); }

DateTime FromNumbers(const Seven& f) { return {f[0], f[1], f[2], f[3], f[4], f[5], f[6]}; }

SYSTEMTIME AsSystemTime(const Seven& f, int dayOfWeek = 9) {
  return {Word(f[0]), Word(f[1]), Word(dayOfWeek), Word(f[2]),
          Word(f[3]), Word(f[4]), Word(f[5]),      Word(f[6])};
}

_DATE_TIME AsRecord(const Seven& f, int valid = 7) {
  return {Word(valid), Word(f[0]), Word(f[1]), Word(f[2]), Word(f[3]), Word(f[4]), Word(f[5]), 9};
}

// Years and months beyond a `tm` wrap, so that adding 1900 and 1 to them overflows.
tm AsTm(const Seven& f, int dayOfWeek = 9, int dayOfYear = 999) {
  const auto less = [](int a, unsigned b) {
    return static_cast<int>(static_cast<unsigned>(a) - b);
  };
  return {f[5], f[4], f[3], f[2], less(f[1], 1), less(f[0], 1900), dayOfWeek, dayOfYear, 0};
}

template <typename Record>
bool Equal(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

std::string Text(const Seven& f) {
  std::string text;
  for (const int number : f) text += std::to_string(number) + " ";
  return text;
}

// Fields in every type that can hold them; those without milliseconds count to the second.
void ExpectTicks(const Seven& f, unsigned long long ticks, unsigned long long toTheSecond) {
  const _DATE_TIME record = AsRecord(f);
  DateTime value = DateTime::CurrentTime;
  DateTimeConvert(&record, value);
  ASSERT_EQ(FromNumbers(f).GetTicks(), ticks) << Text(f);
  ASSERT_EQ(DateTime(AsTm(f)).GetTicks(), toTheSecond) << Text(f);
  if (!std::ranges::all_of(f, [](int number) { return number == Word(number); })) return;
  ASSERT_EQ(DateTime(AsSystemTime(f)).GetTicks(), ticks) << Text(f);
  ASSERT_EQ(value.GetTicks(), toTheSecond) << Text(f);
}

struct Helpers : DateTime {
  using DateTime::days_in_month;
  using DateTime::days_preceding_month;
  using DateTime::DaysInMonth;
  using DateTime::DaysThruEndOfMonth;
  using DateTime::IsLeapYear;
};

unsigned long long BySystem(const SYSTEMTIME& fields) {
  FILETIME time = {};
  EXPECT_TRUE(::SystemTimeToFileTime(&fields, &time));
  return DateTime(time).GetTicks();
}

void ExpectThisTime(unsigned long long ticks) {
  const FILETIME fileTime = Split(ticks);
  SYSTEMTIME expected = {}, systemTime = {};
  ASSERT_TRUE(::FileTimeToSystemTime(&fileTime, &expected));
  const Seven f = {expected.wYear,   expected.wMonth,  expected.wDay,         expected.wHour,
                   expected.wMinute, expected.wSecond, expected.wMilliseconds};
  ASSERT_NO_FATAL_FAILURE(ExpectTicks(f, ticks, ticks - ticks % kSecond));
  const DateTime value = FromNumbers(f);
  tm time = {};
  _DATE_TIME record = {};
  DateTimeConvert(value, &record);
  ASSERT_TRUE(value.GetDateTime(systemTime)) << Text(f);
  ASSERT_TRUE(value.GetDateTime(time)) << Text(f);
  ASSERT_TRUE(Equal(systemTime, expected)) << Text(f);
  const unsigned long long newYear = BySystem({expected.wYear, 1, 0, 1, 0, 0, 0, 0});
  const auto dayOfYear = static_cast<int>((ticks - newYear) / kDay);
  ASSERT_TRUE(Equal(time, AsTm(f, expected.wDayOfWeek, dayOfYear))) << Text(f);
  ASSERT_EQ(record.valid, 1);
  ASSERT_EQ(record.dayOfWeek, expected.wDayOfWeek) << Text(f);
  ASSERT_EQ(DateTime(f[0], dayOfYear).GetTicks(), ticks - ticks % kDay) << Text(f);
}

// The system's own calendar is the reference. Every day of eight hundred years at the beginning and
// of four hundred at the end; between them every 29th.
TEST(DateTime, DaysFrom1601To30827_AreTheSystems) {
  const unsigned long long days = BySystem({30827, 12, 0, 31, 0, 0, 0, 0}) / kDay;
  unsigned random = 4711;
  for (unsigned long long day = 1; day <= days;
       day += day < 293000 || day > days - 146500 ? 1 : 29) {
    random = random * 1664525 + 1013904223;
    const unsigned millisecond = random % 3 == 0 ? 0 : random % 3 == 1 ? 86399999 : random / 50;
    ASSERT_NO_FATAL_FAILURE(ExpectThisTime(day * kDay + millisecond * 10000ULL));
  }
}

TEST(DateTime, LengthsOfMonths_AreTheSystems) {
  for (int year = 1601; year < 30827; ++year) {
    int before = 0;
    for (int month = 1; month <= 12; ++month) {
      const Seven next = {month < 12 ? year : year + 1, month % 12 + 1, 1};
      const int days = static_cast<int>(
          (BySystem(AsSystemTime(next)) - BySystem(AsSystemTime({year, month, 1}))) / kDay);
      ASSERT_EQ(Helpers::DaysInMonth(month, year), days) << year << " " << month;
      ASSERT_EQ(Helpers::DaysThruEndOfMonth(month, year), before += days) << year << " " << month;
      ASSERT_NO_FATAL_FAILURE(ExpectTicks({year, month, days + 1, 12}, 0, 0));
      if (month == 2) ASSERT_EQ(Helpers::IsLeapYear(year) != 0, days == 29) << year;
      if (year != 1601) continue;
      EXPECT_EQ(Helpers::days_in_month[static_cast<unsigned>(month)], days);
      EXPECT_EQ(Helpers::days_preceding_month[static_cast<unsigned>(month)], before);
    }
  }
  EXPECT_EQ(Helpers::days_in_month[0] + Helpers::days_preceding_month[0], 0);
  for (const int leap : {0, -4, INT_MIN}) EXPECT_TRUE(Helpers::IsLeapYear(leap)) << leap;
  for (const int year : {-100, INT_MAX}) EXPECT_FALSE(Helpers::IsLeapYear(year)) << year;
}

TEST(DateTime, FieldsThatDoNotExist_AreZero_InEveryType) {
  constexpr Seven kGood = {2008, 2, 29, 14, 7, 9, 123};
  constexpr Seven kBelow = {1600, 0, 0, -1, -1, -1, -1};
  constexpr Seven kBeyond = {30828, 13, 30, 24, 60, 60, 1000};
  for (unsigned field = 0; field < 7; ++field) {
    for (const int number : {kBelow[field], kBeyond[field], -kGood[field], 0x10000, 0xFFFF, INT_MIN,
                             kGood[field] + 0x10000, INT_MAX}) {
      Seven f = kGood;
      f[field] = number;
      const bool hasSeconds = field == 6;
      ExpectTicks(f, 0, hasSeconds ? DateTime(AsTm(kGood)).GetTicks() : 0);
    }
  }
}

TEST(DateTime, WhatIsNoTime_IsRefused_AndNothingIsWritten) {
  for (const auto ticks : {0ULL, 1ULL, kLeastTime - 1, kLeastTime, kEnd - 1, kEnd, ~0ULL}) {
    const bool hasTime = ticks >= kLeastTime && ticks < kEnd;
    const DateTime value(Split(ticks));
    FILETIME fileTime = {};
    EXPECT_NE(value.GetDateTime(fileTime), 0);
    EXPECT_EQ(DateTime(fileTime).GetTicks(), ticks);
    constexpr Seven kBefore = {1, 2, 3, 4, 5, 6, 7};
    SYSTEMTIME systemTime = AsSystemTime(kBefore);
    tm time = AsTm(kBefore);
    long long seconds = 4711;
    _DATE_TIME record = AsRecord(kBefore);
    wcstring text = L"before";
    EXPECT_EQ(value.GetDateTime(systemTime) != 0, hasTime);
    EXPECT_EQ(value.GetDateTime(time) != 0, hasTime);
    EXPECT_EQ(value.GetDateTime(seconds), 0);
    EXPECT_EQ(seconds, hasTime ? -1 : 4711);
    DateTimeConvert(value, &record);
    EXPECT_EQ(record.valid, hasTime ? 1 : 0);
    EXPECT_EQ(value.FormatDate(text, 0).empty(), !hasTime) << ticks;
    EXPECT_EQ(value.FormatTime(text).empty(), !hasTime) << ticks;
    EXPECT_EQ(Equal(systemTime, AsSystemTime(kBefore)), !hasTime);
    EXPECT_EQ(Equal(time, AsTm(kBefore)), !hasTime);
    EXPECT_EQ(Equal(record, AsRecord(kBefore, 0)), !hasTime);
  }
  _DATE_TIME none = AsRecord({2008, 2, 29}, 0);
  DateTime value = DateTime::CurrentTime;
  DateTimeConvert(&none, value);
  EXPECT_EQ(value.GetTicks(), 0u);
}

TEST(DateTime, DayOffsets_Wrap) {
  EXPECT_EQ(DateTime(2000, -1).GetTicks(), FromNumbers({1999, 12, 31}).GetTicks());
  EXPECT_EQ(DateTime(1601, -1).GetTicks(), 0ULL - kDay);
  SYSTEMTIME fields = {};
  EXPECT_FALSE(DateTime(1601, -10675199).GetDateTime(fields));
  EXPECT_TRUE(DateTime(1601, -10675200).GetDateTime(fields));
  EXPECT_EQ(DateTime(1600, 3).GetTicks(), 3 * kDay);
  EXPECT_EQ(DateTime(65536 + 2009, 0).GetTicks(), 0u);
  EXPECT_EQ(DateTime(INT_MIN, INT_MAX).GetTicks(), 10751463637044838400ULL);
  EXPECT_EQ(DateTime(INT_MAX, INT_MIN).GetTicks(), 7695279572664713216ULL);
}

TEST(TimeSpan, IsTheSumOfItsFields_AtEveryEnd) {
  EXPECT_EQ(TimeSpan(0, 1, 1, 1, 1).GetTicks(), 36610010000);
  EXPECT_EQ(TimeSpan(-1, 25, -61, 61, -1).GetTicks(), 9990000);
  EXPECT_EQ(TimeSpan(0, 0, 0, 0, INT_MIN).GetTicks(), -21474836480000);
  EXPECT_EQ(TimeSpan(0, 0, 0, INT_MAX, 0).GetTicks(), 21474836470000000);
  EXPECT_EQ(TimeSpan(0, 0, INT_MIN, 0, 0).GetTicks(), -1288490188800000000);
  EXPECT_EQ(TimeSpan(0, INT_MAX, 0, 0, 0).GetTicks(), 3522434997161793536);
  EXPECT_EQ(TimeSpan(INT_MAX, 0, 0, 0, 0).GetTicks(), -7695280436664713216);
}

// The C run time of this process in another zone, from now on. It has to be in one of its own from
// the start: Wine's, which has once seen a system's zone without daylight saving, never sees any.
bool SetZone(const char* name) {
  const bool isSet = ::_putenv_s("TZ", name) == 0;
  ::_tzset();
  return isSet;
}
const bool zoneAtStart = SetZone("UTC0");

// The reference is the C run time itself: which seconds it gives to these fields, and which fields
// to those seconds. In the hour that a zone leaves out there are none.
TEST(DateTime, SecondsSince1970_FollowTheZoneAndItsDaylightRules) {
  ASSERT_TRUE(zoneAtStart);
  for (const std::string name : {"UTC0", "NPT-5:45", "CET-1CES", "EST5EDT", "NZS-12NZD"}) {
    const bool hasDaylight = name != "UTC0" && name != "NPT-5:45";
    ASSERT_TRUE(SetZone(name.c_str()));
    int daylight = 0, leftOut = 0;
    for (unsigned hour = 0; hour < 3 * 365 * 24; ++hour) {
      const DateTime value(
          Split(FromNumbers({2009, 1, 1, 0, 30, 59}).GetTicks() + hour * kDay / 24));
      tm time = {}, back = {};
      long long seconds = 0;
      ASSERT_TRUE(value.GetDateTime(time));
      ASSERT_TRUE(value.GetDateTime(seconds));
      tm fields = time;
      fields.tm_isdst = -1;
      ASSERT_EQ(seconds, ::_mktime64(&fields)) << name << " " << hour;
      ASSERT_EQ(::_localtime64_s(&back, &seconds), 0);
      daylight += back.tm_isdst > 0;
      leftOut += back.tm_hour != time.tm_hour;
    }
    EXPECT_EQ(daylight > 0, hasDaylight) << name;
    EXPECT_EQ(leftOut, hasDaylight ? 3 : 0) << name;
  }
}

SYSTEMTIME clockTime;
void WINAPI ScriptedClock(SYSTEMTIME* time) { *time = clockTime; }

TEST(DateTime, Now_IsTheLocalClock) {
  const ImportHook<decltype(::GetLocalTime)> hook("KERNEL32.dll", "GetLocalTime", &ScriptedClock);
  clockTime = AsSystemTime({2008, 2, 29, 23, 59, 58, 987}, 5);
  EXPECT_EQ(DateTime(DateTime::CurrentTime).GetTicks(), DateTime(clockTime).GetTicks());
  for (const int number : {1, 2, -1, INT_MAX}) {
    EXPECT_EQ(DateTime(static_cast<DateTime::PredefinedTime>(number)).GetTicks(), 0u);
  }
}

TEST(StopWatch, FollowsTheClock) {
  const ImportHook<decltype(::GetLocalTime)> hook("KERNEL32.dll", "GetLocalTime", &ScriptedClock);
  const auto none = +[](StopWatch&) {};
  const auto start = +[](StopWatch& watch) { watch.Start(); };
  const auto stop = +[](StopWatch& watch) { watch.Stop(); };
  const auto reset = +[](StopWatch& watch) { watch.Reset(); };
  struct {
    int second;
    void (*act)(StopWatch&);
    int elapsed;
  } const rows[] = {
      {10, none, 0},  {10, stop, 0}, {10, start, 0}, {15, none, 5},
      {15, start, 5},                                                 // is running already
      {17, stop, 7},  {20, stop, 7}, {20, start, 7}, {23, none, 10},  // both periods
      {2, none, -11},                                                 // the clock was set back
      {2, reset, 0},  {6, none, 4},                                   // goes on from zero
      {6, stop, 4},   {6, reset, 0}, {9, none, 0},
  };
  StopWatch watch;
  for (const auto& row : rows) {
    clockTime = AsSystemTime({2008, 2, 29, 1, 1, row.second, 500});
    row.act(watch);
    EXPECT_EQ(watch.ElapsedTime().GetTicks(), row.elapsed * static_cast<long long>(kSecond))
        << "at " << row.second;
  }
}

}  // namespace
