#include "log/log_file_fixture.h"
#include "tests/support/import_hook.h"

namespace vtclass::test {
namespace {

constexpr std::size_t kMegabyte = 1048576;

/* What the file calls of the library do while a FileFaults lives. */
struct Plan {
  int calls = 0;
  int failAt = 0;             /* this call fails ... */
  bool isShort = false;       /* ... or, if it reads or writes, moves one byte less and succeeds */
  std::uint64_t room = ~0ull; /* the bytes that the disk still takes */
};
Plan plan;

bool FailsNow() {
  if (++plan.calls != plan.failAt) return false;
  ::SetLastError(ERROR_IO_DEVICE);
  return true;
}

BOOL WINAPI Seek(HANDLE file, LARGE_INTEGER to, PLARGE_INTEGER at, DWORD how) {
  return !FailsNow() && ::SetFilePointerEx(file, to, at, how);
}
BOOL WINAPI Read(HANDLE file, LPVOID data, DWORD size, LPDWORD done, LPOVERLAPPED overlapped) {
  const bool fails = FailsNow();
  if (fails && !plan.isShort) return FALSE;
  return ::ReadFile(file, data, size - (fails ? 1 : 0), done, overlapped);
}
BOOL WINAPI Write(HANDLE file, LPCVOID data, DWORD size, LPDWORD done, LPOVERLAPPED overlapped) {
  const bool fails = FailsNow();
  if (fails && !plan.isShort) return FALSE;
  if (plan.room == 0) {
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
  }
  // A disk takes what it has room for and calls that a success.
  const DWORD taken =
      static_cast<DWORD>(std::min<std::uint64_t>(size - (fails ? 1 : 0), plan.room));
  plan.room -= taken;
  return ::WriteFile(file, data, taken, done, overlapped);
}
BOOL WINAPI Flush(HANDLE file) { return !FailsNow() && ::FlushFileBuffers(file); }
BOOL WINAPI Cut(HANDLE file) { return !FailsNow() && ::SetEndOfFile(file); }

struct FileFaults {
  explicit FileFaults(Plan next) { plan = next; }
  ~FileFaults() { plan = {}; }
  ImportHook<decltype(::SetFilePointerEx)> seek{"KERNEL32.dll", "SetFilePointerEx", &Seek};
  ImportHook<decltype(::ReadFile)> read{"KERNEL32.dll", "ReadFile", &Read};
  ImportHook<decltype(::WriteFile)> write{"KERNEL32.dll", "WriteFile", &Write};
  ImportHook<decltype(::FlushFileBuffers)> flush{"KERNEL32.dll", "FlushFileBuffers", &Flush};
  ImportHook<decltype(::SetEndOfFile)> cut{"KERNEL32.dll", "SetEndOfFile", &Cut};
};

std::string Lines(std::size_t size, const std::string& line) {
  std::string text;
  while (text.size() < size) text += line;
  return text.substr(0, size);
}

TEST_F(LogFileTest, Wrap_Ansi_KeepsTheNewest_BehindTheMarker) {
  LogFile log(messages, 0, 2, 1);
  ASSERT_EQ(log.Open(kCreate, Path().c_str()), 1);
  std::string expected = kAnsiHeader;
  while (expected.size() <= 2 * kMegabyte) {
    EXPECT_EQ(FileBytes(Path()).size(), expected.size());
    const std::string line = Lines(30000, "entry " + std::to_string(expected.size()) + ";");
    EXPECT_TRUE(log.print(-1, L"%S\n", line.c_str()));
    expected += line + "\r\n";
  }
  const std::string wrapped = FileBytes(Path());
  expected = expected.substr(expected.size() - kMegabyte);
  const std::size_t lineEnd = expected.find('\r');
  expected.replace(0, lineEnd + 1, "This file has wrapped." + std::string(lineEnd + 1 - 22, ' '));
  EXPECT_EQ(wrapped, expected);
  EXPECT_TRUE(log.print(-1, L"next"));
  EXPECT_EQ(log.Close(), 1);
  EXPECT_EQ(FileBytes(Path()), expected + "next</joblog>");
  EXPECT_EQ(log.GetErrorCode(), 0u);
}

// The size of an appended file counts; a first chunk without a line end keeps its text.
TEST_F(LogFileTest, Wrap_Append_CountsWhatWasThere) {
  for (const int unicode : {0, 1}) {
    MakeFile(Path(), std::string(2 * kMegabyte, 'o'));
    LogFile log(messages, unicode, 2, 1);
    ASSERT_EQ(log.Open(kAppend, Path().c_str()), 1);
    const std::string text = FileBytes(Path());
    EXPECT_LT(text.size(), kMegabyte + 500);
    EXPECT_TRUE(text.starts_with(unicode ? "ooooo" : "This file has wrapped.oooo"));
    EXPECT_EQ(log.GetErrorCode(), 0u);
  }
}

TEST_F(LogFileTest, Wrap_SizesDecide) {
  const struct {
    int maxMB, keepMB;
    bool wraps;
  } cases[] = {{1, 2, false}, {1, -1, false}, {-1, 1, false}, {2, 1, false},
               {1, 1, true},  {1, 0, true},   {4096, 1, true}};
  for (const auto& row : cases) {
    MakeFile(Path(), std::string(kMegabyte, 'o'));
    LogFile log(messages, 0, row.maxMB, row.keepMB);
    ASSERT_EQ(log.Open(kAppend, Path().c_str()), 1);
    EXPECT_EQ(FileBytes(Path()).front() != 'o', row.wraps) << row.maxMB << " " << row.keepMB;
  }
}

// Each call of a wrap fails once. The text is in the log in any case, and so is the next one.
TEST_F(LogFileTest, Wrap_FailingAnywhere_SwitchesWrappingOff) {
  for (const bool isShort : {false, true}) {
    int failures = 0;
    for (int n = 2, calls = n; n <= calls; n += n < 12 ? 1 : 7) {  // call 1 writes the text itself
      MakeFile(Path(), Lines(kMegabyte, "old\r\n"));
      LogFile log(messages, 0, 2, 1);
      ASSERT_EQ(log.Open(kAppend, Path().c_str()), 1);
      const std::wstring text(kMegabyte, L'n');
      {
        const FileFaults faults({.failAt = n, .isShort = isShort});
        EXPECT_TRUE(log.print(-1, L"%s", text.c_str())) << n;
        calls = plan.calls;
      }
      const std::size_t size = FileBytes(Path()).size();
      if (log.GetErrorCode() != 0) {
        ++failures;
        EXPECT_GT(size, 2 * kMegabyte) << n;
      } else {
        EXPECT_EQ(size, kMegabyte) << n;
      }
      EXPECT_TRUE(log.print(-1, L"next"));
      EXPECT_EQ(log.Close(), 1);
      const std::string bytes = FileBytes(Path());
      EXPECT_EQ(bytes.size(), size + 4 + 9) << n;
      EXPECT_TRUE(bytes.ends_with("nnnnext</joblog>")) << n;
    }
    EXPECT_GT(failures, 10);
  }
}

// A text goes in whole or not at all, so the log reads on where there is room again.
TEST_F(LogFileTest, FullDisk_LosesTheTextAlone) {
  for (const std::uint64_t room : {0u, 1u, 7u, 199u}) {
    LogFile log(messages, 1, -1, -1);
    ASSERT_EQ(log.Open(kCreate, Path().c_str()), 1);
    {
      const FileFaults faults({.room = room});
      for (int n = 0; n < 3; ++n) {
        EXPECT_EQ(log.print(-1, L"%s", std::wstring(100, L'l').c_str()), 0);
        EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_DISK_FULL});
      }
      EXPECT_EQ(Body(), L"") << room;
    }
    EXPECT_TRUE(log.print(-1, L"good"));
    EXPECT_EQ(Body(), L"good");
  }
}

TEST_F(LogFileTest, FullDisk_WhileOpening_LeavesAnOldLogAsItWas) {
  const std::string old = "<joblog></joblog>";
  for (const std::uint64_t room : {0u, 10u, 60u, 80u}) {
    MakeFile(Path(), old);
    LogFile log(messages, 0, -1, -1);
    const FileFaults faults({.room = room});
    EXPECT_EQ(log.Open(kAppend, Path().c_str()), 0);
    EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(log.Close(), 1);
    EXPECT_EQ(FileBytes(Path()), old);
  }
}

}  // namespace
}  // namespace vtclass::test
