#include "platform/os_version.h"

#include <vtclass/win32.h>

namespace vtclass::platform {

bool IsSystemAtLeast(unsigned long major, unsigned long minor) noexcept {
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof(version);
  // The reported version follows the host program's manifest, which is what registry views and
  // resource flags have always been chosen by; newer queries would answer differently.
  if (!::GetVersionExW(&version)) return false;
  if (version.dwMajorVersion != major) return version.dwMajorVersion > major;
  return version.dwMinorVersion >= minor;
}

}  // namespace vtclass::platform
