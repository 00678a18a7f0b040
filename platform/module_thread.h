#ifndef VTCLASS_PLATFORM_MODULE_THREAD_H
#define VTCLASS_PLATFORM_MODULE_THREAD_H

#include <vtclass/win32.h>

#include <process.h>

#include "platform/c_run_time.h"
#include "platform/owned.h"
#include "platform/this_module.h"

/*
 * Threads that run this module's code. Each holds a reference to the module, so that a host that
 * unloads it too early does not take the code away: the reference is there before the thread is,
 * and the thread gives it back in the step by which it leaves the code.
 */
namespace vtclass::platform {

/* What such a thread runs: `run(owner)`, whose answer is the thread's exit code. */
template <auto run, typename Code, typename Owner>
Code __stdcall RunAndLeave(void* owner) {
  const DWORD code = run(*static_cast<Owner*>(owner));
  ::FreeLibraryAndExitThread(ThisModule(), code);
}

/* The thread that `start` starts. Empty, with the reason as the last error, where the system
 * refuses the reference or the thread; nothing is held then. */
template <typename Start>
OwnedKernelObject StartHolding(Start start) noexcept {
  OwnedModule held = HoldThisModule();
  if (!held) return {};
  OwnedKernelObject thread(start());
  if (thread) held.Release();  // it is the thread's now
  return thread;
}

/* A thread that runs the library's own code. */
template <auto run, typename Owner>
OwnedKernelObject StartModuleThread(Owner& owner) noexcept {
  return StartHolding([&owner] {
    return ::CreateThread(nullptr, 0, &RunAndLeave<run, DWORD, Owner>, &owner, 0, nullptr);
  });
}

/* What a thread of callers' code runs. The Universal C run time itself holds the module of what
 * _beginthreadex starts, until that returns; left by another way, the module would stay for ever.
 */
template <auto run, typename Owner>
unsigned __stdcall RunCallersCode(void* owner) {
#if VTCLASS_UNIVERSAL_CRT
  return run(*static_cast<Owner*>(owner));
#else
  return RunAndLeave<run, unsigned, Owner>(owner);
#endif
}

/* A thread that runs code of callers, who may expect that the C run time has seen it start. */
template <auto run, typename Owner>
OwnedKernelObject StartCallersThread(Owner& owner, unsigned stackSize, unsigned& id) noexcept {
  const auto start = [&owner, stackSize, &id] {
    return reinterpret_cast<HANDLE>(
        ::_beginthreadex(nullptr, stackSize, &RunCallersCode<run, Owner>, &owner, 0, &id));
  };
#if VTCLASS_UNIVERSAL_CRT
  return OwnedKernelObject(start());
#else
  return StartHolding(start);
#endif
}

}  // namespace vtclass::platform

#endif
