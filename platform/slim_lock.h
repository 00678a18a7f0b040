#ifndef VTCLASS_PLATFORM_SLIM_LOCK_H
#define VTCLASS_PLATFORM_SLIM_LOCK_H

#include "platform/critical_section.h"

namespace vtclass::platform {

/*
 * A lock that is not recursive, for objects at namespace scope: it has neither a constructor that
 * runs nor a destructor. Conditions are waited for under it.
 */
class VTCLASS_THREAD_ANNOTATION(capability("mutex")) SlimLock {
 public:
  constexpr SlimLock() noexcept = default;
  SlimLock(const SlimLock&) = delete;
  SlimLock& operator=(const SlimLock&) = delete;

  void Lock() noexcept VTCLASS_THREAD_ANNOTATION(acquire_capability()) {
    ::AcquireSRWLockExclusive(&lock);
  }
  void Unlock() noexcept VTCLASS_THREAD_ANNOTATION(release_capability()) {
    ::ReleaseSRWLockExclusive(&lock);
  }

  /* Lets others in until the condition is woken or the milliseconds are over; also returns for no
   * reason at all, so the caller looks what holds. */
  void Wait(CONDITION_VARIABLE& condition, DWORD milliseconds) noexcept
      VTCLASS_THREAD_ANNOTATION(requires_capability(this)) {
    ::SleepConditionVariableSRW(&condition, &lock, milliseconds, 0);
  }

 private:
  SRWLOCK lock = SRWLOCK_INIT;
};

using ScopedSlimLock = BasicScopedLock<SlimLock>;

}  // namespace vtclass::platform

#endif
