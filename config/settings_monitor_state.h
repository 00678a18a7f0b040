#ifndef VTCLASS_CONFIG_SETTINGS_MONITOR_STATE_H
#define VTCLASS_CONFIG_SETTINGS_MONITOR_STATE_H

#include <vtclass/win32.h>

#include <atomic>
#include <cstdint>

#include "config/key_watcher.h"
#include "platform/critical_section.h"
#include "platform/owned.h"
#include "vtclass/settings_monitor.h"
#include "vtclass/threads.h"

/* What the settings monitor consists of. */
struct SettingsMonitor::State {
  /* Watches the two keys of the product that is selected now. */
  State();

  bool IsMonitorThread() const { return threadId == ::GetCurrentThreadId(); }
  /* Waits for what the thread has to see to next: a signal, or a key whose signal was refused and
   * is to be asked for again. Reads again what could not be read. Null when only time has passed,
   * or the system refuses the wait. */
  vtclass::config::WatchedEvent* Next();
  /* Milliseconds until the first of what is to be tried again; INFINITE when there is nothing. */
  DWORD UntilDue() const;
  /* Lets the pause after a refused wait pass; true when the monitor is stopped meanwhile. */
  bool IsStoppedInPause() const;
  /* Re-reads the settings of a watched key and tells their subscribers. */
  void Look(vtclass::config::WatchedEvent& watched);

  vtclass::config::StopSignal stopSignal;
  vtclass::config::KeyWatcher loggingWatcher;
  vtclass::config::KeyWatcher debugWatcher;
  vtclass::platform::OwnedKernelObject thread;
  std::atomic<DWORD> threadId{0}; /* of the thread inside Monitor */
  WaitableGroup waitGroup;
  vtclass::config::Settings settings VTCLASS_GUARDED_BY(lock);
  std::uint64_t registered VTCLASS_GUARDED_BY(lock) = 0; /* so many have ever been */
  vtclass::platform::CriticalSection lock;

  static inline SettingsMonitor* c_instance = nullptr;
};

#endif
