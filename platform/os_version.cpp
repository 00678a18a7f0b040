#include "platform/os_version.h"

#include <vtclass/win32.h>

#include "platform/meant_call.h"

namespace vtclass::platform {

bool IsSystemAtLeast(unsigned long major, unsigned long minor) noexcept {
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof(version);
  // The reported version follows the host program's manifest, which is what registry views and
  // resource flags have always been chosen by; newer queries would answer differently.
  VTCLASS_MEANT_BEGIN
  if (!::GetVersionExW(&version)) return false;
  VTCLASS_MEANT_END
  if (version.dwMajorVersion != major) return version.dwMajorVersion > major;
  return version.dwMinorVersion >= minor;
}

}  // namespace vtclass::platform
