#ifndef VTCLASS_TOOLS_VTCTL_SHARED_CONFIRM_H
#define VTCLASS_TOOLS_VTCTL_SHARED_CONFIRM_H

#include <string>

namespace vtctl {

/*
 * Whether the operator means it: asks `question`, which ends with a question mark, at the terminal.
 * kExitClean for "yes" or "y"; else the exit code after it has said why nothing is done.
 */
int Confirm(const std::wstring& question);

}  // namespace vtctl

#endif
