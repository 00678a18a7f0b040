#include "tools/vtctl/session/text.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vtctl
