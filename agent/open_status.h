#ifndef VTCLASS_AGENT_OPEN_STATUS_H
#define VTCLASS_AGENT_OPEN_STATUS_H

#include <vtclass/win32.h>

#include "vtclass/agent.h"

/* What AgentAdvConfig::Open answers to what it meets. */
namespace vtclass::agent {

/* How a step of Open ended. */
struct Outcome {
  unsigned long status = ERROR_SUCCESS; /* for the caller */
  unsigned long code = ERROR_SUCCESS;   /* the system's, 0 where it has refused nothing */
};

/* The system's statuses of access, logon and credentials. All others of a connection that could not
 * be made tell of the machine, or of the way to it. */
struct StatusRange {
  DWORD first;
  DWORD last;
};
inline constexpr StatusRange kRefusals[] = {
    {ERROR_ACCESS_DENIED, ERROR_ACCESS_DENIED},
    {ERROR_INVALID_PASSWORD, ERROR_INVALID_PASSWORD},
    {ERROR_SESSION_CREDENTIAL_CONFLICT, ERROR_SESSION_CREDENTIAL_CONFLICT},
    {ERROR_NOT_AUTHENTICATED, ERROR_NOT_AUTHENTICATED},
    {ERROR_WRONG_PASSWORD, ERROR_ACCOUNT_DISABLED},  // bad names, passwords, hours, workstations
    {ERROR_LOGON_TYPE_NOT_GRANTED, ERROR_LOGON_TYPE_NOT_GRANTED},
    {ERROR_ACCOUNT_EXPIRED, ERROR_ACCOUNT_EXPIRED},
    {ERROR_NOLOGON_INTERDOMAIN_TRUST_ACCOUNT, ERROR_NOLOGON_SERVER_TRUST_ACCOUNT},
    {ERROR_PASSWORD_MUST_CHANGE, ERROR_PASSWORD_MUST_CHANGE},
    {ERROR_BAD_USERNAME, ERROR_BAD_USERNAME}};

constexpr Outcome ConnectionFailed(DWORD code) noexcept {
  for (const StatusRange& range : kRefusals) {
    if (code >= range.first && code <= range.last) return {AgentAdvConfig::accessDenied, code};
  }
  return {AgentAdvConfig::notReachable, code};
}

/* The registry's failures: a want of memory says nothing of the agent. */
constexpr Outcome RegistryFailed(unsigned long code) noexcept {
  if (code == ERROR_NOT_ENOUGH_MEMORY) return {code};
  return {AgentAdvConfig::notInstalled, code};
}

constexpr Outcome ServiceManagerFailed(DWORD code) noexcept {
  const bool isRefused = code == ERROR_ACCESS_DENIED;
  return {isRefused ? AgentAdvConfig::accessDenied : AgentAdvConfig::notReachable, code};
}

constexpr Outcome ServiceFailed(DWORD code) noexcept {
  const bool isMissing = code == ERROR_SERVICE_DOES_NOT_EXIST || code == ERROR_INVALID_NAME;
  return isMissing ? Outcome{AgentAdvConfig::notInstalled, code} : ServiceManagerFailed(code);
}

constexpr Outcome VersionFound(unsigned long major) noexcept {
  constexpr unsigned long kThisMajor = 13;
  if (major == kThisMajor) return {};
  return {major > kThisMajor ? AgentAdvConfig::otherVersion : AgentAdvConfig::olderVersion};
}

}  // namespace vtclass::agent

#endif
