#include <array>
#include <charconv>
#include <ctime>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "vtclass/date_time.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Prints the local clock, or VALUE, in every form that the product's components use. VALUE is\n"
    "a date with or without a time of day, a number of ticks (of 100 ns since 1601-01-01, as file\n"
    "times have them; after \"0x\" in hexadecimal), or after \"@\" the seconds since 1970-01-01 "
    "UTC.\n"
    "A form that cannot hold the value says so.\n"
    "\n"
    "System time is Windows' SYSTEMTIME, C run time the C library's tm, Record the product's own\n"
    "record of eight fields. Weekdays count from 0, Sunday, and days of the year from 0 as well.\n"
    "\n"
    "Examples:\n"
    "  vtctl time\n"
    "  vtctl time 2009-11-28T14:07:09.123\n"
    "  vtctl time 129038908291230000\n"
    "  vtctl time @1259417229 --json\n"
    "\n"
    "Exit codes: 0 a time, 1 a value that means no time, 65 a date that does not exist or seconds\n"
    "that the C run time cannot count (it counts from 1970 to 3000), 64 a word that is none of "
    "these.";

struct TimeArguments : CommonArguments {
  std::optional<std::wstring> value;
};

// Takes a word apart from its beginning. Each answers false, and takes nothing, where something
// else stands there.
class Scanner {
 public:
  explicit Scanner(std::wstring_view word) : rest(word) {}

  bool Skip(wchar_t unit) {
    if (!rest.starts_with(unit)) return false;
    rest.remove_prefix(1);
    return true;
  }

  // A decimal number of `least` to `most` digits.
  bool Number(std::size_t least, std::size_t most, int& to) {
    const std::size_t digits = std::min(rest.find_first_not_of(L"0123456789"), rest.size());
    if (digits < least || digits > most) return false;
    to = std::stoi(std::wstring(rest.substr(0, digits)));
    rest.remove_prefix(digits);
    return true;
  }

  // Thousandths, of one to three digits.
  bool Fraction(int& to) {
    const std::size_t before = rest.size();
    if (!Number(1, 3, to)) return false;
    for (std::size_t digits = before - rest.size(); digits < 3; ++digits) to *= 10;
    return true;
  }

  bool IsAtEnd() const { return rest.empty(); }

 private:
  std::wstring_view rest;
};

// What VALUE names.
struct Given {
  DateTime value = DateTime::NoTime;
  std::optional<long long> seconds;  // as they were given
  bool exists = true;
};

// "2009-11-28", "2009-11-28T14:07", "2009-11-28 14:07:09.5"; nothing when the word has another
// shape.
std::optional<Given> ReadDate(std::wstring_view word) {
  Scanner scanner(word);
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, milliseconds = 0;
  bool isRead = scanner.Number(4, 5, year) && scanner.Skip(L'-') && scanner.Number(1, 2, month) &&
                scanner.Skip(L'-') && scanner.Number(1, 2, day);
  if (isRead && (scanner.Skip(L'T') || scanner.Skip(L' '))) {
    isRead = scanner.Number(1, 2, hour) && scanner.Skip(L':') && scanner.Number(2, 2, minute);
    if (isRead && scanner.Skip(L':')) {
      isRead =
          scanner.Number(2, 2, second) && (!scanner.Skip(L'.') || scanner.Fraction(milliseconds));
    }
  }
  if (!isRead || !scanner.IsAtEnd()) return std::nullopt;
  const DateTime value(year, month, day, hour, minute, second, milliseconds);
  constexpr std::array kFirst = {1601, 1, 1, 0, 0, 0, 0};  // exists, and is the value 0
  const bool isFirst = std::array{year, month, day, hour, minute, second, milliseconds} == kFirst;
  return Given{value, std::nullopt, isFirst || value.GetTicks() != 0};
}

template <typename Number>
std::optional<Number> ReadNumber(std::string_view text, int base) {
  Number number = 0;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const auto [stop, error] = std::from_chars(begin, end, number, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

// "129038908291230000", "0x1CA703412E6B400".
std::optional<Given> ReadTicks(std::string_view word) {
  const bool isHex = word.starts_with("0x") || word.starts_with("0X");
  const auto ticks = ReadNumber<unsigned long long>(word.substr(isHex ? 2 : 0), isHex ? 16 : 10);
  if (!ticks) return std::nullopt;
  const FILETIME time = {static_cast<DWORD>(*ticks), static_cast<DWORD>(*ticks >> 32)};
  return Given{time, std::nullopt};
}

// "@1259417229", as the local time of that moment.
std::optional<Given> ReadSeconds(std::string_view word) {
  if (!word.starts_with('@')) return std::nullopt;
  const auto seconds = ReadNumber<long long>(word.substr(1), 10);
  if (!seconds) return std::nullopt;
  tm local = {};
  const bool exists = ::_localtime64_s(&local, &*seconds) == 0;
  return Given{local, seconds, exists};
}

// The conversion's result, or nothing where it is refused.
template <typename Form>
std::optional<Form> FormOf(const DateTime& value) {
  Form form = {};
  if (!value.GetDateTime(form)) return std::nullopt;
  return form;
}

// The fields of a record as people and scripts read them: "2009-11-28 14:07:09".
struct Shown {
  std::wstring text;
  int dayOfWeek;
  std::optional<int> dayOfYear;
};

template <typename... Numbers>
std::wstring Formatted(const wchar_t* format, Numbers... numbers) {
  wchar_t text[64] = {};
  std::swprintf(text, std::size(text), format, numbers...);
  return text;
}

std::wstring DateAndClock(int year, int month, int day, int hour, int minute, int second) {
  return Formatted(L"%04d-%02d-%02d %02d:%02d:%02d", year, month, day, hour, minute, second);
}

Shown Show(const SYSTEMTIME& time) {
  return {DateAndClock(time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond) +
              Formatted(L".%03d", int{time.wMilliseconds}),
          time.wDayOfWeek, std::nullopt};
}

Shown Show(const tm& time) {
  return {DateAndClock(time.tm_year + 1900, time.tm_mon + 1, time.tm_mday, time.tm_hour,
                       time.tm_min, time.tm_sec),
          time.tm_wday, time.tm_yday};
}

Shown Show(const _DATE_TIME& record) {
  return {DateAndClock(record.year, record.month, record.day, record.hour, record.minute,
                       record.second),
          record.dayOfWeek, std::nullopt};
}

// A value in the forms of the library; those are missing that cannot hold it. Seconds that were
// given stand for themselves: in the hour that comes twice when daylight saving ends, the local
// time does not tell which of two it is.
struct Forms {
  explicit Forms(const Given& given);

  unsigned long long ticks;
  FILETIME fileTime = {};
  std::optional<Shown> systemTime, brokenDown, record, utc;
  std::optional<long long> converted, seconds;
  struct Texts {
    std::wstring shortDate, longDate, timeOfDay;
  } wide, narrow;
};

template <typename String>
Forms::Texts TextsOf(const DateTime& value) {
  String text;
  return {wcstring(value.FormatDate(text, false)), wcstring(value.FormatDate(text, true)),
          wcstring(value.FormatTime(text))};
}

Forms::Forms(const Given& given)
    : ticks(given.value.GetTicks()),
      converted(FormOf<long long>(given.value)),
      seconds(given.seconds ? given.seconds : converted),
      wide(TextsOf<wcstring>(given.value)),
      narrow(TextsOf<cstring>(given.value)) {
  const DateTime& value = given.value;
  value.GetDateTime(fileTime);
  if (const auto form = FormOf<SYSTEMTIME>(value)) systemTime = Show(*form);
  if (const auto form = FormOf<tm>(value)) brokenDown = Show(*form);
  _DATE_TIME filled = {};
  DateTimeConvert(value, &filled);
  if (filled.valid) record = Show(filled);
  tm inUtc = {};
  if (seconds && ::_gmtime64_s(&inUtc, &*seconds) == 0) utc = Show(inUtc);
}

std::wstring DistanceText(unsigned long long ticks, unsigned long long now) {
  const unsigned long long seconds = (ticks < now ? now - ticks : ticks - now) / 10000000;
  const unsigned long long days = seconds / 86400;
  const auto rest = static_cast<int>(seconds % 86400);
  return Formatted(days == 1 ? L"%llu day %02d:%02d:%02d " : L"%llu days %02d:%02d:%02d ", days,
                   rest / 3600, rest / 60 % 60, rest % 60) +
         (ticks < now ? L"ago" : L"from now");
}

void PrintRow(const wchar_t* name, const std::wstring& text) {
  std::wstring label = name;
  label.resize(15, L' ');
  Print(label + text + L"\n");
}

void PrintShown(const wchar_t* name, const std::optional<Shown>& shown) {
  std::wstring text = L"none: a time has from 2^32 up to 2^63 ticks";
  if (shown) text = shown->text + Formatted(L", weekday %d", shown->dayOfWeek);
  if (shown && shown->dayOfYear) text += Formatted(L", day of the year %d", *shown->dayOfYear);
  PrintRow(name, text);
}

// The narrow text stands beside the wide one where the code page has changed it.
void PrintText(const wchar_t* name, const std::wstring& wide, const std::wstring& narrow) {
  const std::wstring text = wide.empty() ? L"none" : Printable(wide);
  PrintRow(
      name,
      text + (narrow == wide ? L"" : L"  (in the ANSI code page: " + Printable(narrow) + L")"));
}

void PrintTexts(const Forms& forms) {
  PrintText(L"Long date", forms.wide.longDate, forms.narrow.longDate);
  PrintText(L"Short date", forms.wide.shortDate, forms.narrow.shortDate);
  PrintText(L"Time of day", forms.wide.timeOfDay, forms.narrow.timeOfDay);
}

std::wstring SecondsText(const Forms& forms) {
  if (!forms.seconds || !forms.utc) return L"none: the C run time counts from 1970 to 3000";
  std::wstring text =
      std::to_wstring(*forms.seconds) + L" s: as local time it is " + forms.utc->text + L" UTC";
  if (forms.converted && *forms.converted != *forms.seconds) {
    text +=
        L", but components take this local time for " + std::to_wstring(*forms.converted) + L" s";
  }
  return text;
}

// What people read comes first.
void PrintForms(const Forms& forms, const std::optional<unsigned long long>& now) {
  PrintTexts(forms);
  if (forms.systemTime && now) PrintRow(L"Distance", DistanceText(forms.ticks, *now));
  PrintShown(L"System time", forms.systemTime);
  PrintShown(L"C run time", forms.brokenDown);
  PrintShown(L"Record", forms.record);
  PrintRow(L"Since 1970", SecondsText(forms));
  PrintRow(L"Ticks", std::to_wstring(forms.ticks) + L" of 100 ns since 1601-01-01 00:00");
  PrintRow(L"File time", Formatted(L"high 0x%08lX, low 0x%08lX", forms.fileTime.dwHighDateTime,
                                   forms.fileTime.dwLowDateTime));
}

Json AsJson(const std::optional<Shown>& shown) {
  if (!shown) return nullptr;
  std::string time = ToUtf8(shown->text);
  time[time.find(' ')] = 'T';
  Json json = {{"time", time}, {"dayOfWeek", shown->dayOfWeek}};
  if (shown->dayOfYear) json["dayOfYear"] = *shown->dayOfYear;
  return json;
}

Json AsJson(const Forms::Texts& texts) {
  return {{"shortDate", TextOrNull(texts.shortDate)},
          {"longDate", TextOrNull(texts.longDate)},
          {"timeOfDay", TextOrNull(texts.timeOfDay)}};
}

void PrintFormsAsJson(const Forms& forms) {
  Json utc = AsJson(forms.utc);
  if (!utc.is_null()) utc = utc["time"].get<std::string>() + "Z";
  // Many readers of JSON would round a number of so many digits.
  PrintJson({{"ticks", std::to_string(forms.ticks)},
             {"fileTime",
              {{"high", forms.fileTime.dwHighDateTime}, {"low", forms.fileTime.dwLowDateTime}}},
             {"systemTime", AsJson(forms.systemTime)},
             {"cRunTime", AsJson(forms.brokenDown)},
             {"record", AsJson(forms.record)},
             {"secondsSince1970", forms.seconds ? Json(*forms.seconds) : Json()},
             {"utc", utc},
             {"texts", AsJson(forms.wide)},
             {"narrowTexts", AsJson(forms.narrow)}});
}

int PrintValue(const Given& value, const std::optional<unsigned long long>& now, bool asJson) {
  const Forms forms(value);
  asJson ? PrintFormsAsJson(forms) : PrintForms(forms, now);
  return forms.systemTime ? kExitClean : kExitWarnings;
}

int Run(const TimeArguments& arguments) {
  const DateTime now(DateTime::CurrentTime);
  if (!arguments.value) return PrintValue({now, std::nullopt}, std::nullopt, arguments.json);
  const std::string word = ToUtf8(*arguments.value);
  std::optional<Given> given = ReadDate(*arguments.value);
  if (!given) given = ReadSeconds(word);
  if (!given) given = ReadTicks(word);
  const std::wstring shown = L"\"" + Printable(*arguments.value) + L"\"";
  if (!given) {
    return Fail(kExitUsage, shown + L" is no date, no number of ticks and no seconds since 1970.");
  }
  if (!given->exists) {
    return Fail(kExitBadInput,
                shown + (given->seconds ? L" is nothing that the C run time counts: it counts "
                                          L"from 1970 to 3000."
                                        : L" does not exist in the calendar of the years 1601 "
                                          L"to 30827."));
  }
  return PrintValue(*given, now.GetTicks(), arguments.json);
}

}  // namespace

void AddTimeCommand(Command& program) {
  auto time =
      program.Add("time", "Print the time in every form that components use", kExamples, Run);
  time.Text("VALUE", time->value, "A date, ticks or @seconds; without it the present");
  time.Json("One JSON object; the ticks are a text");
}

}  // namespace vtctl
