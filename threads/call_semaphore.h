#ifndef VTCLASS_THREADS_CALL_SEMAPHORE_H
#define VTCLASS_THREADS_CALL_SEMAPHORE_H

#include <vtclass/win32.h>

#include "platform/owned.h"
#include "threads/call_count.h"
#include "vtclass/com_environment.h"

namespace vtclass::threads {

/*
 * The call semaphore of a worker: one count a queued call. See CallCount for when the kernel object
 * is touched. It exists from construction, since a pool waits on it directly. When the platform
 * gives none every wait fails at once.
 */
class CallSemaphore {
 public:
  CallSemaphore() noexcept : kernel(::CreateSemaphoreW(nullptr, 0, 0x7fffffff, nullptr)) {}

  HANDLE Handle() const noexcept { return kernel.Get(); }

  /* Counts one call. True: the caller then wakes. */
  bool Count() noexcept { return count.Post(); }
  void Wake() noexcept {
    ::ReleaseSemaphore(kernel.Get(), 1, nullptr);
    count.Released();
  }

  /* True when one count was consumed. With an environment the wait keeps its apartment alive. */
  bool Wait(DWORD timeout, ComClientEnv* environment) {
    // Who posts next may only be waiting for this processor: that saves both of them the kernel.
    if (timeout > 0 && !count.HasCall()) ::SwitchToThread();
    const ULONGLONG start = timeout == INFINITE ? 0 : ::GetTickCount64();
    DWORD left = timeout;
    while (!kernel || !count.TakeOrAnnounce()) {
      const DWORD result = environment ? environment->WaitForSingleObject(kernel.Get(), left)
                                       : ::WaitForSingleObject(kernel.Get(), left);
      if (!kernel) return false;
      if (result != WAIT_OBJECT_0) return count.TakeOrGiveUp();
      if (count.TakeWoken()) return true;
      if (timeout != INFINITE) left = Left(timeout, ::GetTickCount64() - start);
    }
    // A wait that finds a call dispatches what is pending too: a worker that never sleeps would
    // otherwise starve its apartment.
    if (environment) environment->Dawdle();
    return true;
  }

 private:
  static DWORD Left(DWORD timeout, ULONGLONG elapsed) {
    return elapsed < timeout ? timeout - static_cast<DWORD>(elapsed) : 0;
  }

  platform::OwnedKernelObject kernel;
  CallCount count;
};

}  // namespace vtclass::threads

#endif
