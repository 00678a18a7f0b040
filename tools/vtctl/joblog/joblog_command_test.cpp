// vtctl joblog show as a script runs it: files of the real writer, exit codes, outputs.
#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <winternl.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/import_hook.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/joblog/joblog_files.h"
#include "tools/vtctl/run_vtctl.h"
#include "tools/vtctl/shared/exit_code.h"
#include "vtclass/log.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::test::FileBytes;
using vtclass::test::ImportHook;
using vtclass::test::MakeFile;
using vtclass::test::ScratchFolder;
using Words = std::vector<std::wstring>;
using Json = nlohmann::json;

constexpr long kAccessDenied = static_cast<long>(0xE0008488);

class JobLogCommand : public testing::Test {
 protected:
  Words Show(Words more = {}) const {
    Words words = {L"joblog", L"show", path};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  // Writes a log with two folders, and a warning or an error with an identifier.
  void Write(int unicode, int openMode, const wchar_t* tag) {
    StringResourceMgr messages;
    LogFile log(messages, unicode, -1, -1);
    ASSERT_NE(log.Open(openMode, path.c_str()), 0);
    for (const wchar_t* folder : {L"C:\\A", L"C:\\A\\B & C"}) {
      log.printTMP(-1, L"<d>");
      log.printTMP(-1, L"<directory_name>", L"%ls", folder);
    }
    if (tag) log.printerrorUMI(-1, kAccessDenied, tag, L"%ls", L"<no> \"access\"\n");
    log.printTMP(-1, L"</d></d>");
    log.Close();
  }

  ScratchFolder scratch;
  std::wstring path = scratch / L"job.xml";
};

TEST_F(JobLogCommand, Show_LogsOfTheWriter_GiveTheWorstSeverity) {
  const struct {
    const wchar_t* tag;
    int exitCode;
  } cases[] = {{nullptr, kExitClean},
               {L"<Warning Type=\"access_denied\">", kExitWarnings},
               {L"<OperationErrors Type=\"access_denied\">", kExitErrors}};
  for (const int unicode : {0, 1}) {
    for (const auto& c : cases) {
      Write(unicode, 0, c.tag);
      VtctlRun run(Show());
      EXPECT_EQ(run.ExitCode(), c.exitCode) << run.ErrorOutput();
      EXPECT_NE(run.Output().find("\n  C:\\A\\B & C\n"), std::string::npos) << run.Output();
      const bool hasMessage =
          run.Output().find("Q-79-57344-33928: <no> \"access\"\n") != std::string::npos;
      EXPECT_EQ(hasMessage, c.tag != nullptr) << run.Output();
    }
  }
}

TEST_F(JobLogCommand, Show_CutOffAppendedAndFiltered_GiveTheirExitCodes) {
  Write(1, 0, L"<Warning Type=\"access_denied\">");
  const std::string whole = FileBytes(path);
  EXPECT_EQ(VtctlRun(Show({L"--code", L"q-79-57344-33928"})).ExitCode(), kExitWarnings);
  EXPECT_EQ(VtctlRun(Show({L"--code", L"Q-79-1-2"})).ExitCode(), kExitClean);
  const Words codesFirst = {L"joblog",           L"show", L"--code", L"Q-79-1-2", L"--code",
                            L"Q-79-57344-33928", path};
  EXPECT_EQ(VtctlRun(codesFirst).ExitCode(), kExitWarnings);
  EXPECT_EQ(VtctlRun(Show({L"--code", L"access"})).ExitCode(), kExitUsage);
  MakeFile(path, whole.substr(0, whole.size() - 5));
  EXPECT_EQ(VtctlRun(Show({L"--code", L"Q-79-1-2"})).ExitCode(), kExitErrors);
  Write(1, 1, nullptr);
  VtctlRun appended(Show());
  EXPECT_EQ(appended.ExitCode(), kExitWarnings);
  EXPECT_NE(appended.Output().find("Job log 2 (UTF-16, version 2.0)"), std::string::npos);
}

TEST_F(JobLogCommand, Show_UnusableFiles_AreRefusedInOneSentence) {
  EXPECT_EQ(VtctlRun(Show()).ExitCode(), kExitNoInput);
  MakeFile(path, "<?xml version=\"1.0\"?>\n<project/>");
  VtctlRun other(Show());
  EXPECT_EQ(other.ExitCode(), kExitBadInput);
  EXPECT_NE(other.ErrorOutput().find("line 2, column 1 (byte 22)"), std::string::npos);
  EXPECT_EQ(other.Output(), "");
  VtctlRun overwrite(Show({L"--html", path}));
  EXPECT_EQ(overwrite.ExitCode(), kExitUsage);
  EXPECT_EQ(VtctlRun(Show({L"--html", scratch / L"no\\page.html"})).ExitCode(), kExitBadInput);
  Write(1, 0, nullptr);
  EXPECT_EQ(VtctlRun(Show({L"--html", scratch / L"no\\page.html"})).ExitCode(), kExitCannotWrite);
}

TEST_F(JobLogCommand, Show_JsonAndPage_ComeFromOneRun) {
  Write(1, 0, L"<OperationErrors Type=\"access_denied\">");
  const std::wstring page = scratch / L"page.html";
  VtctlRun run(Show({L"--json", L"--html", page}));
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  std::vector<Json> lines;
  const std::string output = run.Output();
  for (std::size_t at = 0, end; (end = output.find('\n', at)) != std::string::npos; at = end + 1) {
    lines.push_back(Json::parse(output.substr(at, end - at)));
  }
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[3]["text"], "<no> \"access\"");
  EXPECT_EQ(lines[3]["depth"], 2);
  EXPECT_EQ(lines[5]["kind"], "summary");
  EXPECT_EQ(lines[5]["errors"], 1);
  EXPECT_NE(FileBytes(page).find("&lt;no&gt; &quot;access&quot;"), std::string::npos);
}

// Under Wine the system cannot tell who else has a file open, and the sentence says no more.
TEST_F(JobLogCommand, Show_LogThatIsBeingWritten_SaysSo) {
  StringResourceMgr messages;
  LogFile log(messages, 1, -1, -1);
  ASSERT_NE(log.Open(0, path.c_str()), 0);
  log.printTMP(-1, L"<note>", L"%ls", L"first");
  VtctlRun run(Show());
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  EXPECT_NE(run.Output().find("may still be running"), std::string::npos) << run.Output();
  log.Close();
}

// The hooked calls are this program's own, so the replacements know the real ones from before.
auto* const createFile = &::CreateFileW;
auto* const moveFile = &::MoveFileExW;
auto* const writeFile = &::WriteFile;

std::wstring agentsLog;
int refusals;

bool AgentGetsIn() {
  StringResourceMgr messages;
  LogFile log(messages, 1, -1, -1);
  return log.Open(1, agentsLog.c_str()) == 1;
}

HANDLE WINAPI OpenWithAnAgentBeside(LPCWSTR name, DWORD access, DWORD share,
                                    LPSECURITY_ATTRIBUTES security, DWORD how, DWORD flags,
                                    HANDLE like) {
  const HANDLE file = createFile(name, access, share, security, how, flags, like);
  refusals += !AgentGetsIn();
  return file;
}

// At whatever moment an agent opens its log, a reader must not keep it out.
TEST_F(JobLogCommand, Reader_ShutsNoWriterOut) {
  Write(1, 0, nullptr);
  agentsLog = path;
  refusals = 0;
  LogInput input;
  {
    const ImportHook<decltype(::CreateFileW)> hook(
        "KERNEL32.dll", "CreateFileW", &OpenWithAnAgentBeside, ::GetModuleHandleW(nullptr));
    EXPECT_EQ(input.Open(Path(path)), 0u);
    EXPECT_TRUE(input.IsSameFile(Path(path)));
  }
  EXPECT_EQ(refusals, 0);
  EXPECT_TRUE(AgentGetsIn());
}

TEST_F(JobLogCommand, Reader_TellsWhyItCannotReadOn) {
  Write(1, 0, nullptr);
  LogInput input;
  ASSERT_EQ(input.Open(Path(path)), 0u);
  char bytes[16];
  EXPECT_EQ(input.Read(bytes, sizeof bytes), sizeof bytes);
  EXPECT_EQ(input.Error(), 0u);
  const ImportHook<decltype(::ReadFile)> hook(
      "KERNEL32.dll", "ReadFile", [](auto...) { return ::SetLastError(ERROR_CRC), FALSE; },
      ::GetModuleHandleW(nullptr));
  EXPECT_EQ(input.Read(bytes, sizeof bytes), 0u);
  EXPECT_EQ(input.Error(), DWORD{ERROR_CRC});
}

NTSTATUS userAnswer;
std::vector<ULONG_PTR> users;

NTSTATUS NTAPI NameUsers(HANDLE, PIO_STATUS_BLOCK, PVOID out, ULONG size,
                         FILE_INFORMATION_CLASS kind) {
  EXPECT_EQ(static_cast<int>(kind), 47);
  auto* const words = static_cast<ULONG_PTR*>(out);
  EXPECT_GT(size, users.size() * sizeof(ULONG_PTR));
  *words = users.size();
  std::copy(users.begin(), users.end(), words + 1);
  return userAnswer;
}

TEST_F(JobLogCommand, Reader_AsksWhoElseHasTheLog) {
  Write(1, 0, nullptr);
  const ULONG_PTR self = ::GetCurrentProcessId();
  const struct {
    long answer;
    std::vector<ULONG_PTR> users;
    std::optional<bool> open;
  } rows[] = {{0, {self}, false},
              {0, {self, self + 4}, true},
              {0, {}, false},
              {static_cast<long>(0xC0000004), {}, true},  // more than there is room for
              {static_cast<long>(0xC0000003), {self + 4}, std::nullopt}};
  const ImportHook<decltype(::NtQueryInformationFile)> hook(
      "ntdll.dll", "NtQueryInformationFile", &NameUsers, ::GetModuleHandleW(nullptr));
  for (const auto& row : rows) {
    userAnswer = row.answer;
    users = row.users;
    LogInput input;
    EXPECT_EQ(input.Open(Path(path)), 0u);
    EXPECT_EQ(input.IsOpenElsewhere(), row.open) << row.answer;
  }
}

std::vector<std::wstring> created;
DWORD moveFailure;
DWORD writeFailure;

HANDLE WINAPI FirstNameIsTaken(LPCWSTR name, DWORD access, DWORD share,
                               LPSECURITY_ATTRIBUTES security, DWORD how, DWORD flags,
                               HANDLE like) {
  EXPECT_EQ(how, DWORD{CREATE_NEW});
  created.emplace_back(name);
  if (created.size() > 1) return createFile(name, access, share, security, how, flags, like);
  ::SetLastError(ERROR_FILE_EXISTS);
  return INVALID_HANDLE_VALUE;
}

BOOL WINAPI Move(LPCWSTR from, LPCWSTR to, DWORD flags) {
  ::SetLastError(moveFailure);
  return moveFailure == 0 && moveFile(from, to, flags);
}

BOOL WINAPI WriteAPart(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED how) {
  if (writeFailure == 0 || size > 10) {
    return writeFile(file, bytes, std::min(size, DWORD{5}), written, how);
  }
  *written = 0;
  ::SetLastError(writeFailure);
  return FALSE;
}

DWORD WriteHooked(const std::wstring& path, std::string_view bytes) {
  const HMODULE self = ::GetModuleHandleW(nullptr);
  const ImportHook<decltype(::CreateFileW)> create("KERNEL32.dll", "CreateFileW", &FirstNameIsTaken,
                                                   self);
  const ImportHook<decltype(::MoveFileExW)> move("KERNEL32.dll", "MoveFileExW", &Move, self);
  const ImportHook<decltype(::WriteFile)> write("KERNEL32.dll", "WriteFile", &WriteAPart, self);
  return WriteWholeFile(Path(path), bytes);
}

// A page goes through a new file of a name that nobody can foresee, and nothing of it stays.
TEST_F(JobLogCommand, Page_IsThereWholeOrNotAtAll) {
  const std::wstring page = scratch / L"page.html";
  const struct {
    DWORD move, write;
  } rows[] = {{0, 0}, {ERROR_ACCESS_DENIED, 0}, {0, ERROR_DISK_FULL}};
  std::set<std::wstring> names;
  for (const auto& row : rows) {
    const DWORD failure = row.move + row.write;
    created.clear();
    MakeFile(page, "before");
    moveFailure = row.move;
    writeFailure = row.write;
    EXPECT_EQ(WriteHooked(page, "a page of more bytes"), failure);
    EXPECT_EQ(FileBytes(page), failure != 0 ? "before" : "a page of more bytes");
    ASSERT_EQ(created.size(), 2u);
    EXPECT_TRUE(created[1].starts_with(Path(page).System() + L".")) << "not beside the page";
    EXPECT_EQ(::GetFileAttributesW(created[1].c_str()), INVALID_FILE_ATTRIBUTES);
    names.insert(created.begin(), created.end());
  }
  EXPECT_EQ(names.size(), 2 * std::size(rows)) << "a name came twice";
}

TEST(WriteWholeFile, Failure_LeavesTheOldFileAndNothingElse) {
  const ScratchFolder folder;
  const std::wstring path = folder / L"page.html";
  EXPECT_EQ(WriteWholeFile(Path(path), "old"), ERROR_SUCCESS);
  {
    LogInput reader;
    ASSERT_EQ(reader.Open(Path(path)), ERROR_SUCCESS);
    EXPECT_TRUE(reader.IsSameFile(Path(path)));
  }
  ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  const HANDLE held =
      ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
  LogInput reader;
  EXPECT_EQ(reader.Open(Path(path)), ERROR_SUCCESS);
  EXPECT_NE(WriteWholeFile(Path(path), "new"), ERROR_SUCCESS);
  ::CloseHandle(held);
  EXPECT_EQ(FileBytes(path), "old");
  WIN32_FIND_DATAW found = {};
  const HANDLE search = ::FindFirstFileW((folder / L"*.vtctl-*").c_str(), &found);
  EXPECT_EQ(search, INVALID_HANDLE_VALUE);
}

}  // namespace
}  // namespace vtctl
