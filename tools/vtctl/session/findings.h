#ifndef VTCLASS_TOOLS_VTCTL_SESSION_FINDINGS_H
#define VTCLASS_TOOLS_VTCTL_SESSION_FINDINGS_H

#include <vtclass/win32.h>

#include <string>

#include "tools/vtctl/session/files.h"
#include "tools/vtctl/session/messages.h"

namespace vtctl {

/* A warning or an error of the session: how it stands in the job log, and what it means. */
struct Finding {
  long code = 0; /* the unique message identifier */
  const wchar_t* tag = nullptr;
  std::wstring text;
  unsigned category = 0; /* message id of the job's error category */
  // NOLINTNEXTLINE(readability-redundant-member-init): rows without it need not name it
  std::wstring path = {}; /* the file, folder or registry key, as people may read it */
  DWORD status = 0;       /* the system's, where there is one */

  bool IsError() const;
};

/* What a listing that failed says of the folder. For the root folder it is always an error: without
 * it nothing was read at all. */
Finding FolderFinding(const Messages& messages, const std::wstring& shownPath,
                      const FolderListing& listing, bool isRoot);

/* What a reading that did not end as `complete` or `stopped` says of the file. */
Finding FileFinding(const Messages& messages, const std::wstring& shownPath,
                    const ReadResult& result);

}  // namespace vtctl

#endif
