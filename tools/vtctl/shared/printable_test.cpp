#include "tools/vtctl/shared/printable.h"

#include <gtest/gtest.h>

namespace vtctl {
namespace {

TEST(Printable, Printable_ReplacesWhatNeitherXmlNorATerminalTakes) {
  const struct {
    std::wstring given;
    std::wstring expected;
  } rows[] = {{L"plain \x00E9\x6F22 & <b>", L"plain \x00E9\x6F22 & <b>"},
              {L"\xD83D\xDE00", L"\xD83D\xDE00"},
              {L"a\xD83D", L"a\xFFFD"},
              {L"\xDE00\xD83D", L"\xFFFD\xFFFD"},
              {L"\xD83D\xD83D\xDE00", L"\xFFFD\xD83D\xDE00"},
              {L"a\tb\nc\x1B[31m",
               L"a\xFFFD"
               L"b\xFFFD"
               L"c\xFFFD[31m"},
              {std::wstring(L"\0\x7F\x85", 3), L"\xFFFD\xFFFD\xFFFD"},
              {L"~\x80\x9F\xA0", L"~\xFFFD\xFFFD\xA0"},
              {L"\xFFFE\xFFFF\xFFFD", L"\xFFFD\xFFFD\xFFFD"},
              {L"\x200A\x200B\x200F\x2010", L"\x200A\xFFFD\xFFFD\x2010"},
              {L"\x2027\x2028\x202E\x202F", L"\x2027\xFFFD\xFFFD\x202F"},
              {L"\x205F\x2060\x206F\x2070", L"\x205F\xFFFD\xFFFD\x2070"},
              {L"\x061B\x061C\xFEFE\xFEFF", L"\x061B\xFFFD\xFEFE\xFFFD"}};
  for (const auto& row : rows) EXPECT_EQ(Printable(row.given), row.expected);
}

TEST(Printable, Storable_ReplacesWhatXmlDoesNotTake) {
  const struct {
    std::wstring given;
    std::wstring expected;
  } rows[] = {
      {L"\t\n\r\x7F\x85\x200D\x2028\x202E\xFEFF", L"\t\n\r\x7F\x85\x200D\x2028\x202E\xFEFF"},
      {std::wstring(L"\0\x1\x1B\x1F", 4), L"\xFFFD\xFFFD\xFFFD\xFFFD"},
      {L"\xD83D\xDE00\xD83D", L"\xD83D\xDE00\xFFFD"},
      {L"\xFFFE\xFFFF", L"\xFFFD\xFFFD"}};
  for (const auto& row : rows) EXPECT_EQ(Storable(row.given), row.expected);
}

}  // namespace
}  // namespace vtctl
