#ifndef VTCLASS_PLATFORM_THIS_MODULE_H
#define VTCLASS_PLATFORM_THIS_MODULE_H

#include <vtclass/win32.h>

namespace vtclass::platform {

/* The module that this code was linked into: the library. */
HMODULE ThisModule() noexcept;

/*
 * Adds a reference to that module. A thread that runs its code holds one: when the host unloads the
 * library too early, the code stays until the thread has left it by FreeLibraryAndExitThread.
 * False when the system refuses.
 */
bool HoldThisModule() noexcept;

}  // namespace vtclass::platform

#endif
