#include <vtclass/win32.h>

#include "platform/owned.h"
#include "vtclass/security.h"

using vtclass::platform::OwnedKernelObject;

namespace {

// The thread's token, else the process's; empty when neither can be opened.
OwnedKernelObject TokenToChange(bool openAsSelf) noexcept {
  HANDLE token = nullptr;
  if (::OpenThreadToken(::GetCurrentThread(), MAXIMUM_ALLOWED, openAsSelf, &token) ||
      ::OpenProcessToken(::GetCurrentProcess(), MAXIMUM_ALLOWED, &token)) {
    return OwnedKernelObject(token);
  }
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
  ::AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr);
  return ::GetLastError() == ERROR_SUCCESS;
}
