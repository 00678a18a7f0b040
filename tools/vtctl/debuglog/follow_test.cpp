#include "tools/vtctl/debuglog/follow.h"

#include "tests/support/debug_log_fixture.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl::debuglog {
namespace {

std::string_view Bytes(std::wstring_view text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

TEST(TraceText, StartOfLastLines_CountsFromTheEnd) {
  const struct {
    std::wstring text;
    std::size_t count, start;
  } rows[] = {{L"", 3, 0},          {L"a\nb\nc\n", 0, 6}, {L"a\nb\nc\n", 1, 4},
              {L"a\nb\nc\n", 2, 2}, {L"a\nb\nc\n", 9, 0}, {L"a\nb\nc", 1, 4},
              {L"\n\n", 1, 1},      {L"\n\n", 2, 0},      {L"a", 1, 0}};
  for (const auto& row : rows) {
    const std::string ansi(row.text.begin(), row.text.end());
    EXPECT_EQ(StartOfLastLines(ansi, Encoding::ansi, row.count), row.start) << ansi;
    EXPECT_EQ(StartOfLastLines(Bytes(row.text), Encoding::utf16, row.count), 2 * row.start) << ansi;
  }
  // A line feed's byte in the other half of a unit is none.
  EXPECT_EQ(LengthOfWholeLines(Bytes(L"\x0A41\x410Ax"), Encoding::utf16), 0u);
  EXPECT_EQ(ShownText(Bytes(L"\xFEFF"
                            L"a\tb\r\n\x1B[2J"),
                      Encoding::utf16),
            L"a\tb\n\xFFFD[2J");
}

TEST(TraceText, Names_OfRotatedAndFurtherFiles) {
  for (const wchar_t* name : {L"trace.log", L"trace.log.bak", L"trace.log7", L"trace.log.bak0",
                              L"trace.lox.bak1", L"trace.log.bak12345678901"}) {
    EXPECT_FALSE(RotatedPartOf(L"trace.log", name)) << ToUtf8(name);
  }
  const auto part = RotatedPartOf(L"trace.log", L"TRACE.LOG.bak12").value_or(RotatedPart{});
  EXPECT_EQ(part.extension, L".bak");
  EXPECT_EQ(part.number, 12u);
  EXPECT_EQ(FurtherName(L"C:\\a.b\\trace.log", 1), L"C:\\a.b\\trace-2.log");
  EXPECT_EQ(FurtherName(L"C:\\a.b\\trace", 9), L"C:\\a.b\\trace-10");
}

class FollowerTest : public vtclass::test::DebugLogTest {
 protected:
  // A log that is followed from its beginning.
  void Begin(int unicode) {
    log.reset();
    log = std::make_unique<vtclass::test::OpenDebugLog>(messages, unicode, path);
    next = 0;
    Follow(0);
  }
  void Follow(std::size_t lines) {
    follower = std::make_unique<Follower>(
        Path(path), [this](const std::wstring& text) { shown += text; },
        [this](const std::wstring&) { ++notices; });
    ASSERT_EQ(follower->Start(lines), 0u);
  }
  // Lines of 1,000 characters.
  void Print(int lines) {
    for (; lines > 0; --lines) {
      const std::wstring line = std::to_wstring(100000 + next++) + std::wstring(992, L'.');
      EXPECT_TRUE(log->print(L"%s\n", line.c_str()));
      expected += line + L"\n";
    }
  }
  // Everything since the last look has been shown, and nothing else; with a gap, which was told,
  // only the end of it, behind `head`.
  void ExpectShown(int told = 0, const std::wstring& head = L"", bool isGap = false) {
    follower->Poll();
    EXPECT_TRUE(shown.starts_with(head));
    shown.erase(0, head.size());
    EXPECT_TRUE(isGap ? expected.ends_with(shown) : shown == expected)
        << shown.size() << " " << next;
    EXPECT_EQ(notices, told);
    expected.clear();
    shown.clear();
    notices = 0;
  }

  std::unique_ptr<DebugLog> log;
  std::unique_ptr<Follower> follower;
  std::wstring shown, expected;
  int notices = 0;
  int next = 0;
};

TEST_F(FollowerTest, Renames_ReadsEveryFileToItsEnd) {
  Limit(20);  // 52 lines a file in UTF-16, 104 in ANSI
  for (const int unicode : {1, 0}) {
    Begin(unicode);
    for (const int lines : {1, 10, 100, 30, 900, 1}) {
      Print(lines);
      ExpectShown();
    }
  }
  // So many rolls that the file at hand is deleted: the log rolls on, and the notice says so.
  Print(20 * 105 * 2);
  EXPECT_EQ(log->GetErrorCode(), 0u);
  ExpectShown(1, L"", true);
  Print(3);
  ExpectShown();
}

TEST_F(FollowerTest, Wraps_FindsItsPlace) {
  // 1,048 lines in UTF-16, 2,097 in ANSI. The 130 lines end where the place lies across the border
  // of what is searched at once.
  Limit(1, 1);
  for (const int unicode : {1, 0}) {
    Begin(unicode);
    for (const int lines : {500, 500, 1, 130, 300, 1300, 1}) {
      Print(lines);
      const bool isGap = lines == 1300 && unicode;
      ExpectShown(isGap, isGap ? L"<<< This file has wrapped >>>\n" : L"", isGap);
    }
  }
}

TEST_F(FollowerTest, OpenFiles_KeepNobodyFromAnything) {
  Limit(1);
  Begin(1);
  Print(1);
  TraceFile live;
  ASSERT_EQ(live.Open(Path(path)), 0u);
  EXPECT_TRUE(log->Open(DebugLog::openAppend, path.c_str()));
  EXPECT_TRUE(log->Close());
  EXPECT_TRUE(::MoveFileW(path.c_str(), Rotated(1).c_str()));
  EXPECT_EQ(RotatedFilesOf(Path(path)).at(0).index, live.Identity().index);
  EXPECT_TRUE(::DeleteFileW(Rotated(1).c_str()));
}

TEST_F(FollowerTest, SimpleRoll_GoesOnInTheFurtherFile) {
  Begin(0);
  Print(21200);  // 20 MB are 21,077 lines
  ExpectShown(1);
  Print(5);
  ExpectShown();
}

TEST_F(FollowerTest, Start_ShowsTheLastLines_AndAnUnfinishedOneWhenItIsIdle) {
  Begin(1);
  Print(1000);
  ExpectShown();
  Print(2);
  Follow(2);
  ExpectShown();
  EXPECT_TRUE(log->print(L"unfinished"));
  for (int n = 0; n < 3; ++n) follower->Poll();
  EXPECT_EQ(shown, L"unfinished");
}

}  // namespace
}  // namespace vtctl::debuglog
