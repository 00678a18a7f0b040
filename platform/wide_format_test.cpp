#include "platform/wide_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

namespace vtclass::platform {
namespace {

// The text, or the answer where there is none.
std::wstring Formatted(const wchar_t* format, ...) {
  wchar_t out[64];
  std::fill(std::begin(out), std::end(out), L'~');
  va_list arguments;
  va_start(arguments, format);
  const int length = FormatWide(out, std::size(out), format, arguments);
  va_end(arguments);
  va_start(arguments, format);
  EXPECT_EQ(CountWide(format, arguments), length) << format;
  va_end(arguments);
  if (length < 0) return out[0] == L'~' ? L"(refused)" : L"(touched)";
  EXPECT_EQ(out[length], L'\0') << format;
  return {out, static_cast<std::size_t>(length)};
}

// One table for both run times: a log reads the same from every build of the library.
TEST(WideFormat, Texts_AreTheSameFromEitherRunTime) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  int counted = -7;
  const struct {
    std::wstring text;
    const wchar_t* expected;
  } rows[] = {
      {Formatted(L"%e %E", 1.5, -1.5e100), L"1.500000e+000 -1.500000E+100"},
      {Formatted(L"%g %G %g", 1e-5, 1e22, 0.5), L"1e-005 1E+022 0.5"},
      {Formatted(L"%.2e|%12.3e|%#g", 1e300, 2.5, 1.0), L"1.00e+300|  2.500e+000|1.00000"},
      {Formatted(L"%f %.3f %05.1f", 0.1, 1e15, -2.25), L"0.100000 1000000000000000.000 -02.3"},
      {Formatted(L"%f %g", kInfinity, -kInfinity), L"1.#INF00 -1.#INF"},
      {Formatted(L"%s|%ls|%ws|%S|%hs", L"wide", L"l", L"w", "narrow", "h"), L"wide|l|w|narrow|h"},
      {Formatted(L"%s|%S|%.2s|%4s|%-4s|", nullptr, nullptr, L"abc", L"x", L"x"),
       L"(null)|(null)|ab|   x|x   |"},
      {Formatted(L"%c%C%hc%lc", L'\x4E2D', 'b', 'c', L'd'),
       L"\x4E2D"
       L"bcd"},
      {Formatted(L"%d|%5d|%-5d|%05d|%+d|%.3d", -1, 7, 7, 7, 7, 7), L"-1|    7|7    |00007|+7|007"},
      {Formatted(L"%u %x %#X %o", 4294967295u, 255, 255, 8), L"4294967295 ff 0XFF 10"},
      {Formatted(L"%I64d %lld %I64x", -1LL, 1LL << 40, 1LL << 40), L"-1 1099511627776 10000000000"},
      {Formatted(L"%hd %ld %I32u", 70000, -1L, 5u), L"4464 -1 5"},
      {Formatted(L"%p", reinterpret_cast<void*>(0xAB)), L"00000000000000AB"},
      {Formatted(L"%*d|%-*d|%.*s", 4, 7, 4, 7, 2, L"abc"), L"   7|7   |ab"},
      {Formatted(L"100%%"), L"100%"},
      {Formatted(L"ab%n", &counted), L"(refused)"},
      {Formatted(L"%d%%%-5.3hhnx", 1, &counted), L"(refused)"},
      {Formatted(L"%I64n", &counted), L"(refused)"},
      {Formatted(L"%%n %dn", 1), L"%n 1n"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.text, row.expected);
  EXPECT_EQ(counted, -7);
}

int FormatInto(wchar_t* out, std::size_t capacity, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = FormatWide(out, capacity, format, arguments);
  va_end(arguments);
  return length;
}

TEST(WideFormat, Answers_AreThoseForTheRoom) {
  const struct {
    std::size_t capacity;
    int length;
    const wchar_t* out;  // 0: the end of the text; ~: as it was
  } rows[] = {{0, -1, L"~~~~~"}, {1, -1, L"1~~~~"}, {2, -1, L"1a~~~"},
              {3, 3, L"1ab~~"},  {4, 3, L"1ab0~"},  {5, 3, L"1ab0~"}};
  for (const auto& row : rows) {
    wchar_t out[] = L"~~~~~";
    EXPECT_EQ(FormatInto(out, row.capacity, L"%d%s", 1, L"ab"), row.length) << row.capacity;
    std::replace(std::begin(out), std::end(out) - 1, L'\0', L'0');
    EXPECT_STREQ(out, row.out) << row.capacity;
  }
}

#if VTCLASS_UNIVERSAL_CRT
int CallUnlooked(const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = CallFormatter(0, nullptr, 0, format, arguments);
  va_end(arguments);
  return length;
}

TEST(WideFormat, WhatTheRunTimeRefuses_EndsNoProcess) {
  _invalid_parameter_handler const handler = [](auto...) {};
  const auto before = _set_thread_local_invalid_parameter_handler(handler);
  int counted = -7;
  EXPECT_EQ(CallUnlooked(L"%n", &counted), -1);
  EXPECT_EQ(counted, -7);
  EXPECT_EQ(_set_thread_local_invalid_parameter_handler(before), handler) << "not restored";
}
#endif

}  // namespace
}  // namespace vtclass::platform
