#ifndef VTCLASS_TOOLS_VTCTL_SECURITY_TOKEN_H
#define VTCLASS_TOOLS_VTCTL_SECURITY_TOKEN_H

#include <vtclass/win32.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/owned.h"
#include "tools/vtctl/shared/account_name.h"

namespace vtctl {

struct TokenGroup {
  AccountName account;
  DWORD attributes = 0;
};

struct TokenPrivilege {
  std::wstring name; /* its number where the system knows no name */
  LUID number = {};
  DWORD attributes = 0;
};

/* A question about a token that the system did not answer. */
struct UntoldFact {
  const char* fact;
  unsigned long status;
};

/* What a token says of whoever acts by it. What is missing stands in `untold`. */
struct TokenFacts {
  unsigned long error = 0; /* why the token itself is not to be had; then there is nothing else */
  std::optional<AccountName> account;
  std::vector<TokenGroup> groups;
  std::vector<TokenPrivilege> privileges;
  std::optional<AccountName> integrity;
  std::optional<DWORD> integrityLevel;
  std::optional<bool> isElevated;
  std::optional<TOKEN_ELEVATION_TYPE> elevation;
  std::optional<ULONGLONG> logonSession;
  std::optional<SECURITY_IMPERSONATION_LEVEL> level; /* none of a process's token */
  std::vector<UntoldFact> untold;
};

TokenFacts FactsOf(HANDLE token);

TokenFacts FactsOfProcess();
/* Nothing when the calling thread acts as the process. */
std::optional<TokenFacts> FactsOfThread();

/* The privileges of a token; false, with ::GetLastError(), when the system does not tell them. */
bool ReadPrivileges(HANDLE token, std::vector<TokenPrivilege>& privileges);

}  // namespace vtctl

#endif
