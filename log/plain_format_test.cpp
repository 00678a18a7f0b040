#include "log/plain_format.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "platform/wide_format.h"

namespace vtclass::log {
namespace {

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
  const wchar_t* const others[] = {L"%5d", L"%x", L"%I64d", L"%c", L"%S", L"%ls", L"%hs", L"%li"};
  const std::uintptr_t values[] = {0, 1, 9, 10, 4294967295u, 2147483648u, 2147483647u};
  const wchar_t* const texts[] = {L"", L"a", L"\x4E2D\xD83D", nullptr, L"a long text of words"};
  std::mt19937 random(20);
  const auto pick = [&](const auto& from) { return from[random() % std::size(from)]; };
  for (int round = 0; round < 20000; ++round) {
    const bool isText = random() % 2 == 0;
    const void* const argument = isText ? static_cast<const void*>(pick(texts))
                                        : reinterpret_cast<const void*>(pick(values));
    const std::wstring taking = isText ? L"%s" : pick(numbers);
    // NOLINTNEXTLINE(performance-inefficient-string-concatenation): one expression shows the shape
    const std::wstring format = pick(fixed) + taking + pick(fixed) + pick(fixed) + taking;
    wchar_t expected[64] = {};
    wchar_t actual[64] = {};
    const std::size_t room = 1 + random() % 64;
    const int length =
        Call(&platform::FormatWide, expected, 64, format.c_str(), argument, argument);
    ASSERT_EQ(Call(&FormatPlain, actual, room, format.c_str(), argument, argument), length);
    if (length < static_cast<int>(room)) ASSERT_STREQ(actual, expected) << format;
    const std::wstring other = format + pick(others);
    ASSERT_EQ(Call(&FormatPlain, actual, room, other.c_str(), argument, argument), -1) << other;
  }
}

}  // namespace
}  // namespace vtclass::log
