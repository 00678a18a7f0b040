#ifndef VTCLASS_TOOLS_VTCTL_SESSION_READ_AS_H
#define VTCLASS_TOOLS_VTCTL_SESSION_READ_AS_H

#include <vtclass/win32.h>

#include <string>

#include "platform/owned.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/secret.h"

namespace vtctl {

/* The account as which a session reads. Without a token it reads as the process. */
struct ReaderAccount {
  vtclass::platform::OwnedKernelObject token;
  std::wstring name; /* DOMAIN\user as the system tells it, else as the operator wrote it */
};

/* Whose password it is: the stored one where the settings name this account and it opens, else the
 * operator is asked. An exit code unless somebody is logged on. */
int LogOnReader(const std::wstring& account, const KeyPath& settings, ReaderAccount& reader);

/*
 * The calling thread reads as an account for one scope; as whoever it is where the token is null.
 * Where the system does not let it back at the end the process ends there: it would go on writing
 * its log, and all else, as the account.
 */
class ReadingAs {
 public:
  explicit ReadingAs(HANDLE token);
  ~ReadingAs();
  ReadingAs(const ReadingAs&) = delete;
  ReadingAs& operator=(const ReadingAs&) = delete;

  /* Why it does not; the thread is then as it was. */
  DWORD Error() const { return error; }

 private:
  DWORD error = ERROR_SUCCESS;
  bool isActing = false;
};

}  // namespace vtctl

#endif
