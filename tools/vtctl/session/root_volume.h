#ifndef VTCLASS_TOOLS_VTCTL_SESSION_ROOT_VOLUME_H
#define VTCLASS_TOOLS_VTCTL_SESSION_ROOT_VOLUME_H

#include <cstdint>
#include <optional>
#include <string>

#include "tools/vtctl/session/messages.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/volume.h"

namespace vtctl {

/* The volume that holds the root of a session. Its path may become another one's between two
 * sessions; the name stays with it. */
struct RootVolume {
  std::wstring path; /* "C:\"; empty when the system does not tell */
  std::wstring name; /* "\\?\Volume{...}\"; empty when it has none, as a network share */
  std::optional<uint64_t> freeBefore, freeAfter; /* bytes, with those that a quota withholds */
};

RootVolume VolumeOf(const Path& root);

/* The name of the volume that is mounted there, at the root of a drive or at a folder; empty when
 * the system does not tell. */
std::wstring VolumeNameAt(const std::wstring& mountPoint);

/* The free bytes of the volume now. */
std::optional<uint64_t> FreeSpaceOf(const RootVolume& volume);

std::wstring ShownPath(const RootVolume& volume); /* "C:\" */
std::wstring Shown(const RootVolume& volume);     /* "C:\ (\\?\Volume{...}\)" */

/* What to tell before a session whose job log goes to `folder`; empty when there is space enough,
 * or the system does not say how much there is. */
std::wstring LogSpaceWarning(const Messages& messages, const Path& folder);

}  // namespace vtctl

#endif
