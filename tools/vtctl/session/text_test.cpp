#include "tools/vtctl/session/text.h"

#include <gtest/gtest.h>

#include "tools/vtctl/session/progress.h"
#include "tools/vtctl/shared/number_text.h"
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

TEST(ProgressLine, KeepsToItsColumns) {
  const ProgressState state = {
      0.5,
      60000,
      L"Files: 10",
      L"4.5 MB",
      L"1.2 MB",
      L"C:\\Data\\" + std::wstring(50, L'\x6F22') + L"\\" + std::wstring(50, L'x') + L"\\last"};
  EXPECT_TRUE(ProgressLine(state, 120)
                  .starts_with(L"[###########------------]  50%  Files: 10  0:01:00 left  1.2 MB/s "
                               L" 4.5 MB  C:\\Data\\\x6F22"));
  EXPECT_TRUE(ProgressLine(state, 120).ends_with(L"x\\last")) << ProgressLine(state, 120);
  EXPECT_EQ(ProgressLine(state, 39), L"[###---]  50%  Files: 10  0:01:00 left");
  EXPECT_EQ(ProgressLine(state, 19), L"[##---]  50%");
  for (size_t columns = 12; columns < 140; ++columns) {
    EXPECT_LE(ColumnsOf(ProgressLine(state, columns)), columns);
  }
  // At the beginning nobody can tell how long it takes.
  EXPECT_EQ(ProgressLine({0.01, 60000, L"Files: 0", L"0 B", L"0 B", L""}, 60),
            L"[-------------]   1%  Files: 0  0 B/s  0 B");
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
  const struct {
    std::wstring given, shown, stored;
  } names[] = {{L"\\\\server\\share\\d", L"\\\\server\\share\\d", L"\\\\server\\share\\d"},
               {L"\\\\?\\C:\\a\x01", L"C:\\a\xFFFD", L"C:\\a\xFFFD"},
               {L"C:\\\x202E\x200D\x2028\xFEFF", L"C:\\\xFFFD\xFFFD\xFFFD\xFFFD",
                L"C:\\\x202E\x200D\x2028\xFEFF"},
               // Without the prefix these are other files.
               {L"\\\\?\\unix\\tmp", L"\\\\?\\unix\\tmp", L"\\\\?\\unix\\tmp"},
               {L"\\\\?\\Volume{1}\\", L"\\\\?\\Volume{1}\\", L"\\\\?\\Volume{1}\\"},
               {L"\\\\?\\C:", L"\\\\?\\C:", L"\\\\?\\C:"},
               {L"", L"", L""}};
  for (const auto& name : names) {
    EXPECT_EQ(Path(name.given).Shown(), name.shown);
    EXPECT_EQ(Path(name.given).Stored(), name.stored);
  }
  EXPECT_EQ((Path(L"C:\\") / L"a").System(), L"\\\\?\\C:\\a");
  EXPECT_EQ((Path(L"C:\\d") / L"a").System(), L"\\\\?\\C:\\d\\a");
}

}  // namespace
}  // namespace vtctl
