#include <vtclass/win32.h>

#include "platform/failure_code.h"
#include "platform/owned.h"
#include "vtclass/security.h"

using vtclass::platform::FailureCode;
using vtclass::platform::OwnedKernelObject;

namespace {

// The thread's token, else the process's; empty, with the thread's last error, when neither can be
// opened.
OwnedKernelObject TokenToChange(bool openAsSelf) noexcept {
  HANDLE token = nullptr;
  if (::OpenThreadToken(::GetCurrentThread(), MAXIMUM_ALLOWED, openAsSelf, &token)) {
    return OwnedKernelObject(token);
  }
  ::SetLastError(ERROR_SUCCESS);
  if (::OpenProcessToken(::GetCurrentProcess(), MAXIMUM_ALLOWED, &token)) {
    return OwnedKernelObject(token);
  }
  ::SetLastError(FailureCode());
  return {};
}

}  // namespace

int AssertPrivilege(const wchar_t* privilegeName, int openAsSelf) noexcept {
  const OwnedKernelObject token = TokenToChange(openAsSelf != 0);
  if (!token) return 0;
  TOKEN_PRIVILEGES change = {};
  change.PrivilegeCount = 1;
  change.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  // A privilege that this system does not have is none that its callers could lack.
  if (!privilegeName ||
      !::LookupPrivilegeValueW(nullptr, privilegeName, &change.Privileges[0].Luid)) {
    return 1;
  }
  // The call succeeds although the token lacks the privilege; only the last error tells.
  ::SetLastError(ERROR_SUCCESS);
  if (!::AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr)) {
    ::SetLastError(FailureCode());
  }
  return ::GetLastError() == ERROR_SUCCESS;
}
