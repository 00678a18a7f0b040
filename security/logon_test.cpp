#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "messages/message_codes.h"
#include "tests/support/allocations.h"
#include "tests/support/library_copy.h"
#include "tests/support/logon_fixture.h"
#include "vtclass/log.h"
#include "vtclass/security.h"

namespace vtclass::test {
namespace {

constexpr unsigned long kUntouched = 4711;

class Logon : public LogonFixture {};

constexpr wchar_t kForeign[] = L"VTLogonUser: vtclass::IsThisMe() returned error: 87";

TEST_F(Logon, Account_IsSplit_AndThisMachinesDomainConverted) {
  wchar_t netBios[100] = L"", full[1000] = L"";
  DWORD size = ARRAYSIZE(netBios);
  ASSERT_TRUE(::GetComputerNameExW(ComputerNameNetBIOS, netBios, &size));
  size = ARRAYSIZE(full);
  ASSERT_TRUE(::GetComputerNameExW(ComputerNameDnsFullyQualified, full, &size));
  const std::wstring own = full + std::wstring(L"\\backup");
  const struct {
    const wchar_t* account;
    const wchar_t* domain;
    const wchar_t* user;
    bool isOwn;
  } rows[] = {{L"CORP\\backup", L"CORP", L"backup", false},
              {L"a\\b\\c", L"a", L"b\\c", false},
              {L"backup", L"", L"backup", false},
              {L"backup@corp.example", L"", L"backup@corp.example", false},
              {L"\\backup", L"", L"backup", false},
              {L"CORP\\", L"CORP", L"", false},
              {L"", L"", L"", false},
              {nullptr, L"", L"", false},
              {own.c_str(), netBios, L"backup", true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.account ? row.account : L"null");
    unsigned long error = kUntouched;
    void* const token = Impersonator::VTLogonUser(row.account, kPassword, &error);
    EXPECT_TRUE(token);
    EXPECT_EQ(error, kUntouched);
    EXPECT_EQ(played.domain, row.domain);
    EXPECT_EQ(played.user, row.user);
    EXPECT_EQ(played.password, kPassword) << "a copy";
    Traces expected{L"LogonType set = [LOGON32_LOGON_BATCH][0x4]",
                    L"LogonUser(LOGON32_LOGON_BATCH-0x4) success"};
    if (!row.isOwn) expected.insert(expected.begin(), kForeign);
    EXPECT_EQ(Taken(), expected);
    EXPECT_FALSE(ThreadTokenId());
    EXPECT_EQ(played.tokens, std::set<HANDLE>{token});
    PlayClose(token);
  }
}

constexpr wchar_t kAgents[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents";
constexpr wchar_t kSiblingAgents[] = L"Software\\Quorrel\\Strandel\\VTDS\\Engine\\Agents";

TEST_F(Logon, Type_ComesFromTheAgentsKey_ElseFromTheVersion) {
  const struct {
    DWORD stored, kind, size, version;  // size 0: there is no value
    DWORD type;
    const wchar_t* traced;
    unsigned long product = 0;
  } rows[] = {
      {0, 0, 0, 5, 2, L"[LOGON32_LOGON_INTERACTIVE][0x2]"},
      {0, 0, 0, 6, 4, L"[LOGON32_LOGON_BATCH][0x4]"},
      {0, 0, 0, 10, 4, L"[LOGON32_LOGON_BATCH][0x4]"},
      {2, REG_DWORD, 4, 6, 2, L"[LOGON32_LOGON_INTERACTIVE][0x2]"},
      {3, REG_DWORD, 4, 6, 3, L"[LOGON32_LOGON_NETWORK][0x3]"},
      {4, REG_DWORD, 4, 5, 4, L"[LOGON32_LOGON_BATCH][0x4]"},
      {5, REG_DWORD, 4, 6, 5, L"[LOGON32_LOGON_SERVICE][0x5]"},
      {6, REG_DWORD, 4, 6, 6, L"[Type not found][0x6]"},
      {7, REG_DWORD, 4, 6, 7, L"[LOGON32_LOGON_UNLOCK][0x7]"},
      {8, REG_DWORD, 4, 6, 8, L"[LOGON32_LOGON_NETWORK_CLEARTEXT][0x8]"},
      {9, REG_DWORD, 4, 6, 9, L"[LOGON32_LOGON_NEW_CREDENTIALS][0x9]", 1},
      {0, REG_DWORD, 4, 6, 0, L"[Type not found][0x0]"},
      {0xFFFFFFFF, REG_DWORD, 4, 6, 0xFFFFFFFF, L"[Type not found][0xffffffff]"},
      {9, REG_BINARY, 4, 6, 4, L"[LOGON32_LOGON_BATCH][0x4]"},
      {9, REG_DWORD, 2, 6, 4, L"[LOGON32_LOGON_BATCH][0x4]"},
  };
  for (const auto& row : rows) {
    CMS_SetProd(row.product);
    const wchar_t* const key = row.product == 1 ? kSiblingAgents : kAgents;
    if (row.size != 0) StoreValue(key, L"LogonUserType", row.kind, &row.stored, row.size);
    EXPECT_EQ(KeyExists(key), row.size != 0) << "made by the library";
    played.version = row.version;
    PlayClose(Impersonator::VTLogonUser(L"u", kPassword, nullptr));
    EXPECT_EQ(played.type, row.type) << row.traced;
    std::wstring name = row.traced;
    EXPECT_EQ(Taken()[1], L"LogonType set = " + name);
    Win32Impersonator plain;
    EXPECT_EQ(plain.Logon(L"u", kPassword), 0u);
    EXPECT_EQ(played.type, row.version < 6 ? 2u : 4u) << "asks the registry";
  }
}

TEST_F(Logon, Refused_IsTheSystemsCodeAndItsText) {
  const struct {
    DWORD error;
    std::wstring text;
    bool withLibrary = false;
  } rows[] = {{1326, SystemText(1326)},
              {1385, SystemText(1385)},
              {1909, SystemText(1909)},
              {5, SystemText(5)},
              {5, SystemText(5), true},
              {34, SystemText(34).substr(0, SystemText(34).find(L"%1"))},
              {99999, L"0x   1869f (99999)"},
              {0xE0001234, L"0xe0001234 (3758101044)"},
              {0xFFFFFDA8, L"0xa000fda8 (2684419496)"},
              {0xFFFEFDA8, L"0xfffefda8 (4294901160)"},
              {static_cast<DWORD>(messages::kCodeAccessDenied), L"0xa0510fa1 (2689666977)"},
              {static_cast<DWORD>(messages::kCodeAccessDenied), L"Access to ", true}};
  for (const auto& row : rows) {
    ErrorMessageBase::set_ModuleInstance(nullptr);
    if (row.withLibrary) ASSERT_TRUE(ErrorMessageBase::BaseInit());
    played.logonError = row.error;
    unsigned long error = kUntouched;
    EXPECT_EQ(Impersonator::VTLogonUser(L"D\\u", kPassword, &error), nullptr);
    EXPECT_EQ(::GetLastError(), row.error);
    EXPECT_EQ(error, row.error);
    EXPECT_EQ(Taken(), (Traces{kForeign, L"LogonType set = [LOGON32_LOGON_BATCH][0x4]",
                               L"LogonUser failed: " + row.text}));
    EXPECT_EQ(Impersonator::LogonAndImpersonateUser(L"D\\u", kPassword, nullptr), nullptr);
    EXPECT_FALSE(ThreadTokenId());
    Win32Impersonator plain;
    EXPECT_EQ(plain.Logon(L"D\\u", kPassword), row.error);
    EXPECT_EQ(plain.GetToken(), nullptr);
    Taken();
  }
  ErrorMessageBase::set_ModuleInstance(nullptr);
  EXPECT_EQ(::GetModuleHandleW(L"vterrors.dll"), nullptr) << "held for ever";
}

TEST_F(Logon, NoMemory_IsAStatus_AndAFailedConversionIsTraced) {
  const std::wstring failed =
      L"VTLogonUser: vtclass::VTConvertServerNamePlus()                                 returned "
      L"error: 8, extended error: 4 ";
  int conversions = 0;
  unsigned long error = kUntouched;
  void* token = nullptr;
  const auto logOn = [&] {
    played.domain = L"?";
    error = kUntouched;
    token = Impersonator::VTLogonUser(L"127.0.0.1\\a-user", kPassword, &error);
  };
  TryEachAllocation(logOn, [&](bool) {
    const Traces seen = Taken();
    EXPECT_EQ(error, token ? kUntouched : 8u);
    if (!token) EXPECT_EQ(seen.back(), L"LogonUser failed: " + SystemText(8));
    if (std::ranges::find(seen, failed) != seen.end()) {
      ++conversions;
      EXPECT_EQ(played.domain, token ? L"" : L"?");
    }
    if (token) PlayClose(token);
  });
  EXPECT_TRUE(token);
  EXPECT_GT(conversions, 0);
}

TEST_F(Logon, Impersonation_EndsByReverting) {
  unsigned long error = kUntouched;
  void* const token = Impersonator::LogonAndImpersonateUser(L"D\\u", kPassword, &error);
  ASSERT_TRUE(token);
  EXPECT_TRUE(ThreadTokenId());
  EXPECT_EQ(error, kUntouched);
  EXPECT_EQ(Taken(),
            (Traces{kForeign, L"LogonType set = [LOGON32_LOGON_BATCH][0x4]",
                    L"LogonUser(LOGON32_LOGON_BATCH-0x4) success",
                    L"Successfully impersonated D\\u", L"WhoAmI( ) reports: D\\impersonated"}));
  Impersonator::RevertToSelfAndClose(token);
  EXPECT_FALSE(ThreadTokenId());
  EXPECT_EQ(Taken(), (Traces{L"About to close user context. WhoAmI( ) reports D\\impersonated"}));
  Impersonator::RevertToSelfAndClose(nullptr);
  EXPECT_EQ(Taken(), (Traces{L"About to close user context. WhoAmI( ) reports D\\process"}));
  EXPECT_TRUE(played.tokens.empty());

  Impersonator::RevertToSelfAndClose(Impersonator::LogonAndImpersonateUser(nullptr, L"", nullptr));
  EXPECT_EQ(Taken()[3], L"Successfully impersonated ");
  played.refusesRevert = true;
  Impersonator::RevertToSelfAndClose(
      Impersonator::LogonAndImpersonateUser(L"u", kPassword, nullptr));
  EXPECT_TRUE(ThreadTokenId());
  EXPECT_TRUE(played.tokens.empty());
}

// As whom the thread acts after each failure, when it acted as another before.
TEST_F(Logon, RefusedImpersonation_EndsAnEarlierOne_RefusedLogonDoesNot) {
  for (const bool isLogon : {true, false}) {
    const Impersonating earlier;
    const auto before = ThreadTokenId();
    (isLogon ? played.logonError : played.impersonationError) = 1346;
    unsigned long error = kUntouched;
    EXPECT_EQ(Impersonator::LogonAndImpersonateUser(L"D\\u", kPassword, &error), nullptr);
    EXPECT_EQ(::GetLastError(), 1346u);
    EXPECT_EQ(error, isLogon ? 1346u : kUntouched);
    EXPECT_EQ(ThreadTokenId(), isLogon ? before : std::nullopt);
    Traces expected{kForeign, L"LogonType set = [LOGON32_LOGON_BATCH][0x4]"};
    if (isLogon) {
      expected.push_back(L"LogonUser failed: " + SystemText(1346));
    } else {
      expected.insert(expected.end(),
                      {L"LogonUser(LOGON32_LOGON_BATCH-0x4) success",
                       L"ImpersonateLoggedOnUser failed: " + SystemText(1346),
                       L"About to close user context. WhoAmI( ) reports D\\impersonated"});
    }
    EXPECT_EQ(Taken(), expected);
    EXPECT_TRUE(played.tokens.empty());
    played = {};
  }
}

TEST_F(Logon, Scope_RevertsAndClosesOnEachWayOut) {
  const auto leave = [](int way) {
    const ImpersonationScope scope(L"D\\u", kPassword);
    EXPECT_TRUE(scope);
    EXPECT_TRUE(scope.GetToken());
    EXPECT_EQ(scope.GetErrorCode(), 0u);
    EXPECT_TRUE(ThreadTokenId());
    if (way == 1) throw std::runtime_error("lost");
  };
  leave(0);
  EXPECT_FALSE(ThreadTokenId());
  EXPECT_THROW(leave(1), std::runtime_error);
  EXPECT_FALSE(ThreadTokenId());
  ImpersonationScope early(L"D\\u", kPassword);
  early.End();
  EXPECT_FALSE(ThreadTokenId());
  EXPECT_FALSE(early);
  early.End();
  EXPECT_TRUE(played.tokens.empty());
  for (const bool isLogon : {true, false}) {
    (isLogon ? played.logonError : played.impersonationError) = 1385;
    Taken();
    {
      const ImpersonationScope refused(L"D\\u", kPassword);
      EXPECT_FALSE(refused);
      EXPECT_EQ(refused.GetErrorCode(), 1385u);
    }
    EXPECT_EQ(Taken().size(), isLogon ? 3u : 5u) << "nothing is ended a second time";
    EXPECT_FALSE(ThreadTokenId());
    EXPECT_TRUE(played.tokens.empty());
    played.logonError = ERROR_SUCCESS;
  }
}

TEST_F(Logon, RefusedWithoutAReason_IsNoSuccess) {
  constexpr DWORD kFailed = ERROR_GEN_FAILURE;
  played.impersonationError = kNoReason;
  ::SetLastError(ERROR_ACCESS_DENIED);
  EXPECT_EQ(ImpersonationScope(L"D\\u", kPassword).GetErrorCode(), kFailed);
  EXPECT_TRUE(played.tokens.empty());
  played.logonError = kNoReason;
  unsigned long error = 0;
  EXPECT_EQ(Impersonator::VTLogonUser(L"D\\u", kPassword, &error), nullptr);
  EXPECT_EQ(error, kFailed);
  EXPECT_EQ(::GetLastError(), kFailed);
  ::SetLastError(ERROR_ACCESS_DENIED);
  Win32Impersonator plain;
  EXPECT_EQ(plain.Logon(L"D", L"u", kPassword), kFailed);
}

TEST_F(Logon, Win32Impersonator_OwnsItsToken) {
  {
    Win32Impersonator plain;
    EXPECT_EQ(plain.GetToken(), nullptr);
    EXPECT_EQ(plain.Logon(L"a\\b\\c", kPassword), 0u);
    EXPECT_EQ(played.domain, L"a");
    EXPECT_EQ(played.user, L"b\\c");
    EXPECT_EQ(played.password, kPassword);
    EXPECT_EQ(plain.Logon(nullptr, kPassword), 0u);
    void* const token = plain.GetToken();
    EXPECT_EQ(played.tokens, std::set<HANDLE>{token}) << "the first one too";
    played.logonError = 1909;
    EXPECT_EQ(plain.Logon(L"x", L"y", kPassword), 1909u);
    EXPECT_EQ(played.domain, L"x");
    EXPECT_EQ(played.user, L"y");
    EXPECT_EQ(plain.GetToken(), token);
    EXPECT_TRUE(played.tokens.contains(token));
    Allocations allocations;
    allocations.FailAt(1);
    const std::wstring longDomain(1000, L'd');
    EXPECT_EQ(plain.Logon((longDomain + L"\\u").c_str(), kPassword), 8u);
  }
  EXPECT_TRUE(played.tokens.empty());
  EXPECT_EQ(Taken(), Traces());
  EXPECT_FALSE(ThreadTokenId());
}

// A set-up without the library of the traces.
TEST(LogonAlone, MissingTraceLibrary_KeepsNobodyFromLoggingOn) {
  played = {};
  const PrivateRegistry registry;
  const LibraryCopy copy(L"vtclass_mini.dll", {L"vtsocket.dll", L"vtcluster.dll"});
  const ImportHook<decltype(::LogonUserW)> logon("ADVAPI32.dll", "LogonUserW", &PlayLogon,
                                                 copy.Module());
  void* const token = copy(&Impersonator::LogonAndImpersonateUser)(L"D\\u", kPassword, nullptr);
  ASSERT_TRUE(token);
  EXPECT_TRUE(ThreadTokenId());
  copy (&Impersonator::RevertToSelfAndClose)(token);
  EXPECT_FALSE(ThreadTokenId());
  played.logonError = 1326;
  EXPECT_EQ(copy(&Impersonator::VTLogonUser)(L"D\\u", kPassword, nullptr), nullptr);
  EXPECT_EQ(::GetLastError(), 1326u);
}

}  // namespace
}  // namespace vtclass::test
