#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "security/token_test.h"
#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "vtclass/security.h"

namespace vtclass::test {
namespace {

// The system's calls in their order; call number `failAt` fails with `code`.
struct Calls {
  int count = 0;
  int failAt = 0;
  DWORD code = ERROR_ACCESS_DENIED;
  DWORD access = 0;  // that the thread's token was last opened with
  int asSelf = -1;   // and the flag
};
Calls calls;
int openTokens = 0;

BOOL Opened(BOOL isOpen) {
  openTokens += isOpen ? 1 : 0;
  return isOpen;
}

bool Fails() {
  if (++calls.count != calls.failAt) return false;
  ::SetLastError(calls.code);
  return true;
}

BOOL WINAPI OpenThread(HANDLE thread, DWORD access, BOOL asSelf, PHANDLE token) {
  calls.access = access;
  calls.asSelf = asSelf;
  return Fails() ? FALSE : Opened(::OpenThreadToken(thread, access, asSelf, token));
}
BOOL WINAPI OpenProcess(HANDLE process, DWORD access, PHANDLE token) {
  return Fails() ? FALSE : Opened(::OpenProcessToken(process, access, token));
}
BOOL WINAPI Close(HANDLE handle) {
  --openTokens;
  return ::CloseHandle(handle);
}
BOOL WINAPI Information(HANDLE token, TOKEN_INFORMATION_CLASS what, LPVOID out, DWORD room,
                        PDWORD size) {
  return Fails() ? FALSE : ::GetTokenInformation(token, what, out, room, size);
}
BOOL WINAPI LookUpSid(LPCWSTR system, PSID sid, LPWSTR user, LPDWORD userRoom, LPWSTR domain,
                      LPDWORD domainRoom, PSID_NAME_USE use) {
  return Fails() ? FALSE
                 : ::LookupAccountSidW(system, sid, user, userRoom, domain, domainRoom, use);
}
BOOL WINAPI Copy(DWORD room, PSID to, PSID from) {
  return Fails() ? FALSE : ::CopySid(room, to, from);
}
BOOL WINAPI Adjust(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES change, DWORD size,
                   PTOKEN_PRIVILEGES before, PDWORD beforeSize) {
  return Fails() ? FALSE
                 : ::AdjustTokenPrivileges(token, disableAll, change, size, before, beforeSize);
}

class CurrentIdentity : public ::testing::Test {
 protected:
  CurrentIdentity() {
    calls = {};
    openTokens = 0;
  }
  ~CurrentIdentity() override {
    ::RevertToSelf();
    EXPECT_EQ(openTokens, 0);
  }

  const ImportHook<decltype(::OpenThreadToken)> openThread{"ADVAPI32.dll", "OpenThreadToken",
                                                           &OpenThread};
  const ImportHook<decltype(::OpenProcessToken)> openProcess{"ADVAPI32.dll", "OpenProcessToken",
                                                             &OpenProcess};
  const ImportHook<decltype(::CloseHandle)> close{"KERNEL32.dll", "CloseHandle", &Close};
  const ImportHook<decltype(::GetTokenInformation)> information{
      "ADVAPI32.dll", "GetTokenInformation", &Information};
  const ImportHook<decltype(::LookupAccountSidW)> lookUp{"ADVAPI32.dll", "LookupAccountSidW",
                                                         &LookUpSid};
  const ImportHook<decltype(::CopySid)> copy{"ADVAPI32.dll", "CopySid", &Copy};
  const ImportHook<decltype(::AdjustTokenPrivileges)> adjust{"ADVAPI32.dll",
                                                             "AdjustTokenPrivileges", &Adjust};
};

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

TEST_F(CurrentIdentity, EachCallMayFail_AndNothingOfAnotherAccountIsTold) {
  const Account account;
  for (const bool impersonates : {false, true}) {
    if (impersonates) ::ImpersonateLoggedOnUser(TokenCopy().Get());
    for (calls.failAt = 1;; ++calls.failAt) {
      calls.count = 0;
      wcstring domain = L"old domain", user = L"old user";
      EXPECT_FALSE(Impersonator::WhoAmI(domain, user));
      const bool failed = calls.count >= calls.failAt;
      EXPECT_EQ(domain, failed ? L"" : account.domain) << "call " << calls.failAt;
      EXPECT_EQ(user, failed ? L"" : account.user);
      calls.count = 0;
      EXPECT_EQ(Impersonator::WhoAmI(), failed ? L"\\" : account.domain + L"\\" + account.user);
      if (!failed) break;
    }
    // Opening the thread's token, and the process's where there is none; the two of each question.
    EXPECT_EQ(calls.failAt, impersonates ? 6 : 7);
    EXPECT_EQ(calls.access, DWORD{TOKEN_QUERY});
    EXPECT_EQ(calls.asSelf, FALSE);
  }
}

TEST_F(CurrentIdentity, GetSid_KeepsItsCopyUntilTheNextSuccess) {
  Account account;
  Impersonator impersonator;
  void* sid = &account;
  for (calls.failAt = 1;; ++calls.failAt) {
    calls.count = 0;
    if (impersonator.GetSid(sid)) break;
    EXPECT_EQ(sid, &account) << "call " << calls.failAt;
  }
  EXPECT_EQ(calls.failAt, 6);
  EXPECT_TRUE(::EqualSid(sid, account.Sid()));
  void* const first = sid;
  for (calls.failAt = 1; calls.failAt < 6; ++calls.failAt) {
    calls.count = 0;
    EXPECT_FALSE(impersonator.GetSid(sid));
    EXPECT_EQ(sid, first);
    EXPECT_TRUE(::EqualSid(first, account.Sid()));
  }
  calls.failAt = 0;
  EXPECT_TRUE(impersonator.GetSid(sid));
  EXPECT_TRUE(::EqualSid(sid, account.Sid()));
}

// The blocks that the library takes and gives back.
long blocks = 0;
decltype(std::free)* freeBlock = nullptr;
void CountFree(void* block) {
  if (block) --blocks;
  freeBlock(block);
}

TEST_F(CurrentIdentity, NoMemory_IsNoAnswer_AndNothingStaysAllocated) {
  for (long n = 1;; ++n) {
    blocks = 0;
    bool failed = false;
    {
      Allocations allocations;
      const ImportHook<decltype(std::free)> counted("msvcrt.dll", "free", &CountFree);
      freeBlock = counted.Original();
      allocations.FailAt(n);
      wcstring domain = L"old", user = L"old";
      void* sid = nullptr;
      Impersonator impersonator;
      Impersonator::WhoAmI(domain, user);
      EXPECT_EQ(domain.empty(), user.empty());
      const bool hasNames = !user.empty();
      const bool hasSid = impersonator.GetSid(sid) && impersonator.GetSid(sid);
      impersonator.~Impersonator();
      new (&impersonator) Impersonator;
      failed = allocations.Failed();
      EXPECT_EQ(hasNames && hasSid, !failed);
      blocks += allocations.Count() - (failed ? 1 : 0);
    }
    EXPECT_EQ(blocks, 0) << "allocation " << n;
    if (!failed) break;
  }
}

DWORD AttributesOf(HANDLE token, const wchar_t* privilege) {
  LUID wanted = {};
  EXPECT_TRUE(::LookupPrivilegeValueW(nullptr, privilege, &wanted));
  alignas(8) BYTE data[2000];
  DWORD size = 0;
  EXPECT_TRUE(::GetTokenInformation(token, TokenPrivileges, data, sizeof(data), &size));
  const auto& all = *reinterpret_cast<const TOKEN_PRIVILEGES*>(data);
  for (DWORD i = 0; i < all.PrivilegeCount; ++i) {
    const LUID& luid = all.Privileges[i].Luid;
    if (luid.LowPart == wanted.LowPart && luid.HighPart == wanted.HighPart) {
      return all.Privileges[i].Attributes & (SE_PRIVILEGE_ENABLED | SE_PRIVILEGE_REMOVED);
    }
  }
  return SE_PRIVILEGE_REMOVED;
}

void SetAttributes(HANDLE token, const wchar_t* privilege, DWORD attributes) {
  TOKEN_PRIVILEGES change = {1, {{{}, attributes}}};
  EXPECT_TRUE(::LookupPrivilegeValueW(nullptr, privilege, &change.Privileges[0].Luid));
  EXPECT_TRUE(::AdjustTokenPrivileges(token, FALSE, &change, 0, nullptr, nullptr));
}

// Every account holds this one.
constexpr wchar_t kHeld[] = L"SeChangeNotifyPrivilege";

TEST_F(CurrentIdentity, AssertPrivilege_ChangesTheThreadsTokenElseTheProcesss) {
  const platform::OwnedKernelObject thread = TokenCopy();
  platform::OwnedKernelObject process;
  ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES,
                                 process.Receive()));
  for (const HANDLE token : {thread.Get(), process.Get()}) SetAttributes(token, kHeld, 0);
  // Without a token of its own the thread changes the process's; a failed opening leads there too.
  ::SetLastError(ERROR_NOT_ALL_ASSIGNED);
  EXPECT_NE(AssertPrivilege(kHeld, FALSE), 0);
  EXPECT_EQ(AttributesOf(process.Get(), kHeld), DWORD{SE_PRIVILEGE_ENABLED});
  SetAttributes(process.Get(), kHeld, 0);
  ASSERT_TRUE(::ImpersonateLoggedOnUser(thread.Get()));
  platform::OwnedKernelObject own;
  ASSERT_TRUE(::OpenThreadToken(::GetCurrentThread(), TOKEN_ALL_ACCESS, TRUE, own.Receive()));
  SetAttributes(own.Get(), kHeld, 0);
  calls = {.failAt = 1};
  EXPECT_NE(AssertPrivilege(kHeld, FALSE), 0);
  EXPECT_EQ(AttributesOf(process.Get(), kHeld), DWORD{SE_PRIVILEGE_ENABLED});
  EXPECT_EQ(AttributesOf(own.Get(), kHeld), 0u);
  SetAttributes(process.Get(), kHeld, 0);

  for (const int openAsSelf : {FALSE, TRUE, 7}) {
    SetAttributes(own.Get(), kHeld, 0);
    EXPECT_NE(AssertPrivilege(kHeld, openAsSelf), 0);
    EXPECT_EQ(calls.asSelf, openAsSelf ? TRUE : FALSE);
    EXPECT_EQ(calls.access, DWORD{MAXIMUM_ALLOWED});
    EXPECT_EQ(AttributesOf(own.Get(), kHeld), DWORD{SE_PRIVILEGE_ENABLED});
    EXPECT_EQ(AttributesOf(process.Get(), kHeld), 0u);
  }
  SetAttributes(own.Get(), kHeld, SE_PRIVILEGE_REMOVED);
  EXPECT_EQ(AssertPrivilege(kHeld, FALSE), 0);
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ALL_ASSIGNED});
  SetAttributes(process.Get(), kHeld, SE_PRIVILEGE_ENABLED);
}

TEST_F(CurrentIdentity, AssertPrivilege_UnknownNamesSucceed_FailuresAreTold) {
  for (const wchar_t* const name :
       {L"SeBakupPrivilege", L"", static_cast<const wchar_t*>(nullptr)}) {
    calls = {};
    EXPECT_NE(AssertPrivilege(name, FALSE), 0);
    EXPECT_EQ(calls.count, 2) << "nothing is adjusted";
  }
  // The process's token cannot be opened, nor the change be made.
  for (const int failAt : {2, 3}) {
    calls = {.failAt = failAt};
    EXPECT_EQ(AssertPrivilege(kHeld, FALSE), 0);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    calls = {.failAt = failAt};
    EXPECT_EQ(AssertPrivilege(L"SeBakupPrivilege", FALSE) != 0, failAt == 3);
  }
}

}  // namespace
}  // namespace vtclass::test
