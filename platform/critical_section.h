#ifndef VTCLASS_PLATFORM_CRITICAL_SECTION_H
#define VTCLASS_PLATFORM_CRITICAL_SECTION_H

#include <vtclass/win32.h>

#if defined(__clang__)
#define VTCLASS_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VTCLASS_THREAD_ANNOTATION(x)
#endif
#define VTCLASS_GUARDED_BY(lock) VTCLASS_THREAD_ANNOTATION(guarded_by(lock))
/* On a function: the caller holds the lock. */
#define VTCLASS_REQUIRES(lock) VTCLASS_THREAD_ANNOTATION(requires_capability(lock))

namespace vtclass::platform {

/* A recursive lock. What it guards is written on the guarded member; the compiler checks it. */
class VTCLASS_THREAD_ANNOTATION(capability("mutex")) CriticalSection {
 public:
  /* A short spin pays where the lock is held for a few instructions only. */
  explicit CriticalSection(DWORD spinCount = 4000) noexcept {
    ::InitializeCriticalSectionAndSpinCount(&section, spinCount);
  }
  ~CriticalSection() { ::DeleteCriticalSection(&section); }
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;

  void Lock() noexcept VTCLASS_THREAD_ANNOTATION(acquire_capability()) {
    ::EnterCriticalSection(&section);
  }
  /* False when another thread holds it. */
  bool TryLock() noexcept VTCLASS_THREAD_ANNOTATION(try_acquire_capability(true)) {
    return ::TryEnterCriticalSection(&section) != FALSE;
  }
  void Unlock() noexcept VTCLASS_THREAD_ANNOTATION(release_capability()) {
    ::LeaveCriticalSection(&section);
  }

 private:
  CRITICAL_SECTION section{};
};

/* Looks the spin-count function up, once in a process. Part of constructing workers, pools and the
 * settings monitor. */
void LookUpSpinCount() noexcept;

/* Holds a lock for one scope. */
template <typename Lock>
class VTCLASS_THREAD_ANNOTATION(scoped_lockable) BasicScopedLock {
 public:
  explicit BasicScopedLock(Lock& lock) VTCLASS_THREAD_ANNOTATION(acquire_capability(lock))
      : lock(lock) {
    lock.Lock();
  }
  ~BasicScopedLock() VTCLASS_THREAD_ANNOTATION(release_capability()) { lock.Unlock(); }
  BasicScopedLock(const BasicScopedLock&) = delete;
  BasicScopedLock& operator=(const BasicScopedLock&) = delete;

 private:
  Lock& lock;
};

using ScopedLock = BasicScopedLock<CriticalSection>;

}  // namespace vtclass::platform

#endif
