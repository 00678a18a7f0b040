#include <vtclass/win32.h>

#include <string>

#include "config/registry_values.h"
#include "platform/failure_code.h"
#include "platform/no_throw.h"
#include "security/account_text.h"
#include "security/error_text.h"
#include "security/trace.h"
#include "vtclass/config.h"
#include "vtclass/net.h"
#include "vtclass/security.h"

using vtclass::config::kLogonUserType;
using vtclass::platform::FailureCode;
using vtclass::platform::StatusOf;
using vtclass::security::AccountParts;
using vtclass::security::ErrorText;
using vtclass::security::LogonTypeName;
using vtclass::security::SplitAccount;
using vtclass::security::Trace;

namespace {

// How an account is logged on where nobody has chosen the type.
DWORD DefaultLogonType() {
  constexpr BYTE kBatchFrom = 6;
  return LOBYTE(::GetVersion()) < kBatchFrom ? LOGON32_LOGON_INTERACTIVE : LOGON32_LOGON_BATCH;
}

DWORD ChosenLogonType() {
  Configuration agents;
  unsigned long type = 0;
  const bool isStored = agents.Open(Configuration::openExisting, kLogonUserType.key.Path(), nullptr,
                                    Configuration::accessRead | Configuration::accessWrite) &&
                        agents.LoadDWORD(kLogonUserType.name, type);
  return isStored ? type : DefaultLogonType();
}

// The domain by which the system knows the account's: this machine's has one name only there.
wcstring LogonDomain(wcstring domain) {
  bool isMe = false;
  const unsigned long status = vtclass::IsThisMe(domain, &isMe, true);
  if (status != ERROR_SUCCESS) {
    Trace(L"VTLogonUser: vtclass::IsThisMe() returned error: %d", status);
  }
  if (!isMe) return domain;
  wcstring netBios;
  bool isLocal = false;
  unsigned long extended = 0;
  const unsigned long result = vtclass::VTConvertServerNamePlus(
      domain, netBios, vtclass::computerNameNetBIOS, true, &isLocal, &extended);
  if (result != ERROR_SUCCESS) {
    Trace(
        L"VTLogonUser: vtclass::VTConvertServerNamePlus()"
        L"                                 returned error: %d, extended error: %d ",
        result, extended);
  }
  return netBios;
}

// The system's logon; its status. Leaves `token` alone on failure.
DWORD LogOn(const wchar_t* domain, const wchar_t* user, const wchar_t* password, DWORD type,
            HANDLE& token) noexcept {
  HANDLE made = nullptr;
  ::SetLastError(ERROR_SUCCESS);
  if (!::LogonUserW(user, domain, password, type, LOGON32_PROVIDER_DEFAULT, &made)) {
    return FailureCode();
  }
  token = made;
  return ERROR_SUCCESS;
}

// Leaves `token` alone on failure.
unsigned long LogOnTraced(const wchar_t* account, const wchar_t* password, HANDLE& token) {
  const AccountParts parts = SplitAccount(account);
  const wcstring domain = LogonDomain(wcstring(parts.domain.data(), parts.domain.size()));
  const DWORD type = ChosenLogonType();
  Trace(L"LogonType set = [%s][0x%x]", LogonTypeName(type), type);
  const DWORD status = LogOn(domain.c_str(), parts.user, password, type, token);
  if (token) Trace(L"LogonUser(%s-0x%x) success", LogonTypeName(type), type);
  return status;
}

const wchar_t* TextOf(const wchar_t* account) { return account ? account : L""; }

}  // namespace

void* Impersonator::VTLogonUser(const wchar_t* account, const wchar_t* password,
                                unsigned long* error) noexcept {
  HANDLE token = nullptr;
  const unsigned long status =
      StatusOf([&] { return LogOnTraced(TextOf(account), password, token); });
  if (token) return token;
  if (error) *error = status;
  Trace(L"LogonUser failed: %s", ErrorText(status).Get());
  ::SetLastError(status);
  return nullptr;
}

void* Impersonator::LogonAndImpersonateUser(const wchar_t* account, const wchar_t* password,
                                            unsigned long* error) noexcept {
  void* const token = VTLogonUser(account, password, error);
  if (!token) return nullptr;
  ::SetLastError(ERROR_SUCCESS);
  if (::ImpersonateLoggedOnUser(token)) {
    Trace(L"Successfully impersonated %s", TextOf(account));
    Trace(L"WhoAmI( ) reports: %s", WhoAmI().c_str());
    return token;
  }
  const DWORD status = FailureCode();
  Trace(L"ImpersonateLoggedOnUser failed: %s", ErrorText(status).Get());
  RevertToSelfAndClose(token);
  ::SetLastError(status);
  return nullptr;
}

void Impersonator::RevertToSelfAndClose(void* token) noexcept {
  Trace(L"About to close user context. WhoAmI( ) reports %s", WhoAmI().c_str());
  ::RevertToSelf();
  if (token) ::CloseHandle(token);
}

Win32Impersonator::~Win32Impersonator() {
  if (token) ::CloseHandle(token);
}

unsigned long Win32Impersonator::Logon(const wchar_t* domain, const wchar_t* user,
                                       const wchar_t* password) noexcept {
  void* const former = token;
  const DWORD status = LogOn(domain, user, password, DefaultLogonType(), token);
  if (status == ERROR_SUCCESS && former) ::CloseHandle(former);
  return status;
}

unsigned long Win32Impersonator::Logon(const wchar_t* account, const wchar_t* password) noexcept {
  return StatusOf([&] {
    const AccountParts parts = SplitAccount(TextOf(account));
    return Logon(std::wstring(parts.domain).c_str(), parts.user, password);
  });
}
