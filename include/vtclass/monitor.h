#ifndef VTCLASS_MONITOR_H
#define VTCLASS_MONITOR_H

#include <vtclass/win32.h>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/ref_pointer.h"

/* The machine-wide wake-up event of SGMonClient, for whoever changes the switches. */
inline constexpr wchar_t kSGMonWakeUpEvent[] = L"Global\\SGMonWakeUp";

/*
 * Tells its owner whether service-group monitoring is on for the owner's component, and tells it
 * again each time somebody signals the machine-wide wake-up event:
 *
 *   void OnMonitoring(bool on) { ... }      // on the client's thread
 *   const RefPointer<SGMonClient> client =
 *       SGMonClient::GetInstance(SGMonClient::eAgent, &OnMonitoring);
 *   client->WaitInitComplete(5000);         // OnMonitoring has been called once
 *
 * The switches are two REG_DWORD values of the product's debug key below HKEY_LOCAL_MACHINE: "SGMon
 * Enabled" (not 0: monitoring is on) and "SGMon Components" (a mask of eClient bits: for whom).
 * Missing ones are written as 0, a missing key is made. Where the process may not write, what is
 * stored counts all the same; what cannot be read counts as 0.
 *
 * The wake-up event is kSGMonWakeUpEvent (without "Global\" before system version 5.0),
 * manual-reset. The first client makes it, open to everyone; of one that exists a client needs the
 * right to wait (SYNCHRONIZE) only. Contract: the client never resets it. Whoever has changed the
 * switches sets the event, waits a tenth of a second, resets it, and does all three once more: a
 * client that is inside its callback at the first signal hears the second. As long as the event
 * stays signalled, every client of the machine re-reads its switches and calls back, at most 20
 * times a second; shorter signals are followed one by one.
 *
 * The callback runs on the client's own thread, one call at a time. A C++ exception that leaves it
 * goes to the debugger output, and the client goes on; structured exceptions are not caught.
 *
 * Failures: without its events or its thread, or when the wake-up event can neither be made nor
 * opened, the client never calls back; WaitInitComplete returns at once and GetErrorCode tells why.
 * Where the system refuses the wait for the wake-up event, the client's thread ends: nobody is
 * called any more, and GetErrorCode tells why.
 *
 * Threads: any, except SetShutdownHandle: before others use the object. Never destroy a client
 * inside DllMain. The client's thread keeps the library loaded: a host that unloads it destroys its
 * client before, or signals the shutdown event of the one from GetInstance.
 */
class VTCLASS_API_TYPE SGMonClient : public RefCounted, public vtclass::border::LibraryMemory {
 public:
  /* The components; their bits in "SGMon Components". */
  enum eClient : unsigned long {
    eEngine = 1,
    eAgent = 2,
    eDeviceMedia = 4,
    eCatalog = 8,
    eJobManager = 16,
    eNdmp = 32,
    eLibrary = 64
  };

  /*
   * The process's one client. The first call makes and starts it; later ones ignore their
   * arguments. It holds a reference to itself, and so lives as long as the process.
   * Requires: the first call is over before other threads make theirs; it is not locked.
   */
  static RefPointer<SGMonClient> GetInstance(eClient client, void (*callback)(bool)) {
    return vtclass::border::NotNull(InstanceOrNull(client, callback, &CallContained));
  }

  /* A client of its own. `client` may hold several bits: one of them is enough. Requires: made by
   * new, and `callback` is not null. */
  SGMonClient(eClient client, void (*callback)(bool))
      : SGMonClient(client, callback, &CallContained) {
    vtclass::border::NotNull(state);
  }

  /*
   * Signals the shutdown event, waits for the thread without limit (the callback in hand ends
   * first), and closes the handles. A thread that has not begun after a second is terminated: it
   * cannot begin while the loader holds it up.
   */
  VTCLASS_API ~SGMonClient() override;

  /* The last reference is gone: deletes the client. Inside the callback the client is deleted by
   * its own thread, after the callback has returned. */
  VTCLASS_API void Destroy() override;

  /* Signals that the switches have been evaluated. The client does so itself after each callback.
   */
  VTCLASS_API void SetInitComplete();

  /*
   * Waits until the switches have been evaluated once, the thread has ended, or the shutdown event
   * is signalled; `timeoutMs` milliseconds at most, 0 does not wait, 0xFFFFFFFF has no limit.
   * Inside the callback it returns at once.
   */
  VTCLASS_API void WaitInitComplete(unsigned long timeoutMs);

  /*
   * Why the client does not follow the switches, once WaitInitComplete has returned; 0 while it
   * does, and when it was shut down. A Win32 status, the system's: 6 when an object of another kind
   * has the wake-up event's name, 5 when the event does not let this process wait, 1450 without the
   * client's own events. Any thread.
   */
  VTCLASS_API unsigned long GetErrorCode() const;

  /* The manual-reset event that ends the client's thread; signalling it is allowed. Null when the
   * system gave none. It is the client's. */
  VTCLASS_API void* GetShutdownHandle();

  /*
   * Replaces the event that GetShutdownHandle tells, WaitInitComplete heeds, and the destructor
   * signals. The new one stays the caller's and open until the client is gone.
   * Contract: the running thread keeps the event that it began with, and the destructor signals
   * that one as well. A caller that means to end the thread early signals the first one.
   */
  VTCLASS_API void SetShutdownHandle(void* handle);

 private:
  /* Calls back on the side that named the callback, so that an exception ends where it was thrown
   * (vtclass/export.h). */
  using Runner = void (*)(void (*callback)(bool), bool on) noexcept;
  static void CallContained(void (*callback)(bool), bool on) noexcept {
    vtclass::border::Contained([=] { callback(on); });
  }

  /* Without memory `state` is null. */
  VTCLASS_API SGMonClient(eClient client, void (*callback)(bool), Runner run) noexcept;
  VTCLASS_API static SGMonClient* InstanceOrNull(eClient client, void (*callback)(bool),
                                                 Runner run) noexcept;

  struct State;
  State* state;
};

#endif
