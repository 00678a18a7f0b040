#ifndef VTCLASS_CONFIG_KEY_WATCHER_H
#define VTCLASS_CONFIG_KEY_WATCHER_H

#include <vtclass/win32.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "config/growing_pause.h"
#include "platform/critical_section.h"
#include "platform/owned.h"
#include "vtclass/config.h"
#include "vtclass/settings_monitor.h"
#include "vtclass/threads.h"

namespace vtclass::config {

/* A registered setting. The number grows with each: subscribers are told in its order. */
struct Registration {
  std::unique_ptr<Setting> setting;
  std::uint64_t number = 0;
};

/* By cookie, which is the setting's address. */
using Settings = std::map<const void*, Registration>;

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
  /* The key `path` below `root`; null when it cannot be opened, and GetStatus tells why. */
  Configuration* Below(HKEY root, const wcstring& path);
  long GetStatus() const { return key ? key->GetErrorCode() : ERROR_SUCCESS; }
  void Close() { key.reset(); }

 private:
  std::optional<Configuration> key;
  HKEY openRoot = nullptr;
  bool isOpen = false;
};

/*
 * One watched key below HKEY_LOCAL_MACHINE. It is made once, at the arming. When it is deleted, it
 * is not made again, which would race whoever removes the product: the nearest key above it that
 * exists is watched until the key is back.
 */
class KeyWatcher final : public WatchedEvent {
 public:
  /* Requires: `settings` outlives the watcher. */
  KeyWatcher(const Settings& settings, const wchar_t* path);

  /* Opens the key, making it if it is missing, and asks for one signal at the next change of it or
   * of anything below it. E_INVALIDARG for an empty path. A key that cannot be opened is never
   * watched. */
  long Arm() override;

  /* Asks for the next signal. Where the system refuses it, the failure is told to the debugger
   * output, once until it succeeds again, and UntilRetry says when to call this anew. */
  long Rearm() override;

  /* Milliseconds until Rearm is to be called without a signal; INFINITE while none is refused. */
  DWORD UntilRetry() const { return retry.Left(); }

  /* Milliseconds until ProcessChanges is to be called without a signal, because a value could not
   * be read; INFINITE while all can. */
  DWORD UntilReading() const { return reading.Left(); }

  /* Notes which settings are registered now. The caller holds their lock. 0x80070008 when memory
   * runs out. */
  long Collect(const Settings& current) override;

  /* Re-reads each noted setting of this key and tells its subscriber of a change, under `lock` for
   * one setting at a time. Returns what the last subscriber returned, 0 when none was called.
   * Where a reading fails though the value may well be there, the failure is told to the debugger
   * output, once until all readings succeed, and UntilReading says when to try again. */
  long ProcessChanges(platform::CriticalSection& lock) override;

  bool IsStopSignal() const override { return false; }

  /* Whether changes of values of `subkey` come to light here. Any thread. */
  bool Watches(const wcstring& subkey) const { return isFollowed && subkey == path; }

 private:
  LSTATUS AskForSignal();
  LSTATUS WatchNearest();
  bool IsStillMissing() const;
  long Settle(LSTATUS status);
  void SettleReading(long status);

  /* Numbers and cookies, in the order of the numbers. */
  std::vector<std::pair<std::uint64_t, const void*>> snapshot;
  const Settings& settings;
  platform::OwnedRegistryKey key; /* the watched one: the key or one above it, null for the root */
  HKEY root = HKEY_LOCAL_MACHINE;
  wcstring path;
  wcstring missing;     /* the key below the watched one that has to come first; else empty */
  bool isArmed = false; /* a signal has been asked for */
  std::atomic<bool> isFollowed{false};
  GrowingPause retry;    /* of the request for a signal */
  GrowingPause reading;  /* of what could not be read */
  ReadingKey readingKey; /* stays open until the next change, whose first look then need not wait */
};

}  // namespace vtclass::config

#endif
