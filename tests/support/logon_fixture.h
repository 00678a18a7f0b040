#ifndef VTCLASS_TESTS_SUPPORT_LOGON_FIXTURE_H
#define VTCLASS_TESTS_SUPPORT_LOGON_FIXTURE_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <vtstdutl/vtstdutl.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/import_hook.h"
#include "tests/support/no_reason.h"
#include "tests/support/private_registry.h"
#include "tests/support/token_copy.h"
#include "vtclass/product.h"

namespace vtclass::test {

using Traces = std::vector<std::wstring>;

inline constexpr wchar_t kPassword[] = L"Tr0ub4dor&3";
// What the system is asked, and what it answers.
struct PlayedLogon {
  DWORD logonError = ERROR_SUCCESS;
  DWORD impersonationError = ERROR_SUCCESS;
  bool refusesRevert = false;
  DWORD version = 6;
  std::wstring domain, user;
  DWORD type = 0;
  const wchar_t* password = nullptr;
  std::set<HANDLE> tokens;  // that it has given out and that are open
};
inline PlayedLogon played;

inline BOOL WINAPI PlayLogon(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD type,
                             DWORD provider, PHANDLE token) {
  EXPECT_EQ(provider, DWORD{LOGON32_PROVIDER_DEFAULT});
  played.domain = domain;
  played.user = user;
  played.type = type;
  played.password = password;
  TellReason(played.logonError);
  if (played.logonError != ERROR_SUCCESS) return FALSE;
  *token = TokenCopy().Release();
  return played.tokens.insert(*token).second;
}
inline BOOL WINAPI PlayClose(HANDLE token) {
  played.tokens.erase(token);
  return ::CloseHandle(token);
}

inline BOOL WINAPI PlayImpersonation(HANDLE token) {
  if (played.impersonationError == ERROR_SUCCESS) return ::ImpersonateLoggedOnUser(token);
  TellReason(played.impersonationError);
  return FALSE;
}

// The texts that the system has made and that are not freed.
inline int texts = 0;
inline DWORD WINAPI PlayFormat(DWORD flags, LPCVOID module, DWORD message, DWORD language,
                               LPWSTR out, DWORD room, va_list* arguments) {
  const DWORD length = ::FormatMessageW(flags, module, message, language, out, room, arguments);
  if (length > 0) ++texts;
  return length;
}
inline HLOCAL WINAPI PlayFree(HLOCAL text) {
  --texts;
  return ::LocalFree(text);
}

inline BOOL WINAPI PlayRevert() { return played.refusesRevert ? FALSE : ::RevertToSelf(); }
inline DWORD WINAPI PlayVersion() { return 0x1DB10000 | 3 << 8 | played.version; }

// The names of whomever the thread acts as; there is no second account to log on.
inline BOOL WINAPI PlayNames(LPCWSTR, PSID, LPWSTR user, LPDWORD userRoom, LPWSTR domain,
                             LPDWORD domainRoom, PSID_NAME_USE) {
  const wchar_t* const name = ThreadTokenId() ? L"impersonated" : L"process";
  const bool isSize = !user;
  if (!isSize) {
    ::lstrcpyW(domain, L"D");
    ::lstrcpyW(user, name);
  }
  *userRoom = static_cast<DWORD>(wcslen(name)) + (isSize ? 1 : 0);
  *domainRoom = isSize ? 2 : 1;
  ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return !isSize;
}

// The system's text without the line feed at its end.
inline std::wstring SystemText(DWORD error) {
  wchar_t text[500] = L"";
  DWORD length =
      ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                       MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), text, ARRAYSIZE(text), nullptr);
  EXPECT_GT(length, 0u) << error;
  while (length > 0 && (text[length - 1] == L'\n' || text[length - 1] == L'\r')) --length;
  return std::wstring(text, length);
}

/* Plays the system's part in logons, by `played`, in a registry of its own, and collects the
 * traces. What a test has logged on stays open in `played`. */
class LogonFixture : public ::testing::Test {
 protected:
  LogonFixture() {
    played = {};
    VTSetTraceSink(&Keep, this);
  }
  ~LogonFixture() override {
    VTSetTraceSink(nullptr, nullptr);
    CMS_SetProd(0);
    ::RevertToSelf();
    EXPECT_EQ(std::exchange(texts, 0), 0);
  }

  static void Keep(const wchar_t* source, unsigned long level, const wchar_t* text, void* self) {
    EXPECT_STREQ(source, L"impersonator");
    EXPECT_EQ(level, 0u);
    EXPECT_EQ(std::wstring(text).find(kPassword), std::wstring::npos);
    static_cast<LogonFixture*>(self)->traces.emplace_back(text);
    ::SetLastError(ERROR_GEN_FAILURE);
  }
  Traces Taken() { return std::exchange(traces, {}); }

  const PrivateRegistry registry;
  const ImportHook<decltype(::LogonUserW)> logon{"ADVAPI32.dll", "LogonUserW", &PlayLogon};
  const ImportHook<decltype(::CloseHandle)> close{"KERNEL32.dll", "CloseHandle", &PlayClose};
  const ImportHook<decltype(::ImpersonateLoggedOnUser)> impersonate{
      "ADVAPI32.dll", "ImpersonateLoggedOnUser", &PlayImpersonation};
  const ImportHook<decltype(::RevertToSelf)> revert{"ADVAPI32.dll", "RevertToSelf", &PlayRevert};
  const ImportHook<decltype(::GetVersion)> version{"KERNEL32.dll", "GetVersion", &PlayVersion};
  const ImportHook<decltype(::LookupAccountSidW)> names{"ADVAPI32.dll", "LookupAccountSidW",
                                                        &PlayNames};
  const ImportHook<decltype(::FormatMessageW)> format{"KERNEL32.dll", "FormatMessageW",
                                                      &PlayFormat};
  const ImportHook<decltype(::LocalFree)> freeText{"KERNEL32.dll", "LocalFree", &PlayFree};
  Traces traces;
};

}  // namespace vtclass::test

#endif
