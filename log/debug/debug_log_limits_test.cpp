#include <algorithm>

#include "platform/owned.h"
#include "tests/support/debug_log_fixture.h"
#include "tests/support/file_faults.h"
#include "tests/support/handle_counter.h"

namespace vtclass::test {
namespace {

using enum DebugLog::openMode;
using platform::OwnedFile;

constexpr std::size_t kMegabyte = 1 << 20;

// The library's openings, counted; they may fail.
int openings = 0;
bool folderIsGone = false;
std::vector<std::wstring> reports;

HANDLE WINAPI Create(const wchar_t* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                     DWORD disposition, DWORD flags, HANDLE like) {
  ++openings;
  ::SetLastError(ERROR_PATH_NOT_FOUND);
  return folderIsGone ? INVALID_HANDLE_VALUE
                      : ::CreateFileW(name, access, share, security, disposition, flags, like);
}
void WINAPI Output(const wchar_t* text) { reports.emplace_back(text); }

class DebugLogLimits : public DebugLogTest {
 protected:
  DebugLogLimits() { reports.clear(); }

  // A line of 4,000 bytes in UTF-16, unless told otherwise.
  static void PrintLine(DebugLog& log, int n, int characters = 2000) {
    const std::wstring tail(static_cast<std::size_t>(characters) - 8, L'-');
    EXPECT_TRUE(log.print(L"%06d%s\n", n, tail.c_str())) << n;
  }
  // The numbers of the lines in the rotated files, oldest first, and in the live file.
  std::vector<int> Numbers() const {
    std::vector<int> numbers;
    for (int n = 1; n <= 10; ++n) {
      for (const auto& line : LinesIn(n < 10 ? Rotated(n) : path))
        numbers.push_back(std::stoi(line));
    }
    return numbers;
  }
  static std::vector<int> Upwards(int from, int to) {
    std::vector<int> numbers;
    for (; from < to; ++from) numbers.push_back(from);
    return numbers;
  }

  const ImportHook<decltype(::CreateFileW)> create{"KERNEL32.dll", "CreateFileW", &Create};
  const ImportHook<decltype(::OutputDebugStringW)> output{"KERNEL32.dll", "OutputDebugStringW",
                                                          &Output};
};

TEST_F(DebugLogLimits, Rename_KeepsCountFiles_AndDropsTheOldest) {
  Limit(3);
  for (const int left : {4, 5, 23, 24}) MakeFile(Rotated(left), "left");
  const HandleCounter handles;
  OpenDebugLog log(messages, 1, path);
  constexpr int kLines = 175;  // the first size of at least 2 MB / 3
  for (int n = 0; n < kLines; ++n) PrintLine(log, n);
  EXPECT_EQ(FileBytes(path).size(), 2u + kLines * 4000u);
  EXPECT_NE(FileBytes(Rotated(4)), "") << "nothing is touched before the first roll";
  for (int n = kLines; n < 3 * kLines + 1; ++n) PrintLine(log, n);
  for (const int left : {4, 5, 23}) EXPECT_EQ(FileBytes(Rotated(left)), "") << left;
  EXPECT_EQ(FileBytes(Rotated(24)), "left") << "beyond what the clean-up looks at";
  EXPECT_EQ(Numbers(), Upwards(0, 3 * kLines + 1));
  EXPECT_EQ(LinesIn(Rotated(3)).size(), std::size_t{kLines});
  MakeFile(Rotated(5), "late");
  for (int n = 3 * kLines + 1; n < 4 * kLines + 1; ++n) PrintLine(log, n);
  EXPECT_EQ(FileBytes(Rotated(5)), "late") << "the clean-up is done once";
  EXPECT_EQ(Numbers(), Upwards(kLines, 4 * kLines + 1));
  EXPECT_TRUE(log.Close());
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(handles.Open(), 0);
}

// Whichever file another program holds: no line is lost, nothing is deleted twice, the roll is
// tried now and then and succeeds in the end, also when a file has come where one had gone.
TEST_F(DebugLogLimits, Rename_HeldFile_TheLogGoesOn) {
  const struct {
    const wchar_t *held, *report, *comes;
    int keptWhileHeld, keptInTheEnd;
  } rows[] = {
      {L".bak1", L"RenameWhenMaxSizeReached::RenameFiles - Unable to delete files", nullptr, 4, 3},
      {L".bak2", L"RenameWhenMaxSizeReached::RenameFiles - Unable to move file", nullptr, 3, 3},
      {L".bak3", L"RenameWhenMaxSizeReached::RenameFiles - Unable to move file", L".bak2", 3, 2},
      {L"", L"RenameWhenMaxSizeReached::RollingRename - Unable to move file", L".bak3", 3, 2}};
  Limit(3);
  constexpr int kLines = 175;
  for (const auto& row : rows) {
    OpenDebugLog log(messages, 1, path);
    int n = 0;
    while (n < 4 * kLines) PrintLine(log, n++);
    reports.clear();
    OwnedFile held(::CreateFileW((path + row.held).c_str(), GENERIC_READ,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                 nullptr));
    ASSERT_TRUE(held);
    for (openings = 0; n < 5 * kLines; ++n) PrintLine(log, n);
    EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(reports, std::vector<std::wstring>{row.report}) << "once";
    EXPECT_GT(openings, 1);
    EXPECT_LT(openings, 20);
    held.Reset();
    EXPECT_EQ(Numbers(), Upwards(n - (row.keptWhileHeld + 1) * kLines, n)) << row.held;
    if (row.comes) MakeFile(path + row.comes, "");
    for (; n < 5 * kLines + 60; ++n) PrintLine(log, n);
    EXPECT_EQ(Numbers(), Upwards((4 - row.keptInTheEnd) * kLines, n)) << row.held;
    EXPECT_LT(LinesIn(path).size(), 61u) << "rolled";
    EXPECT_EQ(log.GetLostLines(), 0u);
  }
}

TEST_F(DebugLogLimits, Rename_AnotherFile_BeginsAnew) {
  Limit(1);
  OpenDebugLog log(messages, 0, folder / L"first");
  for (const wchar_t* name : {L"first", L"second", L"first"}) {
    MakeFile(folder / name + L".bak2", "left");
    EXPECT_TRUE(log.Close());
    MakeFile(folder / name, std::string(2 * kMegabyte, 'o'));
    EXPECT_TRUE(log.Open(openAppend, (folder / name).c_str()));
    EXPECT_TRUE(log.print(L"x"));
    EXPECT_EQ(FileBytes(folder / name + L".bak2"), "") << name;
  }
}

// After a roll the fresh file cannot be opened, or not begun: lines are lost and counted, until
// that is over.
TEST_F(DebugLogLimits, Rename_NoFreshFile_Recovers) {
  Limit(200);
  for (const bool diskIsFull : {true, false}) {
    OpenDebugLog log(messages, 1, path);
    for (int n = 0; n < 3; ++n) PrintLine(log, n);
    {
      const FileFaults faults({.room = 0});
      folderIsGone = !diskIsFull;
      for (int n = 0; n < 5; ++n) EXPECT_EQ(log.print(L"lost\n"), 0);
      folderIsGone = false;
    }
    EXPECT_EQ(log.GetLostLines(), 5u);
    EXPECT_EQ(std::ranges::count(reports, L"DebugLog::print - Unable to write"), 2 - diskIsFull);
    PrintLine(log, 3);
    EXPECT_EQ(LinesIn(path), std::vector<std::wstring>{L"000003" + std::wstring(1992, L'-')});
  }
}

TEST_F(DebugLogLimits, SimpleRoll_GoesOnInAFurtherFile) {
  const std::wstring live = folder / L"later.log";  // the first one gives the name
  const std::wstring next = folder / L"trace-2.log";
  MakeFile(live, std::string(20 * kMegabyte - 10, 'o'));
  MakeFile(next, "older");
  OpenDebugLog log(messages, 0, path);
  EXPECT_TRUE(log.Open(openAppend, live.c_str()));
  EXPECT_TRUE(log.print(L"12345678\n"));
  {
    const OwnedFile held(
        ::CreateFileW(next.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(log.print(L"goes on\n"));
    EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(reports.back(), L"DebugLog::SimpleRoll - Unable to open file");
  }
  const std::wstring large(30000, L'x');
  while (log.GetFileName() == live) ASSERT_TRUE(log.print(L"%s\n", large.c_str()));
  EXPECT_EQ(log.GetFileName(), next);
  EXPECT_EQ(FileBytes(next).size(), 30002u);
  EXPECT_TRUE(FileBytes(live).substr(20 * kMegabyte - 10).starts_with("12345678\r\ngoes on\r\n"));
}

// With the shorter lines the part that is kept begins within a line, with the others at one's
// start.
TEST_F(DebugLogLimits, Wrap_KeepsTheNewestWholeLines) {
  Limit(0, 1);
  for (const int unicode : {1, 0}) {
    for (const int characters : {2000, 2048}) {
      OpenDebugLog log(messages, unicode, path);
      const int bytes = unicode ? 2 * characters : characters;
      const int threshold = static_cast<int>(2 * kMegabyte) - 2 * unicode;
      const int lines = (threshold + bytes - 1) / bytes;
      for (int n = 0; n < lines; ++n) PrintLine(log, n, characters);
      EXPECT_EQ(FileBytes(path).size(), static_cast<std::size_t>(lines * bytes + 2 * unicode));
      PrintLine(log, lines, characters);
      std::vector<std::wstring> left = LinesIn(path);
      EXPECT_EQ(left.front(), L"<<< This file has wrapped >>>");
      left.erase(left.begin());
      const int kept = static_cast<int>(kMegabyte) / bytes;
      ASSERT_EQ(left.size(), static_cast<std::size_t>(kept + 1));
      for (int n = 0; n <= kept; ++n)
        EXPECT_EQ(std::stoi(left[static_cast<std::size_t>(n)]), lines - kept + n);
      EXPECT_EQ(FileBytes(path).starts_with("\xFF\xFE"), unicode != 0);
    }
  }
}

// The file that the caller has opened himself has the next number: it is not emptied.
TEST_F(DebugLogLimits, SimpleRoll_PassesTheFileAtHand) {
  const std::wstring mine = folder / L"TRACE-2.LOG";
  const std::string full(20 * kMegabyte, 'o');
  MakeFile(mine, full);
  OpenDebugLog log(messages, 0, path);
  EXPECT_TRUE(log.Open(openAppend, mine.c_str()));
  EXPECT_TRUE(log.print(L"next\n"));
  EXPECT_EQ(log.GetFileName(), folder / L"trace-3.log");
  EXPECT_EQ(FileBytes(mine), full);
  EXPECT_EQ(FileBytes(folder / L"trace-3.log"), "next\r\n");
}

// A name without a folder is where the process was when the log was opened.
TEST_F(DebugLogLimits, RelativeName_StaysInItsFolder) {
  const ScratchFolder other;
  wchar_t before[MAX_PATH] = L"";
  ASSERT_NE(::GetCurrentDirectoryW(MAX_PATH, before), 0u);
  Limit(1);
  MakeFile(other / L"trace.log", "another's");
  for (const bool live : {false, true}) {
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    MakeFile(path, std::string(2 * kMegabyte, 'o'));
    Set(L"CreateDebugLog", 0);
    std::unique_ptr<DebugLog> log;
    if (live) {
      log.reset(LogFileFactory(messages, 0).CreateDebugLog(nullptr, L"trace.log"));
    } else {
      log = std::make_unique<OpenDebugLog>(messages, 0, L".\\trace.log", openAppend);
    }
    ASSERT_TRUE(::SetCurrentDirectoryW(other.Path().c_str()));
    Set(L"CreateDebugLog", 1);
    EXPECT_TRUE(log->UpdateSettings());
    EXPECT_TRUE(log->print(L"on\n"));
    ASSERT_TRUE(::SetCurrentDirectoryW(before));
    EXPECT_EQ(log->GetFileName(), path);
    EXPECT_TRUE(FileBytes(Rotated(1)).starts_with("ooo"));
    EXPECT_EQ(FileBytes(other / L"trace.log"), "another's");
    EXPECT_EQ(FileBytes(other / L"trace.log.bak1"), "");
  }
  // Nor does a stored name move as long as it is the same.
  SetText(L"Path", L"trace.log");
  DebugLog log(messages, 0, L"Path");
  ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
  EXPECT_TRUE(log.UpdateSettings());
  ASSERT_TRUE(::SetCurrentDirectoryW(other.Path().c_str()));
  EXPECT_TRUE(log.UpdateSettings());
  EXPECT_EQ(log.GetFileName(), path);
  EXPECT_EQ(FileBytes(other / L"trace.log"), "another's");
  SetText(L"Path", L".\\trace.log");
  EXPECT_TRUE(log.UpdateSettings());
  ASSERT_TRUE(::SetCurrentDirectoryW(before));
  EXPECT_EQ(log.GetFileName(), other / L"trace.log");
}

// Each call of a wrap fails once, as if the program ended there: the newest lines are all in the
// file, and the log goes on.
TEST_F(DebugLogLimits, Wrap_FailingAnywhere_LosesNoNewLine) {
  Limit(0, 1);
  Set(L"MaxDebugFile Retention Size In MB", 1);
  std::string whole;
  for (int n = 0; whole.size() < 2 * kMegabyte; ++n) {
    whole += std::to_string(100000 + n) + std::string(1992, '-') + "\r\n";
  }
  const std::string newest = whole.substr(whole.size() - std::size_t{524} * 2000);
  struct Row {
    bool isShort, isLost;
  };
  for (const Row row : {Row{false, false}, Row{true, false}, Row{false, true}}) {
    int failures = 0;
    for (int n = 1, calls = n; n <= calls; n += n < 12 || n > calls - 8 ? 1 : 13) {
      MakeFile(path, whole);
      OpenDebugLog log(messages, 0, path, openAppend);
      {
        const FileFaults faults({.failAt = n, .isShort = row.isShort, .isLost = row.isLost});
        log.print(L"next\n");
        calls = faultPlan.calls;
      }
      failures += log.GetErrorCode() != 0;
      const bool lost = log.GetLostLines() != 0;
      EXPECT_TRUE(log.print(L"last\n"));
      const std::string bytes = FileBytes(path);
      EXPECT_NE(bytes.find(newest), std::string::npos) << n;
      EXPECT_TRUE(bytes.ends_with(lost ? "--\r\nlast\r\n" : "--\r\nnext\r\nlast\r\n")) << n;
    }
    EXPECT_GT(failures, 10);
  }
}

}  // namespace
}  // namespace vtclass::test
