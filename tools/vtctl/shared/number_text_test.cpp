#include "tools/vtctl/shared/number_text.h"

#include <gtest/gtest.h>

namespace vtctl {
namespace {

TEST(NumberText, Numbers_AtTheirLimits) {
  const NumberStyle style = {L".", L","};
  const uint64_t most = UINT64_MAX;
  EXPECT_EQ(Grouped(0, style), L"0");
  EXPECT_EQ(Grouped(999, style), L"999");
  EXPECT_EQ(Grouped(1000, style), L"1.000");
  EXPECT_EQ(Grouped(most, style), L"18.446.744.073.709.551.615");
  EXPECT_EQ(WithUnit(1023, style), L"1023 B");
  EXPECT_EQ(WithUnit(1024, style), L"1,0 KB");
  EXPECT_EQ(WithUnit(1048575, style), L"1.023,9 KB");
  EXPECT_EQ(WithUnit(1048576, style), L"1,0 MB");
  EXPECT_EQ(WithUnit(1572864, style), L"1,5 MB");
  EXPECT_EQ(WithUnit(most, style), L"15,9 EB");
  EXPECT_EQ(Duration(0, style), L"0:00:00,0");
  EXPECT_EQ(Duration(3661999, style), L"1:01:01,9");
  EXPECT_EQ(Duration(100ULL * 3600 * 1000, style), L"100:00:00,0");
}

TEST(NumberText, ProgressBar_KeepsItsWidth) {
  EXPECT_EQ(ProgressBar(0, 17), L"[----------]   0%");
  EXPECT_EQ(ProgressBar(0.55, 17), L"[#####-----]  55%");
  EXPECT_EQ(ProgressBar(1, 17), L"[##########] 100%");
  EXPECT_EQ(ProgressBar(1.5, 17), L"[##########] 100%");
}

TEST(NumberText, Fitted_CountsColumns) {
  EXPECT_EQ(Fitted(L"ab", 4), L"ab  ");
  EXPECT_EQ(Fitted(L"abcdef", 4), L"abcd");
  EXPECT_EQ(Fitted(L"\x6F22\x5B57", 3), L"\x6F22 ");
  EXPECT_EQ(Fitted(L"", 0), L"");
}

TEST(NumberText, Shortened_LosesItsMiddle) {
  const struct {
    const wchar_t* text;
    size_t columns;
    const wchar_t* shortened;
  } rows[] = {{L"C:\\Data\\file", 12, L"C:\\Data\\file"},
              {L"C:\\Data\\file", 11, L"C:\\D...file"},
              {L"C:\\Data\\file", 4, L"...e"},
              {L"C:\\Data\\file", 3, L"..."},
              {L"C:\\Data\\file", 1, L"."},
              {L"\x6F22\x5B57\x6F22\x5B57", 7, L"\x6F22...\x5B57"},
              {L"\x6F22\x5B57\x6F22\x5B57", 6, L"...\x5B57"},
              // A pair stays together, or goes.
              {L"ab\xD83D\xDE00\xD83D\xDE00yz", 11, L"ab...yz"},
              {L"", 0, L""}};
  for (const auto& row : rows) {
    EXPECT_EQ(Shortened(row.text, row.columns), row.shortened) << row.columns;
  }
}

}  // namespace
}  // namespace vtctl
