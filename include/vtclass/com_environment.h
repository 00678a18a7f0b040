#ifndef VTCLASS_COM_ENVIRONMENT_H
#define VTCLASS_COM_ENVIRONMENT_H

#include <vtclass/win32.h>

#include <memory>

#include "vtclass/border.h"
#include "vtclass/export.h"

/*
 * COM environments: an object that enters COM on the thread that builds it, leaves COM when it is
 * destroyed, and waits as its apartment needs it. Worker threads (vtclass/threads.h) own one each;
 * other threads may build their own.
 *
 * Threads: an environment belongs to the thread that built it, its destruction included.
 * Failures: an environment whose entry failed exists nevertheless; GetStatus tells. Waits answer
 * the platform's wait results, with the reason of a failed one in ::GetLastError().
 * COM (ole32) and the message pump (user32) are loaded at their first use.
 */
class VTCLASS_API_TYPE ComClientEnv : public vtclass::border::LibraryMemory {
 public:
  /* Leaves COM, unless the status is negative. */
  VTCLASS_API virtual ~ComClientEnv();
  ComClientEnv(const ComClientEnv&) = delete;
  ComClientEnv& operator=(const ComClientEnv&) = delete;

  /* Keeps the apartment alive during long work: dispatches the window messages that are pending. */
  virtual void Dawdle() = 0;

  /*
   * Waits until `handle` is signalled, for `timeout` milliseconds at most (0 only looks, 0xFFFFFFFF
   * has no limit). Returns 0 when it is, 258 after the time-out, 0x80 for an abandoned mutex,
   * 0xFFFFFFFF on failure.
   */
  virtual unsigned long WaitForSingleObject(void* handle, unsigned long timeout) = 0;

  /*
   * The same for `count` handles, one of them (`waitAll` 0, the result is its index) or all
   * (nonzero). At most 64 handles, in a single-threaded apartment 63.
   */
  virtual unsigned long WaitForMultipleObjects(unsigned long count, void* const* handles,
                                               int waitAll, unsigned long timeout) = 0;

  /*
   * Hands its arguments unchanged to the platform's CoInitializeSecurity (`authenticationServices`
   * points to SOLE_AUTHENTICATION_SERVICE rows) and returns the HRESULT.
   *
   * Contract: the result replaces the status of having entered COM. An environment whose security
   * call failed, for example because the process had set its security before, does not leave COM
   * when it is destroyed. If it did, COM could end on a thread whose other users rely on it.
   */
  VTCLASS_API virtual unsigned long InitializeSecurity(
      void* securityDescriptor, long authenticationServiceCount, void* authenticationServices,
      void* reserved1, unsigned long authenticationLevel, unsigned long impersonationLevel,
      void* authenticationList, unsigned long capabilities, void* reserved3);

  /* The HRESULT of entering COM, or of the last InitializeSecurity. Negative means failure. */
  VTCLASS_API virtual long GetStatus() const;

 protected:
  VTCLASS_API explicit ComClientEnv(long status) noexcept;

 private:
  long status;
};

/*
 * A single-threaded apartment. Its waits keep the thread's messages moving: whoever calls into the
 * apartment from outside would otherwise hang until the wait ends.
 */
class VTCLASS_API_TYPE SingleThreadedCom : public ComClientEnv {
 public:
  /* Enters the apartment; on a thread that is in a multithreaded one the status is 0x80010106. */
  VTCLASS_API SingleThreadedCom();
  VTCLASS_API ~SingleThreadedCom() override;

  /*
   * Removes and dispatches messages until none is pending, WM_QUIT among them. A handler that
   * posts to its own thread without end keeps it from returning.
   */
  VTCLASS_API void Dawdle() override;

  VTCLASS_API unsigned long WaitForSingleObject(void* handle, unsigned long timeout) override;

  /*
   * Dispatches pending messages first, also with `timeout` 0, and again whenever one arrives. A
   * handle that is signalled while messages keep arriving is reported: the time-out is answered
   * after a last look at the handles only.
   *
   * Contract: each round dispatches twice. Handlers that run inside a wait see that order.
   * Contract: as the platform has it, a wait for all handles also needs a message to end early.
   */
  VTCLASS_API unsigned long WaitForMultipleObjects(unsigned long count, void* const* handles,
                                                   int waitAll, unsigned long timeout) override;
};

/* An apartment entered with CoInitializeEx, in general the multithreaded one. Waits are plain. */
class VTCLASS_API_TYPE MultiThreadedCom : public ComClientEnv {
 public:
  using Initialize = long(__stdcall*)(void* reserved, unsigned long flags);

  /* Calls `initialize(nullptr, flags)`; its result is the status. Requires: not null. */
  VTCLASS_API MultiThreadedCom(Initialize initialize, unsigned long flags);
  VTCLASS_API ~MultiThreadedCom() override;

  /* Does nothing. */
  VTCLASS_API void Dawdle() override;
  VTCLASS_API unsigned long WaitForSingleObject(void* handle, unsigned long timeout) override;
  VTCLASS_API unsigned long WaitForMultipleObjects(unsigned long count, void* const* handles,
                                                   int waitAll, unsigned long timeout) override;
};

/* The process's one maker of environments. */
class ComEnvironmentFactory {
 public:
  ComEnvironmentFactory(const ComEnvironmentFactory&) = delete;
  ComEnvironmentFactory& operator=(const ComEnvironmentFactory&) = delete;

  /*
   * The factory, made by the first call, which loads "ole32.dll". Never null; std::bad_alloc when
   * memory runs out. Threads: any; several first callers get the same factory.
   */
  static ComEnvironmentFactory* GetInstance();

  /*
   * Frees the library that the factory loaded and ends the factory; the next GetInstance makes a
   * new one. Does nothing without a factory. A host that unloads the library calls it before.
   * Requires: the environments that it built are gone, and no other thread uses the factory.
   */
  VTCLASS_API static void DestroyInstance();

  /*
   * Builds an environment on the calling thread; the caller deletes it on the same thread.
   *
   * `model`: 2 gives a SingleThreadedCom. 255 gives a multithreaded apartment if the thread allows
   * it, else a SingleThreadedCom. Any other value is handed to CoInitializeEx as its flags (0 is
   * multithreaded), without a second try; the result is null only when this system has no
   * CoInitializeEx. The environment is also returned when its status is negative.
   *
   * `initSecurity` nonzero sets the process's COM security, if COM was entered: authentication
   * level connect, impersonation level impersonate, static cloaking. It can be set once in a
   * process; see the contract of ComClientEnv::InitializeSecurity for the environments after that.
   */
  ComClientEnv* GetEnvironment(unsigned long model, int initSecurity);

 private:
  VTCLASS_API static ComEnvironmentFactory* InstanceOrNull() noexcept;
  VTCLASS_API ComClientEnv* MakeEnvironment(unsigned long model, int initSecurity,
                                            vtclass::border::Failure& failure) noexcept;

  std::unique_ptr<ComClientEnv> Enter(unsigned long model) const;
  ComEnvironmentFactory();
  ~ComEnvironmentFactory();

  MultiThreadedCom::Initialize coInitializeEx = nullptr;
  HMODULE module;
};

/* Compiled into the callers, which throw on their own side (vtclass/export.h). */
inline ComEnvironmentFactory* ComEnvironmentFactory::GetInstance() {
  return vtclass::border::NotNull(InstanceOrNull());
}

inline ComClientEnv* ComEnvironmentFactory::GetEnvironment(unsigned long model, int initSecurity) {
  vtclass::border::Failure failure;
  ComClientEnv* const environment = MakeEnvironment(model, initSecurity, failure);
  failure.Throw();
  return environment;
}

#endif
