#ifndef VTCLASS_TOOLS_VTCTL_SECURITY_TOKEN_TEXT_H
#define VTCLASS_TOOLS_VTCTL_SECURITY_TOKEN_TEXT_H

#include <string>

#include "tools/vtctl/security/token.h"
#include "tools/vtctl/shared/json.h"

/* Tokens for people and for scripts. */
namespace vtctl {

/* One line a fact, indented. */
std::wstring Text(const TokenFacts& facts);
Json ToJson(const TokenFacts& facts);

/* "impersonation": how far a thread may act as the account. Null for none. */
const char* LevelWord(const std::optional<SECURITY_IMPERSONATION_LEVEL>& level);

/* "enabled, by default" */
std::wstring PrivilegeState(DWORD attributes);

/* "yes" or "no" */
const wchar_t* YesNo(bool is);

}  // namespace vtctl

#endif
