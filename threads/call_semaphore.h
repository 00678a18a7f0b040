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

  void Post() noexcept {
    if (count.Post()) ::ReleaseSemaphore(kernel.Get(), 1, nullptr);
  }

  /* True when one count was consumed. With an environment the wait keeps its apartment alive. */
  bool Wait(DWORD timeout, ComClientEnv* environment) {
    const bool usable = static_cast<bool>(kernel);
    // Who posts next may only be waiting for this processor: that saves both of them the kernel.
    if (timeout > 0 && !count.HasCall()) ::SwitchToThread();
    if (usable && count.TakeOrAnnounce()) {
      // A wait that finds a call dispatches what is pending too: a worker that never sleeps would
      // otherwise starve its apartment.
      if (environment) environment->Dawdle();
      return true;
    }
    const DWORD result = environment ? environment->WaitForSingleObject(kernel.Get(), timeout)
                                     : ::WaitForSingleObject(kernel.Get(), timeout);
    if (result == WAIT_OBJECT_0) return true;
    if (!usable) return false;
    while (!count.TakeBack()) {
      const DWORD token = ::WaitForSingleObject(kernel.Get(), kTokenLimit);
      if (token != WAIT_TIMEOUT) return token == WAIT_OBJECT_0;
    }
    return false;
  }

 private:
  static constexpr DWORD kTokenLimit = 1; /* a token on its way comes sooner; it may be snatched */

  platform::OwnedKernelObject kernel;
  CallCount count;
};

}  // namespace vtclass::threads

#endif
