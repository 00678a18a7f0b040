// Sessions that read as another account. The logon is played; acting as its token is real.
#include <atomic>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "tests/support/run_here.h"
#include "tests/support/session_fixture.h"
#include "tests/support/token_copy.h"
#include "tools/vtctl/session/read_as.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "vtclass/security.h"

namespace vtctl {
namespace {

using vtclass::test::ImportHook;
using vtclass::test::Replace;
using vtclass::test::ThreadTokenId;

std::atomic<int> readAsProcess;
std::atomic<int> readAsAccount;
std::atomic<int> wroteAsAccount;

// What is opened or listed below the root.
void CountReading(std::wstring_view path) {
  if (path.find(L"\\tree\\") == std::wstring_view::npos) return;
  ++(ThreadTokenId() ? readAsAccount : readAsProcess);
}

decltype(::FindFirstFileExW)* const realFindFirst = &::FindFirstFileExW;
HANDLE WINAPI FindFirst(LPCWSTR path, FINDEX_INFO_LEVELS level, LPVOID data, FINDEX_SEARCH_OPS how,
                        LPVOID filter, DWORD flags) {
  CountReading(path);
  return realFindFirst(path, level, data, how, filter, flags);
}

decltype(::CreateFileW)* const realOpen = &::CreateFileW;
HANDLE WINAPI Open(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD how, DWORD flags, HANDLE like) {
  CountReading(path);
  return realOpen(path, access, share, security, how, flags, like);
}

BOOL WINAPI Write(HANDLE file, LPCVOID from, DWORD size, LPDWORD count, LPOVERLAPPED overlapped) {
  if (ThreadTokenId()) ++wroteAsAccount;
  return ::WriteFile(file, from, size, count, overlapped);
}

LSTATUS WINAPI OpenKey(HKEY key, LPCWSTR path, DWORD options, REGSAM access, PHKEY out) {
  if (ThreadTokenId()) ++wroteAsAccount;
  return ::RegOpenKeyExW(key, path, options, access, out);
}

struct PlayedLogons {
  DWORD error = 0;
  int count = 0;
  std::wstring password;
  HANDLE token = nullptr;
};
PlayedLogons logons;

BOOL WINAPI LogOn(LPCWSTR, LPCWSTR, LPCWSTR password, DWORD, DWORD, PHANDLE token) {
  ++logons.count;
  logons.password = password;
  ::SetLastError(logons.error);
  if (logons.error != ERROR_SUCCESS) return FALSE;
  logons.token = *token = vtclass::test::TokenCopy().Release();
  return TRUE;
}

bool IsOpenToken(HANDLE token) {
  DWORD type = 0;
  DWORD size = 0;
  return ::GetTokenInformation(token, TokenType, &type, sizeof type, &size) != FALSE;
}

class SessionAs : public SessionTest {
 protected:
  SessionAs() {
    readAsProcess = readAsAccount = wroteAsAccount = 0;
    logons = {};
  }

  test::RunHere RunAs(const std::wstring& account, const std::string& input) {
    const test::PlayedInput password(input);
    return {AddSessionCommand,
            {L"session", L"--root", request.root.Written(), L"--out", out.Path(), L"--language",
             L"EN", L"--json", L"--as", account}};
  }

  std::wstring LogOf(const test::RunHere& run) {
    SessionResult result;
    const auto json = nlohmann::json::parse(run.output);
    result.logPath = Path(FromUtf8(json["jobLog"].get<std::string>()));
    return LogText(result);
  }

  const vtclass::test::ScratchFolder out;
  const HMODULE program = ::GetModuleHandleW(nullptr);
  const ImportHook<decltype(::LogonUserW)> logOn{"ADVAPI32.dll", "LogonUserW", &LogOn};
  const ImportHook<decltype(::WriteFile)> write{"KERNEL32.dll", "WriteFile", &Write};
  const ImportHook<decltype(::RegOpenKeyExW)> openKey{"ADVAPI32.dll", "RegOpenKeyExW", &OpenKey};
  const ImportHook<decltype(::FindFirstFileExW)> find{"KERNEL32.dll", "FindFirstFileExW",
                                                      &FindFirst, program};
  const ImportHook<decltype(::CreateFileW)> open{"KERNEL32.dll", "CreateFileW", &Open, program};
};

TEST_F(SessionAs, TreeIsReadAsTheAccount_LogsAndRegistryAreUsedAsTheProcess) {
  const test::RunHere run = RunAs(L"D\\backup", "s3cret\n");
  EXPECT_EQ(run.code, kExitClean) << run.errors;
  EXPECT_EQ(logons.count, 1);
  EXPECT_EQ(logons.password, L"s3cret");
  EXPECT_EQ(readAsProcess, 0);
  EXPECT_EQ(readAsAccount, 4) << "two folders, two files";
  EXPECT_EQ(wroteAsAccount, 0);
  EXPECT_FALSE(ThreadTokenId());
  EXPECT_FALSE(IsOpenToken(logons.token));
  const auto json = nlohmann::json::parse(run.output);
  EXPECT_EQ(json["files"], 2);
  const std::string account = json["readAs"];
  EXPECT_EQ(account, ToUtf8(Impersonator::WhoAmI()));
  const std::wstring log = LogOf(run);
  EXPECT_NE(log.find(L"<job_account>Read as: " + FromUtf8(account) + L"</job_account>"),
            std::wstring::npos);
  EXPECT_EQ(log.find(L"s3cret"), std::wstring::npos);
  EXPECT_EQ((run.output + run.errors).find("s3cret"), std::string::npos);
  // Without it nothing of that stands there.
  EXPECT_EQ(LogText(Run()).find(L"<job_account>"), std::wstring::npos);
  EXPECT_GT(readAsProcess, 0);
}

TEST_F(SessionAs, StoppedOrFailingInBetween_ComesBack) {
  static std::atomic<int> questions;
  static std::atomic<bool> isStopped;
  request.reader.token = vtclass::test::TokenCopy();
  for (const bool stops : {true, false}) {
    questions = 0;
    isStopped = stops;
    request.stopRequested = [] {
      const bool isOver = ++questions > 4;
      // In the middle of a folder, on the thread that reads it.
      if (isOver && ThreadTokenId() && !isStopped) throw std::runtime_error("lost");
      return isOver && isStopped;
    };
    if (stops) {
      EXPECT_EQ(Run().status, SessionResult::cancelled);
    } else {
      EXPECT_THROW(Run(), std::runtime_error);
    }
    EXPECT_GT(readAsAccount, 0);
    EXPECT_EQ(readAsProcess, 0);
    EXPECT_EQ(wroteAsAccount, 0);
    EXPECT_FALSE(ThreadTokenId());
  }
}

// Lets the n-th impersonation fail.
auto RefuseAt(int number) {
  return Replace<decltype(::ImpersonateLoggedOnUser)>(
      "ImpersonateLoggedOnUser",
      [number, real = &::ImpersonateLoggedOnUser, calls = 0](HANDLE token) mutable -> BOOL {
        if (++calls != number) return real(token);
        return ::SetLastError(ERROR_BAD_IMPERSONATION_LEVEL), FALSE;
      },
      ::GetModuleHandleW(nullptr));
}

// A folder that cannot be read as the account is not read as the process. The first two are for the
// volume and its space.
TEST_F(SessionAs, RefusedImpersonation_IsAFolderThatCannotBeListed) {
  request.reader.token = vtclass::test::TokenCopy();
  request.workers = 1;
  for (const int number : {1, 2, 3, 4}) {
    const auto refuse = RefuseAt(number);
    const SessionResult result = Run();
    const bool isFolder = number > 2;
    EXPECT_EQ(result.totals.files, number == 3 ? 0U : number == 4 ? 1U : 2U);
    ASSERT_EQ(result.totals.errors, isFolder ? 1U : 0U);
    if (isFolder) {
      EXPECT_NE(LineOf(result.findings[0]).find(L"(1346)"), std::wstring::npos);
    } else {
      EXPECT_EQ(result.volume.freeBefore, std::nullopt);
    }
    EXPECT_EQ(readAsProcess, 0);
  }
}

TEST_F(SessionAs, RefusedLogon_BeginsNoSession) {
  const struct {
    DWORD error;
    int refusedAt;
    std::wstring account;
    int code;
    const char* sentence;
  } rows[] = {{1326, 0, L"D\\u", kExitNoInput, "D\\u cannot be logged on: "},
              {1909, 0, L"D\\u", kExitNoInput, "(1909)"},
              {0, 1, L"D\\u", kExitNoInput, "cannot be impersonated: "},
              {0, 2, L"D\\u", kExitNoInput, "(1346)"},
              {0, 0, L"", kExitUsage, "The account is empty"}};
  for (const auto& row : rows) {
    logons = {};
    logons.error = row.error;
    const auto refuse = RefuseAt(row.refusedAt);
    const test::RunHere run = RunAs(row.account, "pw");
    EXPECT_EQ(run.code, row.code);
    EXPECT_NE(run.errors.find(row.sentence), std::string::npos) << run.errors;
    EXPECT_EQ(run.errors.find("Account Password"), std::string::npos);
    EXPECT_TRUE(run.output.starts_with("{\"error\":")) << run.output;
    EXPECT_FALSE(ThreadTokenId());
    EXPECT_FALSE(logons.token && IsOpenToken(logons.token));
  }
  EXPECT_EQ(readAsAccount + readAsProcess, 0);
  WIN32_FIND_DATAW entry;
  EXPECT_EQ(::FindFirstFileW((out / L"joblog-*").c_str(), &entry), INVALID_HANDLE_VALUE);
}

// Of the account that the settings name, and of no other.
TEST_F(SessionAs, StoredPassword_IsThatOfItsAccount) {
  const std::wstring key = SessionKey().subkey;
  const auto store = [&](const wchar_t* name, const std::wstring& text) {
    vtclass::test::StoreValue(key, name, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  };
  const struct {
    std::wstring account, sealed, password;
  } rows[] = {{L"d\\Backup", L"=Qk95H\\I@7T", L"secret"}, {L"D\\other", L"=Qk95H\\I@7T", L"typed"},
              {L"", L"=Qk95H\\I@7T", L"typed"},           {L"D\\backup", L"=Qk95H\\I@7X", L"typed"},
              {L"D\\backup", L"plain", L"typed"},         {L"D\\backup", L"", L"typed"}};
  for (const auto& row : rows) {
    store(L"Account", row.account);
    store(L"Account Password", row.sealed);
    const test::RunHere run = RunAs(L"D\\backup", "typed\n");
    EXPECT_LE(run.code, kExitWarnings) << run.errors;
    EXPECT_EQ(logons.password, row.password);
    EXPECT_EQ(LogOf(run).find(row.password), std::wstring::npos);
  }
  store(L"Account", L"D\\backup");
  store(L"Account Password", L"=Qk95H\\I@7T");
  logons.error = ERROR_LOGON_FAILURE;
  EXPECT_NE(RunAs(L"D\\backup", "").errors.find("that of \"Account Password\""), std::string::npos);
}

// A thread that cannot come back would write as the account.
TEST_F(SessionAs, RefusedRevert_EndsTheProcess) {
  const auto token = vtclass::test::TokenCopy();
  const auto refuse =
      Replace<decltype(::RevertToSelf)>("RevertToSelf", [](auto...) { return FALSE; }, program);
  EXPECT_EXIT(ReadingAs{token.Get()}, testing::ExitedWithCode(kExitInternal), "did not come back");
}

}  // namespace
}  // namespace vtctl
