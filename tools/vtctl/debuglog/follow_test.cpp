#include "tools/vtctl/debuglog/follow.h"

#include "log/debug_log_fixture.h"
#include "tools/vtctl/console.h"
#include "tools/vtctl/session/paths.h"

namespace vtctl::debuglog {
namespace {

std::string Bytes(const std::wstring& text, Encoding encoding) {
  if (encoding == Encoding::ansi) return {text.begin(), text.end()};
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

TEST(TraceText, StartOfLastLines_CountsFromTheEnd) {
  const struct {
    const wchar_t* text;
    std::size_t count, start;
  } rows[] = {{L"", 3, 0},          {L"a\nb\nc\n", 0, 6}, {L"a\nb\nc\n", 1, 4},
              {L"a\nb\nc\n", 2, 2}, {L"a\nb\nc\n", 9, 0}, {L"a\nb\nc", 1, 4},
              {L"\n\n", 1, 1},      {L"\n\n", 2, 0},      {L"a", 1, 0}};
  for (const auto& row : rows) {
    for (const Encoding encoding : {Encoding::ansi, Encoding::utf16}) {
      const std::size_t unit = encoding == Encoding::utf16 ? 2 : 1;
      EXPECT_EQ(StartOfLastLines(Bytes(row.text, encoding), encoding, row.count), row.start * unit)
          << row.text << row.count;
    }
  }
  // A line feed's byte in the other half of a unit is none.
  EXPECT_EQ(LengthOfWholeLines(Bytes(L"\x0A41\x410Ax", Encoding::utf16), Encoding::utf16), 0u);
  EXPECT_EQ(ShownText("\xFF\xFE" + Bytes(L"a\tb\r\n\x1B[2J", Encoding::utf16), Encoding::utf16),
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
  /* A log that is followed from its beginning; its lines have 1,000 characters. */
  void Begin(int unicode) {
    log = std::make_unique<DebugLog>(messages, unicode, nullptr);
    ASSERT_TRUE(log->Open(DebugLog::createAlways, path.c_str()));
    shown.clear();
    notices = 0;
    next = 0;
    follower = std::make_unique<Follower>(
        SystemPath(path), [this](const std::wstring& text) { shown += text; },
        [this](const std::wstring&) { ++notices; });
    ASSERT_EQ(follower->Start(0), 0u);
  }
  void Print(int lines) {
    for (; lines > 0; --lines) expected += Line(next++);
  }
  std::wstring Line(int n) {
    const std::wstring line = std::to_wstring(100000 + n) + std::wstring(992, L'.');
    EXPECT_TRUE(log->print(L"%s\n", line.c_str()));
    return line + L"\n";
  }
  /* Everything since the last look has been shown, and nothing else. */
  void ExpectShown(int expectedNotices = 0) {
    follower->Poll();
    EXPECT_TRUE(shown == expected) << shown.size() << " " << expected.size() << " at " << next;
    EXPECT_EQ(notices, expectedNotices);
    expected.clear();
    shown.clear();
    notices = 0;
  }

  std::unique_ptr<DebugLog> log;
  std::unique_ptr<Follower> follower;
  std::wstring shown;
  std::wstring expected;
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
  // So many rolls that the file at hand is deleted. Where the system keeps it until it is closed,
  // the log cannot roll on and nothing is missing; elsewhere the notice says so.
  Print(20 * 105 * 2);
  follower->Poll();
  EXPECT_TRUE(notices == 1 || shown == expected);
  EXPECT_TRUE(expected.ends_with(shown));
  expected.clear();
  shown.clear();
  notices = 0;
  Print(3);
  ExpectShown();
}

TEST_F(FollowerTest, Wraps_FindsItsPlace) {
  Limit(1, 1);
  for (const int unicode : {1, 0}) {
    Begin(unicode);
    for (const int lines : {500, 500, 1, 200, 300, 1300, 1}) {
      Print(lines);
      // 2 MB have room for 1,048 or 2,097 lines.
      const bool whole = lines < 1300 || !unicode;
      if (whole) {
        ExpectShown();
      } else {
        follower->Poll();
        EXPECT_EQ(notices, 1) << "lines were gone before they could be read";
        const std::wstring marker = L"<<< This file has wrapped >>>\n";
        ASSERT_TRUE(shown.starts_with(marker));
        EXPECT_TRUE(expected.ends_with(shown.substr(marker.size())));
        expected.clear();
        shown.clear();
        notices = 0;
      }
    }
  }
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
  for (int n = 0; n < 1000; ++n) expected = Line(n);
  expected = Line(1000) + Line(1001);
  follower = std::make_unique<Follower>(
      SystemPath(path), [this](const std::wstring& text) { shown += text; }, nullptr);
  ASSERT_EQ(follower->Start(2), 0u);
  ExpectShown();
  EXPECT_TRUE(log->print(L"unfinished"));
  for (int n = 0; n < 3; ++n) follower->Poll();
  EXPECT_EQ(shown, L"unfinished");
}

}  // namespace
}  // namespace vtctl::debuglog
