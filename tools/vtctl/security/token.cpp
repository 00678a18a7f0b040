#include "tools/vtctl/security/token.h"

#include <algorithm>

#include "platform/failure_code.h"
#include "tools/vtctl/shared/number_text.h"

namespace vtctl {
namespace {

using vtclass::platform::FailureCode;
using vtclass::platform::OwnedKernelObject;

// Empty, with the reason in ::GetLastError(), when the system does not tell.
std::vector<BYTE> Information(HANDLE token, TOKEN_INFORMATION_CLASS what) {
  std::vector<BYTE> bytes;
  for (DWORD size = 0;;) {
    ::SetLastError(ERROR_SUCCESS);
    if (::GetTokenInformation(token, what, bytes.data(), static_cast<DWORD>(bytes.size()), &size)) {
      return bytes;
    }
    const DWORD error = FailureCode();
    // What grows between two questions is asked for again.
    if (error != ERROR_INSUFFICIENT_BUFFER || size <= bytes.size()) {
      ::SetLastError(error);
      return {};
    }
    bytes.resize(size);
  }
}

// The answer of a fixed size.
template <typename Answer>
std::optional<Answer> Ask(HANDLE token, TOKEN_INFORMATION_CLASS what) {
  Answer answer = {};
  DWORD size = 0;
  ::SetLastError(ERROR_SUCCESS);
  if (!::GetTokenInformation(token, what, &answer, sizeof answer, &size)) {
    ::SetLastError(FailureCode());
    return std::nullopt;
  }
  return answer;
}

std::wstring PrivilegeName(LUID number) {
  wchar_t name[128] = {};
  DWORD units = ARRAYSIZE(name);
  const bool isKnown = ::LookupPrivilegeNameW(nullptr, &number, name, &units) != FALSE;
  return isKnown ? name : HexNumber(number.LowPart);
}

class Reader {
 public:
  explicit Reader(HANDLE token) : token(token) {}

  TokenFacts Read() {
    ReadAccount();
    ReadGroups();
    if (!ReadPrivileges(token, facts.privileges)) Untold("privileges");
    ReadIntegrity();
    ReadElevation();
    ReadStatistics();
    return std::move(facts);
  }

 private:
  void Untold(const char* fact) { facts.untold.push_back({fact, ::GetLastError()}); }

  void ReadAccount() {
    const std::vector<BYTE> user = Information(token, TokenUser);
    if (user.empty()) {
      Untold("account");
      return;
    }
    facts.account = NameOf(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid);
  }

  void ReadGroups() {
    const std::vector<BYTE> bytes = Information(token, TokenGroups);
    if (bytes.empty()) {
      Untold("groups");
      return;
    }
    const auto& groups = *reinterpret_cast<const TOKEN_GROUPS*>(bytes.data());
    for (DWORD i = 0; i < groups.GroupCount; ++i) {
      facts.groups.push_back({NameOf(groups.Groups[i].Sid), groups.Groups[i].Attributes});
    }
  }

  void ReadIntegrity() {
    const std::vector<BYTE> bytes = Information(token, TokenIntegrityLevel);
    if (bytes.empty()) {
      Untold("integrity");
      return;
    }
    const PSID label = reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(bytes.data())->Label.Sid;
    facts.integrity = NameOf(label);
    const UCHAR parts = *::GetSidSubAuthorityCount(label);
    if (parts > 0) facts.integrityLevel = *::GetSidSubAuthority(label, parts - DWORD{1});
  }

  void ReadElevation() {
    if (const auto elevation = Ask<TOKEN_ELEVATION>(token, TokenElevation)) {
      facts.isElevated = elevation->TokenIsElevated != 0;
    } else {
      Untold("elevated");
    }
    facts.elevation = Ask<TOKEN_ELEVATION_TYPE>(token, TokenElevationType);
    if (!facts.elevation) Untold("elevationType");
  }

  void ReadStatistics() {
    const auto statistics = Ask<TOKEN_STATISTICS>(token, TokenStatistics);
    if (!statistics) {
      Untold("logonSession");
      return;
    }
    const LUID& id = statistics->AuthenticationId;
    facts.logonSession = ULONGLONG{static_cast<DWORD>(id.HighPart)} << 32 | id.LowPart;
    if (statistics->TokenType == TokenImpersonation) facts.level = statistics->ImpersonationLevel;
  }

  HANDLE token;
  TokenFacts facts;
};

TokenFacts NoToken(DWORD error) {
  TokenFacts facts;
  facts.error = error;
  return facts;
}

}  // namespace

bool ReadPrivileges(HANDLE token, std::vector<TokenPrivilege>& privileges) {
  const std::vector<BYTE> bytes = Information(token, TokenPrivileges);
  if (bytes.empty()) return false;
  const auto& list = *reinterpret_cast<const TOKEN_PRIVILEGES*>(bytes.data());
  privileges.clear();
  for (DWORD i = 0; i < list.PrivilegeCount; ++i) {
    const LUID_AND_ATTRIBUTES& privilege = list.Privileges[i];
    privileges.push_back({PrivilegeName(privilege.Luid), privilege.Luid, privilege.Attributes});
  }
  return true;
}

TokenFacts FactsOf(HANDLE token) { return Reader(token).Read(); }

TokenFacts FactsOfProcess() {
  OwnedKernelObject token;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.Receive())) {
    return NoToken(FailureCode());
  }
  return FactsOf(token.Get());
}

// Opened with the thread's own rights, as the library's WhoAmI does.
std::optional<TokenFacts> FactsOfThread() {
  OwnedKernelObject token;
  ::SetLastError(ERROR_SUCCESS);
  if (::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, FALSE, token.Receive())) {
    return FactsOf(token.Get());
  }
  const DWORD error = FailureCode();
  if (error == ERROR_NO_TOKEN) return std::nullopt;
  return NoToken(error);
}

}  // namespace vtctl
