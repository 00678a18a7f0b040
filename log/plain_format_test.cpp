#include "log/plain_format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <random>
#include <string>

namespace vtclass::log {
namespace {

/* The C run time's answer in the same terms: the whole length, and the text when it fits. */
int Reference(wchar_t* out, std::size_t capacity, const wchar_t* format, va_list arguments) {
  const int length = _vscwprintf(format, arguments);
  if (static_cast<std::size_t>(length) < capacity) _vsnwprintf(out, capacity, format, arguments);
  return length;
}

using Formatter = int (*)(wchar_t*, std::size_t, const wchar_t*, va_list);
int Call(Formatter formatter, wchar_t* out, std::size_t capacity, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = formatter(out, capacity, format, arguments);
  va_end(arguments);
  return length;
}

// A pointer-sized argument serves every conversion: the numbers read its lower half.
TEST(PlainFormat, RandomFormats_GiveWhatTheRunTimeGives) {
  const wchar_t* const fixed[] = {L"%%", L"x", L"\n <", L"&"};
  const wchar_t* const numbers[] = {L"%d", L"%i", L"%u", L"%ld", L"%lu"};
  const std::uintptr_t values[] = {0, 1, 9, 10, 4294967295u, 2147483648u, 2147483647u};
  const wchar_t* const texts[] = {L"", L"a", L"\x4E2D\xD83D", nullptr, L"a long text of words"};
  std::mt19937 random(20);
  const auto pick = [&](const auto& from) { return from[random() % std::size(from)]; };
  for (int round = 0; round < 20000; ++round) {
    std::wstring format;
    const void* arguments[4];
    for (const void*& argument : arguments) {
      const bool isText = random() % 2 == 0;
      format += pick(fixed);
      format += isText ? L"%s" : pick(numbers);
      argument = isText ? static_cast<const void*>(pick(texts))
                        : reinterpret_cast<const void*>(pick(values));
    }
    wchar_t expected[128] = {};
    wchar_t actual[128] = {};
    const std::size_t capacity = 1 + random() % 128;
    const auto format4 = [&](Formatter formatter, wchar_t* out) {
      return Call(formatter, out, capacity, format.c_str(), arguments[0], arguments[1],
                  arguments[2], arguments[3]);
    };
    const int length = format4(&Reference, expected);
    ASSERT_EQ(format4(&FormatPlain, actual), length) << format;
    if (static_cast<std::size_t>(length) < capacity) ASSERT_STREQ(actual, expected) << format;
  }
}

TEST(PlainFormat, OtherFormats_AreLeftToTheRunTime) {
  wchar_t out[64];
  for (const wchar_t* format : {L"%", L"%l", L"%ls", L"%li", L"%l%", L"%5s", L"%-d", L"%S", L"%x",
                                L"%lld", L"%I64d", L"%c", L"%hs", L"x%y"}) {
    EXPECT_EQ(Call(&FormatPlain, out, 64, format, L"text", L"text"), -1) << format;
  }
}

}  // namespace
}  // namespace vtclass::log
