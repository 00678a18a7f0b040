#ifndef VTCLASS_PLATFORM_KILL_SAFE_LOCK_H
#define VTCLASS_PLATFORM_KILL_SAFE_LOCK_H

#include <atomic>

#include "platform/critical_section.h"

namespace vtclass::platform {

/*
 * A lock for objects at namespace scope in code whose threads may be killed. It has
 * neither a constructor that runs nor a destructor: the kernel mutex that it is gets made at the
 * first use.
 *
 * What a kill costs:
 * - A thread killed while it waits leaves nothing behind. (The locks and condition variables of
 *   user mode keep their queue on the stacks of the waiters, which the system frees.)
 * - A thread killed while it holds the lock passes it on to the next one, which finds what the lock
 *   guards as the dead thread left it. Work under the lock therefore goes in an order in which it
 *   may stop after every step.
 * - A thread killed while it makes the mutex loses one handle at most.
 *
 * Locking and unlocking enter the kernel each time: for what is done once a look-up or a trace, not
 * for what is done a million times a second. Both keep the thread's last error.
 */
class VTCLASS_THREAD_ANNOTATION(capability("mutex")) KillSafeLock {
 public:
  constexpr KillSafeLock() noexcept = default;
  KillSafeLock(const KillSafeLock&) = delete;
  KillSafeLock& operator=(const KillSafeLock&) = delete;

  void Lock() noexcept VTCLASS_THREAD_ANNOTATION(acquire_capability()) {
    // An abandoned mutex is acquired like any other.
    ::WaitForSingleObject(Mutex(), INFINITE);
  }
  void Unlock() noexcept VTCLASS_THREAD_ANNOTATION(release_capability()) {
    ::ReleaseMutex(mutex.load(std::memory_order_acquire));
  }

  /* Gives the mutex back; the next use makes another. When a DLL is unloaded, and nobody uses the
   * lock any more. */
  void Close() noexcept {
    const HANDLE made = mutex.exchange(nullptr);
    if (made) ::CloseHandle(made);
  }

 private:
  HANDLE Mutex() noexcept {
    const HANDLE made = mutex.load(std::memory_order_acquire);
    return made ? made : Make();
  }

  /* Whoever publishes first wins; nobody waits for another to have made it. */
  HANDLE Make() noexcept {
    const DWORD lastError = ::GetLastError();
    HANDLE made = ::CreateMutexW(nullptr, FALSE, nullptr);
    // Going on without the lock is no choice, nor can a caller do anything else than wait.
    for (; !made; made = ::CreateMutexW(nullptr, FALSE, nullptr)) ::Sleep(1);
    HANDLE published = nullptr;
    if (!mutex.compare_exchange_strong(published, made, std::memory_order_acq_rel)) {
      ::CloseHandle(made);
      made = published;
    }
    ::SetLastError(lastError);
    return made;
  }

  std::atomic<HANDLE> mutex{nullptr};
};

using ScopedKillSafeLock = BasicScopedLock<KillSafeLock>;

}  // namespace vtclass::platform

#endif
