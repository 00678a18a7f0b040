#ifndef VTCLASS_TOOLS_VTCTL_CREDENTIAL_KEY_READERS_H
#define VTCLASS_TOOLS_VTCTL_CREDENTIAL_KEY_READERS_H

#include <vtclass/win32.h>

#include <string>
#include <vector>

namespace vtctl {

/* Who may read the values of a registry key, as its access list says. */
struct KeyReaders {
  unsigned long error = 0; /* why that cannot be told; then nothing else is */
  bool isEveryUser = false;
  std::vector<std::wstring> names; /* who is let in, in the order of the list */
};

KeyReaders ReadersOf(HKEY key);

/*
 * Whether the list lets in an account that is no more than a user of the machine: a member of
 * Everyone, Authenticated Users, Interactive and Users. The first entry that speaks of one of them
 * and of reading values decides, as in the system. Null lets everybody in.
 */
bool LetsEveryUserRead(ACL* list);

}  // namespace vtctl

#endif
