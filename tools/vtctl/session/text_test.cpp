#include "tools/vtctl/session/text.h"

#include <gtest/gtest.h>

#include "tools/vtctl/session/progress.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {
namespace {

struct Row {
  std::wstring given;
  std::wstring expected;
};

TEST(Text, Format_PutsArgumentsInOrder) {
  EXPECT_EQ(Format(L"%s: %u of %s", {L"a", L"2", L"%s"}), L"a: 2 of %s");
  EXPECT_EQ(Format(L"100%% %s", {L"x"}), L"100% x");
  EXPECT_EQ(Format(L"%s and %s", {L"one"}), L"one and %s");
  EXPECT_EQ(Format(L"50% %d", {L"unused"}), L"50% %d");
}

TEST(Text, Numbers_AtTheirLimits) {
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

TEST(Text, ExtensionOf_TakesTheLastPart) {
  const Row rows[] = {{L"a.TXT", L".txt"},
                      {L"a.tar.gz", L".gz"},
                      {L"none", L""},
                      {L".profile", L""},
                      {L"end.", L""},
                      {L"Mr. Smith", L""},
                      {L"", L""},
                      {L"\x00C4.\x00C4", L".\x00C4"},
                      {L"x.0123456789abcdef", L""}};
  for (const Row& row : rows) EXPECT_EQ(ExtensionOf(row.given), row.expected) << row.given;
}

TEST(Paths, SystemPathAndBack) {
  const Row rows[] = {{L"C:\\a\\..\\b", L"\\\\?\\C:\\b"},
                      {L"C:\\", L"\\\\?\\C:\\"},
                      {L"C:/a/b", L"\\\\?\\C:\\a\\b"},
                      {L"\\\\server\\share\\d", L"\\\\?\\UNC\\server\\share\\d"},
                      {L"\\\\?\\C:\\name. ", L"\\\\?\\C:\\name. "},
                      {L"C:\\" + std::wstring(400, L'x'), L"\\\\?\\C:\\" + std::wstring(400, L'x')},
                      {L"", L""}};
  for (const Row& row : rows) EXPECT_EQ(Path(row.given).System(), row.expected);
  EXPECT_EQ(Path(L"\\\\server\\share\\d").Shown(), L"\\\\server\\share\\d");
  EXPECT_EQ(Path(L"\\\\?\\C:\\a\x01").Shown(), L"C:\\a\xFFFD");
  EXPECT_EQ((Path(L"C:\\") / L"a").System(), L"\\\\?\\C:\\a");
  EXPECT_EQ((Path(L"C:\\d") / L"a").System(), L"\\\\?\\C:\\d\\a");
}

TEST(Progress, ProgressBar_KeepsItsWidth) {
  EXPECT_EQ(ProgressBar(0, 17), L"[----------]   0%");
  EXPECT_EQ(ProgressBar(0.55, 17), L"[#####-----]  55%");
  EXPECT_EQ(ProgressBar(1, 17), L"[##########] 100%");
  EXPECT_EQ(ProgressBar(1.5, 17), L"[##########] 100%");
}

TEST(Progress, Fitted_CountsColumns) {
  EXPECT_EQ(Fitted(L"ab", 4), L"ab  ");
  EXPECT_EQ(Fitted(L"abcdef", 4), L"abcd");
  EXPECT_EQ(Fitted(L"\x6F22\x5B57", 3), L"\x6F22 ");
  EXPECT_EQ(Fitted(L"", 0), L"");
}

}  // namespace
}  // namespace vtctl
