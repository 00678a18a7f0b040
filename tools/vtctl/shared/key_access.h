#ifndef VTCLASS_TOOLS_VTCTL_SHARED_KEY_ACCESS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_KEY_ACCESS_H

#include <vtclass/win32.h>

#include <string>
#include <vector>

namespace vtctl {

/* Rights by which a key's values, or its rights themselves, are changed. */
inline constexpr DWORD kChangeRights =
    KEY_SET_VALUE | KEY_CREATE_SUB_KEY | DELETE | WRITE_DAC | WRITE_OWNER;

/* Who has one of some rights to a registry key, as its access list says. */
struct KeyAccess {
  unsigned long error = 0; /* why that cannot be told; then nothing else is */
  bool isEveryUser = false;
  std::vector<std::wstring> names; /* who is let in, in the order of the list */
};

KeyAccess AccessTo(HKEY key, DWORD rights);

/*
 * Whether the list gives one of the rights to an account that is no more than a user of the
 * machine: a member of Everyone, Authenticated Users, Interactive and Users. Of each right the
 * first entry that speaks of it and of one of them decides, as in the system. Null lets everybody
 * in.
 */
bool LetsEveryUser(ACL* list, DWORD rights);

}  // namespace vtctl

#endif
