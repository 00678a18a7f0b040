#include "tools/vtctl/doctor/clock_check.h"

#include <vtclass/win32.h>

#include <cstdlib>
#include <ctime>

#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/libraries_check.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/date_time.h"

namespace vtctl::doctor {
namespace {

constexpr long long kDay = 86400;
// A clock that runs so long after the library was written is not believed.
constexpr long long kLongestLife = 30LL * 365 * kDay;
// The clock goes on while both are asked.
constexpr long long kSameTime = 2;

constexpr const wchar_t* kSetClock = L"Set the clock, and let the machine follow a time server.";

// "UTC+01:00"
std::wstring Offset(int minutesEast) {
  const int minutes = std::abs(minutesEast);
  const auto two = [](int number) { return (number < 10 ? L"0" : L"") + std::to_wstring(number); };
  return (minutesEast < 0 ? L"UTC-" : L"UTC+") + two(minutes / 60) + L":" + two(minutes % 60);
}

// Seconds since 1970, of a file's time.
long long SecondsOf(const FILETIME& time) {
  constexpr long long kTicksPerSecond = 10000000;
  constexpr long long kFrom1601To1970 = 11644473600;
  const ULARGE_INTEGER ticks = {{time.dwLowDateTime, time.dwHighDateTime}};
  return static_cast<long long>(ticks.QuadPart) / kTicksPerSecond - kFrom1601To1970;
}

long long LastWriteOf(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return 0;
  return SecondsOf(data.ftLastWriteTime);
}

ClockState AskClock() {
  ClockState state;
  TIME_ZONE_INFORMATION zone = {};
  const DWORD kind = ::GetTimeZoneInformation(&zone);
  if (kind == TIME_ZONE_ID_INVALID) {
    state.zoneError = ::GetLastError();
  } else {
    const bool isSummer = kind == TIME_ZONE_ID_DAYLIGHT;
    state.zone = isSummer ? zone.DaylightName : zone.StandardName;
    state.minutesEast =
        -static_cast<int>(zone.Bias + (isSummer ? zone.DaylightBias : zone.StandardBias));
  }
  state.built = LastWriteOf(LibraryFile());
  state.isoTime = IsoTime();
  state.now = ::_time64(nullptr);
  long long converted = 0;
  if (DateTime(DateTime::CurrentTime).GetDateTime(converted)) state.converted = converted;
  return state;
}

Finding JudgeZone(const ClockState& state) {
  if (state.zoneError != 0) {
    return {.verdict = Verdict::problem,
            .code = "zone-unknown",
            .what = L"The system knows no time zone: " + SystemText(state.zoneError),
            .reason = L"Jobs start, and files count as changed, at other times than they should.",
            .remedy = L"Set the time zone.",
            .status = state.zoneError};
  }
  // In the hour that comes twice when daylight saving ends this may be one hour, rightly.
  if (!state.converted || std::llabs(*state.converted - state.now) > kSameTime) {
    const long long minutes = state.converted ? (*state.converted - state.now) / 60 : 0;
    return {.verdict = Verdict::warning,
            .code = "zone-of-run-time-differs",
            .what = L"Components that count seconds since 1970 are off by " +
                    (state.converted ? std::to_wstring(minutes) + L" minutes."
                                     : std::wstring(L"an unknown time.")),
            .reason =
                L"The C run time goes by the environment variable TZ where that is set, and "
                L"not by the system's zone. In the hour that comes twice when daylight "
                L"saving ends, 60 minutes are nothing to worry about.",
            .remedy =
                L"Take TZ out of the environment of the agents' services, or set it to this "
                L"zone."};
  }
  return {.code = "zone-known",
          .what = L"The time zone is " + (state.zone.empty() ? L"nameless" : state.zone) + L", " +
                  Offset(state.minutesEast) + L" now."};
}

Finding JudgeTime(const ClockState& state) {
  if (state.built == 0) {
    return {.verdict = Verdict::note,
            .code = "clock-not-compared",
            .what = L"The clock says " + state.isoTime + L".",
            .reason =
                L"When the product's library was written cannot be told, so nothing bears "
                L"the clock out."};
  }
  const bool isEarly = state.now < state.built - kDay;
  const bool isLate = state.now > state.built + kLongestLife;
  if (!isEarly && !isLate) {
    return {.code = "clock-plausible", .what = L"The clock says " + state.isoTime + L"."};
  }
  return {.verdict = Verdict::problem,
          .code = isEarly ? "clock-too-early" : "clock-too-late",
          .what = L"The clock says " + state.isoTime + L", which cannot be.",
          .reason = isEarly ? L"The product's own library was written later than that."
                            : L"The product's own library was written more than 30 years before.",
          .remedy = kSetClock};
}

}  // namespace

Findings JudgeClock(const ClockState& state) { return {JudgeTime(state), JudgeZone(state)}; }

void CheckClock(Found& found) { found.Add(JudgeClock(AskClock())); }

}  // namespace vtctl::doctor
