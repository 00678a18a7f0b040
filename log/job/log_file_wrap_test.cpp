#include "log/wrap_marker.h"
#include "tests/support/file_faults.h"
#include "tests/support/log_file_fixture.h"

namespace vtclass::test {
namespace {

constexpr std::size_t kMegabyte = 1048576;

TEST(WrapMarker, MarkWrapped_BlanksTheCutLine) {
  for (std::pair<std::string, std::string> row :
       {std::pair<std::string, std::string>{"0123456789012345678901234\r\nnext\r\n",
                                            "This file has wrapped.    \nnext\r\n"},
        {"0123\r\n78901234567890123\r\n", "This file has wrapped.  \n"},
        {"012345678901234567890123", "This file has wrapped.23"},
        {"0123", "This"}}) {
    log::MarkWrapped(row.first);
    EXPECT_EQ(row.first, row.second);
  }
}

TEST_F(LogFileTest, Wrap_KeepsTheNewest_BehindTheMarkerIfAnsi) {
  for (const int unicode : {0, 1}) {
    LogFile log(messages, unicode, 2, 1);
    ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
    std::string expected = FileBytes(path);
    for (int n = 1000; expected.size() <= 2 * kMegabyte; ++n) {
      EXPECT_EQ(FileBytes(path).size(), expected.size());
      const std::wstring line = std::to_wstring(n) + std::wstring(30000, L'-') + L"\r\n";
      EXPECT_TRUE(log.print(-1, L"%d%s\n", n, std::wstring(30000, L'-').c_str()));
      for (const wchar_t unit : line)
        expected += std::string(unicode ? 2 : 1, '\0').replace(0, 1, 1, static_cast<char>(unit));
    }
    expected = expected.substr(expected.size() - kMegabyte);
    if (!unicode) log::MarkWrapped(std::span(expected).first(33790));
    EXPECT_EQ(FileBytes(path), expected);
    EXPECT_TRUE(log.Close());
    EXPECT_EQ(FileBytes(path).size(), kMegabyte + std::size_t{9} * (unicode ? 2 : 1));
    EXPECT_EQ(log.GetErrorCode(), 0u);
  }
}

// What was in an appended file counts.
TEST_F(LogFileTest, Wrap_SizesDecide) {
  const struct {
    int maxMB, keepMB;
    bool wraps;
  } cases[] = {{1, 2, false}, {1, -1, false}, {-1, 1, false}, {2, 1, false},
               {1, 1, true},  {1, 0, true},   {4096, 1, true}};
  for (const auto& row : cases) {
    MakeFile(path, std::string(kMegabyte, 'o'));
    LogFile log(messages, 0, row.maxMB, row.keepMB);
    ASSERT_EQ(log.Open(append, path.c_str()), 1);
    EXPECT_EQ(FileBytes(path).front() != 'o', row.wraps) << row.maxMB << " " << row.keepMB;
  }
}

// A file of the maximum size is not above it, and one unit more is.
TEST_F(LogFileTest, Wrap_BeginsAboveTheMaximum) {
  LogFile header(messages, 0, -1, -1);
  ASSERT_EQ(header.Open(createAlways, path.c_str()), 1);
  const std::size_t size = FileBytes(path).size();
  header.Close();
  MakeFile(path, std::string(kMegabyte - size, 'o'));
  LogFile log(messages, 0, 1, 0);
  ASSERT_EQ(log.Open(append, path.c_str()), 1);
  EXPECT_EQ(FileBytes(path).size(), kMegabyte);
  EXPECT_TRUE(log.print(-1, L"x"));
  EXPECT_EQ(FileBytes(path), "");
}

// Each call of a wrap fails once, and then the way to the end may fail too. The text is in the log
// in any case, and so is the next one, behind it.
TEST_F(LogFileTest, Wrap_FailingAnywhere_SwitchesWrappingOff) {
  const std::wstring text(kMegabyte, L'n');
  struct Row {
    bool isShort, isLost;
  };
  for (const Row row : {Row{false, false}, Row{true, false}, Row{false, true}}) {
    int failures = 0;
    for (int n = 2, calls = n; n <= calls; n += n < 12 ? 1 : 7) {  // call 1 writes the text itself
      MakeFile(path, std::string(kMegabyte, 'o'));
      LogFile log(messages, 0, 2, 1);
      ASSERT_EQ(log.Open(append, path.c_str()), 1);
      {
        const FileFaults faults({.failAt = n, .isShort = row.isShort, .isLost = row.isLost});
        EXPECT_TRUE(log.print(-1, L"%s", text.c_str())) << n;
        calls = faultPlan.calls;
      }
      const std::size_t size = FileBytes(path).size();
      const bool failed = log.GetErrorCode() != 0;
      failures += failed;
      EXPECT_EQ(size > 2 * kMegabyte, failed) << n;
      EXPECT_TRUE(log.print(-1, L"next"));
      EXPECT_TRUE(log.Close());
      const std::string bytes = FileBytes(path);
      EXPECT_EQ(bytes.size(), size + 4 + 9) << n;
      EXPECT_TRUE(bytes.ends_with("nnnnext</joblog>")) << n;
    }
    EXPECT_GT(failures, 10);
  }
}

// A text goes in whole or not at all, so the log reads on where there is room again.
TEST_F(LogFileTest, FullDisk_LosesTheTextAlone) {
  for (const std::uint64_t room : {0u, 1u, 7u, 80u, 100u}) {
    LogFile log(messages, 1, -1, -1);
    ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
    {
      const FileFaults faults({.room = room});
      for (int n = 0; n < 3; ++n) EXPECT_EQ(log.print(-1, L"%100d", n), 0);
      EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_DISK_FULL});
    }
    EXPECT_TRUE(log.print(-1, L"good"));
    EXPECT_TRUE(log.Close());
    EXPECT_EQ(Body(), L"good</joblog>");
    const FileFaults faults({.room = room});
    EXPECT_EQ(log.Open(append, path.c_str()), 0);
    EXPECT_EQ(Body(), L"good</joblog>") << "an old log stays as it was";
  }
  // The system says that it has taken nothing, but it has.
  LogFile log(messages, 1, -1, -1);
  ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
  const FaultPlan plan{.failAt = 1, .isShort = true, .isDenied = true};
  const FileFaults faults(plan);
  EXPECT_EQ(log.print(-1, L"lost"), 0);
  EXPECT_TRUE(log.print(-1, L"good"));
  EXPECT_TRUE(log.Close());
  EXPECT_EQ(Body(), L"good</joblog>");
  for (int n = 2; n < 5; ++n) {  // call 1 goes to the end
    faultPlan = plan;
    faultPlan.failAt = n;
    EXPECT_EQ(log.Open(append, path.c_str()), 0) << n;
    EXPECT_EQ(Body(), L"good</joblog>") << n;
  }
}

}  // namespace
}  // namespace vtclass::test
