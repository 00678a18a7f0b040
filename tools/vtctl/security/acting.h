#ifndef VTCLASS_TOOLS_VTCTL_SECURITY_ACTING_H
#define VTCLASS_TOOLS_VTCTL_SECURITY_ACTING_H

#include <string>

namespace vtctl {

/* As whom the calling thread acts, as the library tells it. Each is empty where it tells nothing.
 */
struct Acting {
  std::wstring name; /* DOMAIN\user */
  std::wstring sid;
};
Acting AskActing();

/* "NORVANE\backup", its SID where there is no name, or that it is not known. Fit for a screen. */
std::wstring Shown(const Acting& acting);

}  // namespace vtctl

#endif
