#ifndef VTCLASS_TOOLS_VTCTL_SHARED_ACCOUNT_NAME_H
#define VTCLASS_TOOLS_VTCTL_SHARED_ACCOUNT_NAME_H

#include <vtclass/win32.h>

#include <string>

namespace vtctl {

/* An account or a group, as people and as the system know it. */
struct AccountName {
  std::wstring name;       /* "BUILTIN\Administrators"; the SID where the system tells no name */
  std::wstring sid;        /* "S-1-5-32-544" */
  unsigned long error = 0; /* why it tells none */
};

AccountName NameOf(PSID account);

/* The name, and why it is only a number where it is one. Fit for a screen. */
std::wstring Shown(const AccountName& account);

}  // namespace vtctl

#endif
