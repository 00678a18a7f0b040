#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/no_reason.h"
#include "tests/support/token_copy.h"
#include "vtclass/security.h"

namespace vtclass::test {
namespace {

// The system's calls in their order; number `failAt` is refused.
struct Calls {
  int count = 0;
  int failAt = 0;
  DWORD reason = ERROR_ACCESS_DENIED;
  DWORD access = 0;  // that the thread's token was last opened with
  int asSelf = -1;   // and the flag
  int tokens = 0;    // that are open
};

// Runs `work` with these calls.
template <typename Work>
void With(Calls& calls, Work work) {
  const auto fails = [&calls] {
    if (++calls.count != calls.failAt) return false;
    TellReason(calls.reason);
    return true;
  };
  const auto opened = [&calls](BOOL isOpen) {
    calls.tokens += isOpen ? 1 : 0;
    return isOpen;
  };
  const auto thread = Replace<decltype(::OpenThreadToken)>(
      "OpenThreadToken", [&](HANDLE owner, DWORD access, BOOL asSelf, PHANDLE token) {
        calls.access = access;
        calls.asSelf = asSelf;
        return fails() ? FALSE : opened(::OpenThreadToken(owner, access, asSelf, token));
      });
  const auto process = Replace<decltype(::OpenProcessToken)>("OpenProcessToken", [&](auto... as) {
    return fails() ? FALSE : opened(::OpenProcessToken(as...));
  });
  const auto close = Replace<decltype(::CloseHandle)>(
      "CloseHandle", [&](HANDLE token) { return --calls.tokens, ::CloseHandle(token); });
  const auto information = Replace<decltype(::GetTokenInformation)>(
      "GetTokenInformation",
      [&](auto... as) { return fails() ? FALSE : ::GetTokenInformation(as...); });
  const auto names = Replace<decltype(::LookupAccountSidW)>("LookupAccountSidW", [&](auto... as) {
    return fails() ? FALSE : ::LookupAccountSidW(as...);
  });
  const auto copy = Replace<decltype(::CopySid)>(
      "CopySid", [&](auto... as) { return fails() ? FALSE : ::CopySid(as...); });
  const auto adjust = Replace<decltype(::AdjustTokenPrivileges)>(
      "AdjustTokenPrivileges",
      [&](auto... as) { return fails() ? FALSE : ::AdjustTokenPrivileges(as...); });
  calls.count = 0;
  work();
  EXPECT_EQ(calls.tokens, 0);
}

// What the system says of the process's account.
struct Account {
  Account() {
    platform::OwnedKernelObject token;
    DWORD size = 0;
    EXPECT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Receive()));
    EXPECT_TRUE(::GetTokenInformation(token.Get(), TokenUser, data, sizeof(data), &size));
    wchar_t names[2][300];
    DWORD rooms[2] = {300, 300};
    SID_NAME_USE use = SidTypeUnknown;
    EXPECT_TRUE(
        ::LookupAccountSidW(nullptr, Sid(), names[0], &rooms[0], names[1], &rooms[1], &use));
    user = names[0];
    domain = names[1];
  }
  PSID Sid() { return reinterpret_cast<TOKEN_USER*>(data)->User.Sid; }

  alignas(8) BYTE data[200];
  std::wstring domain, user;
};

TEST(WhoAmI, EachCallMayFail_AndNothingOfAnotherAccountIsTold) {
  const Account account;
  for (const bool impersonates : {false, true}) {
    const platform::OwnedKernelObject token = TokenCopy();
    if (impersonates) ::ImpersonateLoggedOnUser(token.Get());
    Calls calls;
    for (bool failed = true; failed;) {
      ++calls.failAt;
      wcstring domain = L"old domain", user = L"old user", both;
      calls.reason = kNoReason;
      With(calls, [&] {
        ::SetLastError(ERROR_NO_TOKEN);  // would say that the thread acts as the process
        EXPECT_FALSE(Impersonator::WhoAmI(domain, user));
      });
      calls.reason = ERROR_ACCESS_DENIED;
      With(calls, [&] { both = Impersonator::WhoAmI(); });
      failed = calls.count >= calls.failAt;
      EXPECT_EQ(domain, failed ? L"" : account.domain) << "call " << calls.failAt;
      EXPECT_EQ(user, failed ? L"" : account.user);
      EXPECT_EQ(both, failed ? L"\\" : account.domain + L"\\" + account.user);
    }
    ::RevertToSelf();
    // Opening the thread's token, and the process's where there is none; the two of each question.
    EXPECT_EQ(calls.failAt, impersonates ? 6 : 7);
    EXPECT_EQ(calls.access, DWORD{TOKEN_QUERY});
    EXPECT_EQ(calls.asSelf, FALSE);
  }
}

TEST(GetSid, KeepsItsCopyUntilTheNextSuccess) {
  Account account;
  Impersonator impersonator;
  void* sid = &account;
  for (int round = 0; round < 2; ++round) {
    void* const former = sid;
    Calls calls;
    for (bool done = false; !done;) {
      ++calls.failAt;
      With(calls, [&] { done = impersonator.GetSid(sid); });
      if (!done) EXPECT_EQ(sid, former) << "call " << calls.failAt;
      if (done || round > 0) EXPECT_TRUE(::EqualSid(sid, account.Sid()));
    }
    EXPECT_EQ(calls.failAt, 6);
  }
}

TEST(GetSid, NoMemory_IsNoAnswer_AndNothingStaysAllocated) {
  long blocks = 0;
  bool isAnswered = false;
  const auto ask = [&] {
    const auto counted = Replace<decltype(std::free)>("free", [&](void* block) {
      blocks -= block ? 1 : 0;
      std::free(block);
    });
    wcstring domain = L"old", user = L"old";
    void* sid = nullptr;
    Impersonator impersonator;
    Impersonator::WhoAmI(domain, user);
    EXPECT_EQ(domain.empty(), user.empty());
    isAnswered = impersonator.GetSid(sid) && impersonator.GetSid(sid) && !user.empty();
  };
  // The first exception of a thread makes what the C++ run time keeps for the others.
  for (long n = 0; !isAnswered; ++n) {
    Allocations allocations;
    allocations.FailAt(n == 0 ? 1 : n);
    blocks = 0;
    ask();
    EXPECT_EQ(isAnswered, !allocations.Failed());
    const long left = allocations.Count() - (isAnswered ? 0 : 1) + blocks;
    if (n > 0) EXPECT_EQ(left, 0) << "allocation " << n;
  }
}

bool IsEnabled(HANDLE token, const wchar_t* privilege) {
  PRIVILEGE_SET wanted = {1, PRIVILEGE_SET_ALL_NECESSARY, {}};
  EXPECT_TRUE(::LookupPrivilegeValueW(nullptr, privilege, &wanted.Privilege[0].Luid));
  BOOL isEnabled = FALSE;
  EXPECT_TRUE(::PrivilegeCheck(token, &wanted, &isEnabled));
  return isEnabled;
}

void SetAttributes(HANDLE token, const wchar_t* privilege, DWORD attributes) {
  TOKEN_PRIVILEGES change = {1, {{{}, attributes}}};
  EXPECT_TRUE(::LookupPrivilegeValueW(nullptr, privilege, &change.Privileges[0].Luid));
  EXPECT_TRUE(::AdjustTokenPrivileges(token, FALSE, &change, 0, nullptr, nullptr));
}

// Every account holds this one.
constexpr wchar_t kHeld[] = L"SeChangeNotifyPrivilege";

TEST(AssertPrivilege, ChangesTheThreadsTokenElseTheProcesss) {
  const platform::OwnedKernelObject copy = TokenCopy();
  platform::OwnedKernelObject process, thread;
  ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES,
                                 process.Receive()));
  ASSERT_TRUE(::ImpersonateLoggedOnUser(copy.Get()));
  ASSERT_TRUE(::OpenThreadToken(::GetCurrentThread(), TOKEN_ALL_ACCESS, TRUE, thread.Receive()));
  ::RevertToSelf();
  const struct {
    bool impersonates;
    int failAt;
    int openAsSelf;
  } rows[] = {{false, 0, 0}, {true, 1, 0}, {true, 0, 0}, {true, 0, 1}, {true, 0, 7}};
  for (const auto& row : rows) {
    for (const HANDLE token : {thread.Get(), process.Get()}) SetAttributes(token, kHeld, 0);
    if (row.impersonates) ::SetThreadToken(nullptr, thread.Get());
    Calls calls{.failAt = row.failAt};
    ::SetLastError(ERROR_NOT_ALL_ASSIGNED);
    With(calls, [&] { EXPECT_NE(AssertPrivilege(kHeld, row.openAsSelf), 0); });
    ::RevertToSelf();
    EXPECT_EQ(calls.access, DWORD{MAXIMUM_ALLOWED});
    EXPECT_EQ(calls.asSelf, row.openAsSelf ? TRUE : FALSE);
    const bool isThreads = row.impersonates && row.failAt == 0;
    EXPECT_EQ(IsEnabled(thread.Get(), kHeld), isThreads);
    EXPECT_EQ(IsEnabled(process.Get(), kHeld), !isThreads);
  }
  SetAttributes(process.Get(), kHeld, SE_PRIVILEGE_ENABLED);
  SetAttributes(thread.Get(), kHeld, SE_PRIVILEGE_REMOVED);
  ::SetThreadToken(nullptr, thread.Get());
  EXPECT_EQ(AssertPrivilege(kHeld, FALSE), 0);
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ALL_ASSIGNED});
  ::RevertToSelf();
}

TEST(AssertPrivilege, UnknownNamesSucceed_FailuresAreTold) {
  for (const wchar_t* const name :
       {L"SeBakupPrivilege", L"", static_cast<const wchar_t*>(nullptr)}) {
    Calls calls;
    With(calls, [&] { EXPECT_NE(AssertPrivilege(name, FALSE), 0); });
    EXPECT_EQ(calls.count, 2) << "nothing is adjusted";
  }
  // The process's token cannot be opened, nor the change be made.
  for (const int failAt : {2, 3}) {
    Calls calls{.failAt = failAt};
    for (const auto& [reason, told] : {std::pair{5ul, 5u}, std::pair{kNoReason, 31u}}) {
      calls.reason = reason;
      With(calls, [&] {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(AssertPrivilege(kHeld, FALSE), 0);
        EXPECT_EQ(::GetLastError(), told);
      });
    }
    With(calls, [&] { EXPECT_EQ(AssertPrivilege(L"SeBakupPrivilege", FALSE) != 0, failAt == 3); });
  }
}

}  // namespace
}  // namespace vtclass::test
