#ifndef VTSOCKET_PASSING_LOCK_H
#define VTSOCKET_PASSING_LOCK_H

#include <atomic>

#include "platform/critical_section.h"
#include "platform/owned.h"

namespace vtclass::vtsocket {

/*
 * A lock for an object at namespace scope whose users may be killed: it has no constructor that
 * runs, no destructor and no wait blocks on the waiters' stacks. It knows who holds it, and passes
 * on when that thread is gone; the next one finds what it guards as the dead thread left it. It
 * enters the kernel only where it finds the lock taken, so it is for a few instructions at a time.
 * (platform/kill_safe_lock.h enters it always: four times the price of a look-up's limit.)
 *
 * What is left: where the dead holder's id already belongs to a new thread, the lock passes on when
 * that one is gone too.
 */
class VTCLASS_THREAD_ANNOTATION(capability("mutex")) PassingLock {
 public:
  constexpr PassingLock() noexcept = default;
  PassingLock(const PassingLock&) = delete;
  PassingLock& operator=(const PassingLock&) = delete;

  void Lock() noexcept VTCLASS_THREAD_ANNOTATION(acquire_capability()) {
    for (unsigned round = 1; !TryTake(0); ++round) {
      const DWORD holder = owner.load(std::memory_order_relaxed);
      if (round % kRoundsOfTrust != 0) {
        ::SwitchToThread();
      } else if (IsGone(holder) && TryTake(holder)) {
        return;
      } else {
        ::Sleep(1);  // the holder may have a lower priority
      }
    }
  }
  void Unlock() noexcept VTCLASS_THREAD_ANNOTATION(release_capability()) {
    owner.store(0, std::memory_order_release);
  }

 private:
  static constexpr unsigned kRoundsOfTrust = 256;

  bool TryTake(DWORD from) noexcept {
    return owner.compare_exchange_strong(from, ::GetCurrentThreadId(), std::memory_order_acquire);
  }

  static bool IsGone(DWORD thread) noexcept {
    if (thread == 0) return false;
    const platform::OwnedKernelObject open(::OpenThread(SYNCHRONIZE, FALSE, thread));
    if (!open) return ::GetLastError() == ERROR_INVALID_PARAMETER;
    return ::WaitForSingleObject(open.Get(), 0) == WAIT_OBJECT_0;
  }

  std::atomic<DWORD> owner{0}; /* a thread's id; 0: free */
};

using ScopedPassingLock = platform::BasicScopedLock<PassingLock>;

}  // namespace vtclass::vtsocket

#endif
