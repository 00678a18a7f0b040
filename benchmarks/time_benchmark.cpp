#include <vtclass/win32.h>

#include <benchmark/benchmark.h>
#include <vtclass/date_time.h>

#include <array>
#include <random>

// Conversions beside the system's bare calls and the C run time's. Each round converts the same 256
// moments of the years that the C run time can count, 1970 to 3000.
namespace {

constexpr std::size_t kMoments = 256;
constexpr unsigned long long kTicksPerSecond = 10'000'000;
constexpr unsigned long long kTicksAt1970 = 116'444'736'000'000'000;

template <typename Value>
using Moments = std::array<Value, kMoments>;

const Moments<FILETIME>& FileTimes() {
  static const Moments<FILETIME> times = [] {
    std::mt19937_64 random(4711);
    Moments<FILETIME> made = {};
    for (FILETIME& time : made) {
      const auto ticks = kTicksAt1970 + random() % (32'503'680'000 * kTicksPerSecond);
      time = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    }
    return made;
  }();
  return times;
}

// The moments in another form.
template <typename Value, typename Convert>
Moments<Value> Converted(Convert convert) {
  Moments<Value> made = {};
  for (std::size_t i = 0; i < kMoments; ++i) convert(FileTimes()[i], made[i]);
  return made;
}

const Moments<SYSTEMTIME>& SystemTimes() {
  static const auto times = Converted<SYSTEMTIME>(
      [](const FILETIME& from, SYSTEMTIME& to) { ::FileTimeToSystemTime(&from, &to); });
  return times;
}

const Moments<tm>& BrokenDownTimes() {
  static const auto times =
      Converted<tm>([](const FILETIME& from, tm& to) { DateTime(from).GetDateTime(to); });
  return times;
}

template <typename Value, typename Convert>
void ConvertAll(benchmark::State& state, const Moments<Value>& values, Convert convert) {
  for (auto _ : state) {
    for (const Value& value : values) benchmark::DoNotOptimize(convert(value));
  }
}

void OursFromSystemTime(benchmark::State& state) {
  ConvertAll(state, SystemTimes(),
             [](const SYSTEMTIME& time) { return DateTime(time).GetTicks(); });
}

FILETIME BySystem(const SYSTEMTIME& time) {
  FILETIME made = {};
  ::SystemTimeToFileTime(&time, &made);
  return made;
}

void SystemFromSystemTime(benchmark::State& state) { ConvertAll(state, SystemTimes(), BySystem); }

void OursToSystemTime(benchmark::State& state) {
  ConvertAll(state, FileTimes(), [](const FILETIME& time) {
    SYSTEMTIME made = {};
    DateTime(time).GetDateTime(made);
    return made;
  });
}

SYSTEMTIME BySystem(const FILETIME& time) {
  SYSTEMTIME made = {};
  ::FileTimeToSystemTime(&time, &made);
  return made;
}

void SystemToSystemTime(benchmark::State& state) {
  ConvertAll(state, FileTimes(), [](const FILETIME& time) { return BySystem(time); });
}

void OursFromTm(benchmark::State& state) {
  ConvertAll(state, BrokenDownTimes(), [](const tm& time) { return DateTime(time).GetTicks(); });
}

void SystemFromTm(benchmark::State& state) {
  ConvertAll(state, BrokenDownTimes(), [](const tm& time) {
    const auto word = [](int number) { return static_cast<WORD>(number); };
    return BySystem(SYSTEMTIME{word(time.tm_year + 1900), word(time.tm_mon + 1), 0,
                               word(time.tm_mday), word(time.tm_hour), word(time.tm_min),
                               word(time.tm_sec), 0});
  });
}

void CRunTimeFromTm(benchmark::State& state) {
  ConvertAll(state, BrokenDownTimes(), [](tm time) {
    return kTicksAt1970 + static_cast<unsigned long long>(::_mkgmtime64(&time)) * kTicksPerSecond;
  });
}

void OursToTm(benchmark::State& state) {
  ConvertAll(state, FileTimes(), [](const FILETIME& time) {
    tm made = {};
    DateTime(time).GetDateTime(made);
    return made;
  });
}

void SystemToTm(benchmark::State& state) {
  ConvertAll(state, FileTimes(), [](const FILETIME& time) {
    constexpr int kDaysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    const SYSTEMTIME fields = BySystem(time);
    const bool isLeap =
        fields.wYear % 4 == 0 && (fields.wYear % 100 != 0 || fields.wYear % 400 == 0);
    tm made = {};
    made.tm_year = fields.wYear - 1900;
    made.tm_mon = fields.wMonth - 1;
    made.tm_mday = fields.wDay;
    made.tm_hour = fields.wHour;
    made.tm_min = fields.wMinute;
    made.tm_sec = fields.wSecond;
    made.tm_wday = fields.wDayOfWeek;
    made.tm_yday = kDaysBefore[made.tm_mon] + fields.wDay - 1 + (fields.wMonth > 2 && isLeap);
    return made;
  });
}

void CRunTimeToTm(benchmark::State& state) {
  ConvertAll(state, FileTimes(), [](const FILETIME& time) {
    const auto seconds =
        static_cast<long long>((DateTime(time).GetTicks() - kTicksAt1970) / kTicksPerSecond);
    tm made = {};
    ::_gmtime64_s(&made, &seconds);
    return made;
  });
}

void OursShortDate(benchmark::State& state) {
  wcstring text;
  const DateTime time(2009, 11, 28, 14, 7, 9, 0);
  for (auto _ : state) benchmark::DoNotOptimize(time.FormatDate(text, 0).data());
}

void SystemShortDate(benchmark::State& state) {
  wcstring text;
  const SYSTEMTIME fields = {2009, 11, 6, 28, 14, 7, 9, 0};
  for (auto _ : state) {
    wchar_t made[256];
    ::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &fields, nullptr, nullptr, 0);
    ::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &fields, nullptr, made, 256);
    benchmark::DoNotOptimize(text.assign(made).data());
  }
}

}  // namespace

BENCHMARK(OursFromSystemTime)->Name("Time/FromSystemTime/ours");
BENCHMARK(SystemFromSystemTime)->Name("Time/FromSystemTime/limit_system");
BENCHMARK(OursToSystemTime)->Name("Time/ToSystemTime/ours");
BENCHMARK(SystemToSystemTime)->Name("Time/ToSystemTime/limit_system");
BENCHMARK(OursFromTm)->Name("Time/FromTm/ours");
BENCHMARK(SystemFromTm)->Name("Time/FromTm/plain_system");
BENCHMARK(CRunTimeFromTm)->Name("Time/FromTm/peer_crt");
BENCHMARK(OursToTm)->Name("Time/ToTm/ours");
BENCHMARK(SystemToTm)->Name("Time/ToTm/plain_system");
BENCHMARK(CRunTimeToTm)->Name("Time/ToTm/peer_crt");
BENCHMARK(OursShortDate)->Name("Time/ShortDate/ours");
BENCHMARK(SystemShortDate)->Name("Time/ShortDate/limit_system");

BENCHMARK_MAIN();
