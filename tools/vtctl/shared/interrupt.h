#ifndef VTCLASS_TOOLS_VTCTL_SHARED_INTERRUPT_H
#define VTCLASS_TOOLS_VTCTL_SHARED_INTERRUPT_H

#include <vtclass/win32.h>

namespace vtctl {

/*
 * Ctrl+C, Ctrl+Break, and the closing of the window or the session: they only set a mark, so that
 * a command can finish what it writes. A second Ctrl+C ends the program at once.
 */
void CatchInterrupts();

/* True once the operator has asked to stop. Any thread. */
bool Interrupted();

/* A manual-reset event that is set then, for waits; never closed. Null before CatchInterrupts. */
HANDLE InterruptEvent();

}  // namespace vtctl

#endif
