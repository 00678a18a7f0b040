#include "tools/vtctl/shared/terminal_text.h"

#include <gtest/gtest.h>

using namespace vtctl;

TEST(TerminalText, Lines_AreBrokenAtBlanksBehindTheirIndent) {
  const struct {
    std::wstring lines, wrapped;
  } rows[] = {
      {L"", L""},
      {L"\n", L"\n"},
      {L"short\n\nlines", L"short\n\nlines\n"},
      {L"exactly 15 wide\n", L"exactly 15 wide\n"},
      {L"sixteen is wide.\n", L"sixteen is\n    wide.\n"},
      {L"  a   b indented line\n", L"  a   b\n      indented\n      line\n"},
      {L"a-word-that-is-too-long for it\n", L"a-word-that-is-too-long\n    for it\n"},
      // Colours take no columns, before the indent and behind it.
      {L"\x1b[33m  eleven two\x1b[0m\nplain\n", L"\x1b[33m  eleven two\x1b[0m\nplain\n"},
      {L"  \x1b[31mred and a long line\x1b[0m\n", L"  \x1b[31mred and a\n      long line\x1b[0m\n"},
      {L"\x1b[1m\x1b[0m\n", L"\x1b[1m\x1b[0m\n"}};
  for (const auto& row : rows) EXPECT_EQ(WrappedLines(row.lines, 16), row.wrapped);
}
