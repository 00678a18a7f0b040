#ifndef VTCLASS_CONFIG_KEY_WATCHER_H
#define VTCLASS_CONFIG_KEY_WATCHER_H

#include <vtclass/win32.h>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "platform/critical_section.h"
#include "platform/owned.h"
#include "vtclass/config.h"
#include "vtclass/settings_monitor.h"
#include "vtclass/threads.h"

namespace vtclass::config {

/* The registered settings by cookie, which is the setting's address. */
using Settings = std::map<const void*, std::unique_ptr<Setting>>;

/*
 * What the monitor's thread waits on: an auto-reset event of its own, and what to do when it is
 * set. By default nothing: E_NOTIMPL. Without an event (the system refused it) GetHandle is null.
 */
class WatchedEvent : public Waitable {
 public:
  WatchedEvent();
  WatchedEvent(const WatchedEvent&) = delete;
  WatchedEvent& operator=(const WatchedEvent&) = delete;
  virtual ~WatchedEvent();

  virtual long Arm();
  virtual long ProcessChanges(platform::CriticalSection& lock);
  virtual long Rearm();
  virtual long Collect(const Settings& settings);
  virtual bool IsStopSignal() const = 0;

  void Signal();

 private:
  explicit WatchedEvent(HANDLE created);
  platform::OwnedKernelObject event;
};

/* Ends the monitor's thread. */
class StopSignal final : public WatchedEvent {
 public:
  bool IsStopSignal() const override { return true; }
};

/*
 * The key from which the settings are read: opened by the first setting that needs it, once for all
 * of them, because opening costs more than reading.
 */
class ReadingKey {
 public:
  /* The key `path` below `root`, null when it cannot be opened. */
  Configuration* Below(HKEY root, const wcstring& path);
  void Close() { key.reset(); }

 private:
  std::optional<Configuration> key;
  HKEY openRoot = nullptr;
  bool isOpen = false;
};

/* One watched key below HKEY_LOCAL_MACHINE. */
class KeyWatcher final : public WatchedEvent {
 public:
  /* Requires: `settings` outlives the watcher. */
  KeyWatcher(const Settings& settings, const wchar_t* path);

  /* Opens the key, making it if it is missing, and asks for one signal at the next change of it or
   * of anything below it. E_INVALIDARG for an empty path. */
  long Arm() override;

  /* Asks for the next signal. Where the open key cannot give it any more, because it has been
   * deleted, the key is opened anew. */
  long Rearm() override;

  /* Notes which settings are registered now. The caller holds their lock. 0x80070008 when memory
   * runs out. */
  long Collect(const Settings& settings) override;

  /* Re-reads each noted setting of this key and tells its subscriber of a change, under `lock` for
   * one setting at a time. Returns what the last subscriber returned, 0 when none was called. */
  long ProcessChanges(platform::CriticalSection& lock) override;

  bool IsStopSignal() const override { return false; }

  /* Whether changes of values of `subkey` come to light here. Any thread. */
  bool Watches(const wcstring& subkey) const { return isArmed && subkey == path; }

 private:
  long AskForSignal();

  std::vector<const void*> snapshot; /* cookies, in their order */
  const Settings& settings;
  platform::OwnedRegistryKey key;
  HKEY root = HKEY_LOCAL_MACHINE;
  wcstring path;
  std::atomic<bool> isArmed{false};
  ReadingKey readingKey; /* stays open until the next change, whose first look then need not wait */
};

}  // namespace vtclass::config

#endif
