#ifndef VTCLASS_SETTINGS_MONITOR_H
#define VTCLASS_SETTINGS_MONITOR_H

#include <vtclass/win32.h>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/strings.h"

/*
 * Live settings: registry values whose changes reach their users while the process runs.
 *
 *   long OnLevel(unsigned long level, void* log) { ... }       // on the monitor's thread
 *   SettingsMonitor* const monitor = SettingsMonitor::GetInstance();
 *   const void* const cookie = monitor->EngineRegisterDebugLevel(&OnLevel, log);
 *   ...
 *   monitor->UnRegisterSetting(cookie);                        // OnLevel is not called any more
 *
 * Statuses are HRESULTs: 0 (S_OK), E_INVALIDARG, E_FAIL, E_NOTIMPL, and Win32 codes as 0x80070000
 * plus the code (out of memory is 0x80070008). No operation throws, except that the constructor of
 * Setting and the first GetInstance let std::bad_alloc out.
 */

class Configuration;
class Setting;

namespace vtclass::config {
struct SettingChange;
class KeyWatcher;
}  // namespace vtclass::config

/*
 * One registry value, the last value read from it, and who wants to be told of changes.
 *
 * Threads: one at a time, until it is registered. Then it is the monitor's alone: it lives on the
 * monitor's thread and dies with the registration. A Setting that is not registered serves to read
 * and write a value with its range, and belongs to whoever made it.
 *
 * Reads and writes open the key with read and write access, so both need the right to write.
 */
class Setting : public vtclass::border::LibraryMemory {
 public:
  /* Numbers are REG_DWORD. Kinds 2, 3, 4, 6 and 7 hold a number, the others a text. */
  enum eKind {
    stringKind = 1,        /* REG_SZ */
    dwordKind = 2,         /* any number */
    rangeKind = 3,         /* a number that is written only within its range */
    defaultNumberKind = 4, /* not supported by the monitor, which refuses it */
    expandStringKind = 5,  /* not supported by the monitor, which refuses it */
    boolKind = 6,          /* a range of 0 to 1 */
    sdkDebugLevelKind = 7  /* a bit mask; only a change of the level it stands for counts */
  };

  using NumberCallback = long (*)(unsigned long value, void* context);
  using TextCallback = long (*)(const wchar_t* value, void* context);

  /*
   * The value `valueName` of the key `subkey` below `root`; reads nothing. The texts are copied,
   * null counts as empty. `minimum` and `maximum` belong to rangeKind and are ignored otherwise.
   * Contract: a range whose maximum is below its minimum, or whose bounds are both 0xFFFFFFFF, is
   * kept as 0 to 0. Such a setting takes nothing but 0; callers count on it being harmless.
   */
  Setting(HKEY root, const wchar_t* subkey, const wchar_t* valueName, eKind kind,
          unsigned long minimum = 0, unsigned long maximum = 0);
  VTCLASS_API ~Setting();
  Setting(const Setting&) = delete;
  Setting& operator=(const Setting&) = delete;

  /* Sets who is called; one subscriber a setting. E_INVALIDARG without a callback, E_FAIL when the
   * kind holds the other type. */
  long AttachNumber(NumberCallback callback, void* context);
  long AttachText(TextCallback callback, void* context);

  /*
   * Its subscriber is told the value at every look at its key, changed or not. For one who reads
   * the value himself too: what he has read may be gone again before the monitor looks, which then
   * finds nothing changed. Requires: not registered yet.
   */
  VTCLASS_API void TellAlways();

  /*
   * Reads the value from the registry. Calls nobody, writes no default. The open's status when the
   * key cannot be opened; E_FAIL when the value is missing or of another type. The former value
   * stays then.
   * Contract: a range is not checked. What somebody stored past the range is what the system runs
   * with, and a subscriber has to see it.
   */
  VTCLASS_API long Read();

  /* True once a value has been read or written. A setting that was never read holds 0 or the empty
   * text. */
  VTCLASS_API bool HasValue() const;

  /* The value last read or written. E_FAIL when the kind holds the other type; `value` is
   * unchanged then, and also when memory runs out (0x80070008). */
  VTCLASS_API long GetNumber(unsigned long& value) const;
  long GetText(wcstring& value) const;

  /*
   * Writes the value into the registry, making the key if needed. E_FAIL when the kind holds the
   * other type or a range does not admit the number; else the status of the registry. After a
   * failure the setting holds its former value. Null text counts as empty.
   */
  VTCLASS_API long WriteNumber(unsigned long value);
  VTCLASS_API long WriteText(const wchar_t* value);

 private:
  friend class SettingsMonitor;
  friend class vtclass::config::KeyWatcher;
  friend struct vtclass::config::SettingChange;

  /* Call a subscriber on the side that named it, so that an exception ends where it was thrown
   * (vtclass/export.h); E_FAIL then. */
  using NumberRunner = long (*)(NumberCallback callback, unsigned long value,
                                void* context) noexcept;
  using TextRunner = long (*)(TextCallback callback, const wchar_t* value, void* context) noexcept;
  static long CallNumber(NumberCallback callback, unsigned long value, void* context) noexcept;
  static long CallText(TextCallback callback, const wchar_t* value, void* context) noexcept;

  /* Without memory `made` is false. */
  VTCLASS_API Setting(const std::nothrow_t&, HKEY root, const wchar_t* subkey,
                      const wchar_t* valueName, eKind kind, unsigned long minimum,
                      unsigned long maximum) noexcept;
  VTCLASS_API long Attach(NumberCallback callback, void* context, NumberRunner run) noexcept;
  VTCLASS_API long Attach(TextCallback callback, void* context, TextRunner run) noexcept;
  VTCLASS_API long CopyText(const vtclass::border::WideSink& value) const noexcept;

  bool IsNumeric() const;
  long ReadFrom(Configuration& key);
  long Refresh(Configuration& key, vtclass::config::SettingChange& change);
  long RefreshNumber(Configuration& key, vtclass::config::SettingChange& change);
  long RefreshText(Configuration& key, vtclass::config::SettingChange& change);
  bool Differs(unsigned long before) const;

  HKEY root;
  bool hasValue = false;
  wcstring subkey;
  wcstring valueName;
  eKind kind;
  wcstring stringValue;
  unsigned long numericValue = 0;
  unsigned long minimum = 0;
  unsigned long maximum = 0;
  NumberCallback numberCallback = nullptr;
  TextCallback textCallback = nullptr;
  void* context = nullptr;
  bool tellsAlways = false;

  NumberRunner numberRunner = nullptr;
  TextRunner textRunner = nullptr;
  bool made = false;
};

/* What one of the registrations of SettingsMonitor watches. The texts live as long as the library.
 */
struct MonitoredValue {
  const wchar_t* key = nullptr;  /* below HKEY_LOCAL_MACHINE */
  const wchar_t* name = nullptr; /* of the value */
  Setting::eKind kind = Setting::dwordKind;
  unsigned long minimum = 0; /* of rangeKind and boolKind */
  unsigned long maximum = 0;
  unsigned long ifMissing = 0; /* what counts while none is stored; for texts the empty one does */
};

/*
 * Watches the logging key and the debug key of the product that CMS_SetProd selects, re-reads the
 * registered values of a key that changed, and calls each subscriber whose value is now different.
 *
 * What arrives. After a change the subscriber gets the value that is stored then; of several quick
 * changes the last one always arrives, those in between may not. Nobody is called for a value that
 * is as it was (which for a value never seen is 0 or the empty text), is missing, or has another
 * type: the old value then stays, and counts when the value returns; only a Setting that tells
 * always is told its value whenever the key changes and it can be read. A number is not checked
 * against its range. Changes below a watched key wake the monitor but concern no setting of it.
 * Registering reads the value once and calls nobody. A change made while the monitor is stopped
 * arrives after Start. Of one key the subscribers are told in the order in which they registered.
 * So who registers behind the making of a debug log is told when the log goes by the new settings
 * already; only while another thread writes a line it takes them in behind that line.
 *
 * Own copies. What the subscriber reads himself and what the monitor compares are two readings. A
 * value that changes, is read by the subscriber, and changes back before the monitor looks is as it
 * was for the monitor: nobody is called, and the copy stays wrong. Live by what the callback
 * brings. Who needs the value before the first call makes a Setting of his own (GetMonitoredValue
 * names the built-in values) and registers it with TellAlways; then, under the lock that his
 * callback takes, he reads the value by a second Setting, which he keeps to himself: Read is no
 * call of the monitor. Each later change of the key brings him the stored value.
 *
 * A watched key that is missing at the construction is made. One that cannot be opened then is not
 * watched: its settings register and are never called. One that is deleted later is not made again;
 * it is watched on as soon as somebody else makes it. Where the system refuses to signal changes,
 * or to read a value that is neither missing nor of another type, the monitor tries again after
 * pauses that grow from a tenth of a second to a minute, tells it once to the debugger output, and
 * tells the subscribers as soon as the values can be read; the old ones stay until then.
 *
 * Callbacks run one at a time on the monitor's thread, with the monitor's lock held. The context is
 * the caller's. A callback
 * - returns a status that nobody reads, and returns soon: registering, unregistering and all other
 *   callbacks wait for it;
 * - may register and unregister anything, itself included, and may call RemoveAllSettings; the text
 *   it was given is valid until it returns;
 * - must not wait for another thread that registers or unregisters, or that holds a lock and waits
 *   for the callback's: the lock of a subscriber is taken inside the monitor's, never around it;
 * - cannot stop the monitor: Stop and DestroyInstance are refused there;
 * - may throw: a C++ exception ends the callback only, and goes to the debugger output.
 *   Structured exceptions are not caught.
 *
 * Threads: registering and removing from any thread. GetInstance's first call, Start, Stop and
 * DestroyInstance belong to one thread at a time. None of them inside DllMain: a thread neither
 * begins nor ends while DllMain runs.
 * A thread that is terminated inside one of them, say while the registry is slow to give the value
 * that is read at a registration, keeps the monitor's lock for ever: later registrations wait.
 *
 * Unloading: call DestroyInstance before. The monitor's thread keeps the library loaded until it
 * ends, so that a host that forgets it does not crash. At process exit the thread ends with it.
 */
class VTCLASS_API_TYPE SettingsMonitor : public vtclass::border::LibraryMemory {
 public:
  using NumberCallback = Setting::NumberCallback;
  using TextCallback = Setting::TextCallback;

  /* The product's own settings by name, for GetMonitoredValue; each is what the registration of
   * that name watches. In the order of the registrations. */
  enum eMonitored : unsigned long {
    createDebugLog = 0,
    koltDebugLevel,
    engineDebugLevel,
    maxDebugFileEnabled,
    maxDebugFileSize,
    maxRetention,
    maxDebugFileCount,
    maxDebugFileLimitMode,
    maxDebugFileAppend,
    vtmCreateDebugLog,
    vtmMaxDebugFileEnabled,
    vtmMaxDebugFileSize,
    vtmMaxDebugFileCount,
    vtmLogPath,
    vtmMaxDebugFileRetentionSize,
    vtmLogLimitMode,
    vtmDebugLevel
  };

  SettingsMonitor(const SettingsMonitor&) = delete;
  SettingsMonitor& operator=(const SettingsMonitor&) = delete;

  /*
   * The process's monitor, made and started by the first call.
   * Requires: that call is over before other threads make theirs; it is not locked.
   */
  VTCLASS_CLIENT static SettingsMonitor* GetInstance();

  /* Destroys it with all registrations, once its callback in hand has returned. Does nothing when
   * there is none, and inside a callback, where it would wait for itself. */
  VTCLASS_API static void DestroyInstance();

  /* Starts the thread. E_INVALIDARG when it runs; the system's status when it refuses; E_FAIL when
   * the construction got no event to stop the thread by. */
  VTCLASS_API virtual long Start();

  /* Ends the thread, once its callback in hand has returned, and waits for that without limit. 0,
   * also when it does not run; inside a callback 0x8007046B (possible deadlock), and nothing is
   * done. */
  VTCLASS_API virtual long Stop();

  /* The thread's routine: runs Monitor on `monitor`, which may be null. Returns 0. */
  VTCLASS_API static unsigned long Thread(void* monitor);

  /* The wait loop, until it is stopped. Returns 0. Requires: no other thread runs it. */
  VTCLASS_API long Monitor();

  /*
   * Hands `setting` over to the monitor, which deletes it when it is removed. Returns its cookie,
   * or null when it is null, of a kind that is not supported, or memory runs out; then it stays the
   * caller's. Registering it again changes nothing. The key has to be one of the two watched ones;
   * others are never looked at. A setting that has been read is compared with the registry at once,
   * so that no change since then is missed; one that was never read at the next change of its key.
   * Requires: made by new; a callback is attached, without one the setting is read and nobody told.
   */
  VTCLASS_API const void* RegisterSetting(Setting* setting);

  /*
   * Ends a registration. On any thread but the monitor's, its callback neither runs nor will run
   * when this returns. E_INVALIDARG when `cookie` is null or nothing at all is registered, E_FAIL
   * when it is not known (any more).
   */
  VTCLASS_API long UnRegisterSetting(const void* cookie);

  /*
   * Ends all registrations with this context, as UnRegisterSetting does one. Makes no monitor where
   * there is none, so a subscriber may outlive the monitor. Requires: no other thread is inside
   * DestroyInstance.
   */
  VTCLASS_API static void UnRegisterContext(const void* context);

  /* Ends all registrations. 0. */
  VTCLASS_API long RemoveAllSettings();

  /*
   * The registrations of the product's own settings. Each reads the value at once and returns a
   * cookie, or null without a callback or without memory. What each watches stands in
   * docs/registry-values.md, and GetMonitoredValue tells it.
   * Who also reads the value himself heeds "Own copies" above.
   *
   * Contract: "CreateDebugLog" is a plain number, "VTMSDKLog" a Bool. VtmRegisterDebugLevel watches
   * the default product's debug key whatever CMS_GetProd answers: under the sibling product it
   * registers, but its callback never comes, and agents of that product count on their level
   * staying as it was at start.
   */
  inline const void* RegisterCreateDebugLog(NumberCallback callback, void* context);
  inline const void* KoltRegisterDebugLevel(NumberCallback callback, void* context);
  inline const void* EngineRegisterDebugLevel(NumberCallback callback, void* context);
  inline const void* RegisterMaxDebugFileEnabled(NumberCallback callback, void* context);
  inline const void* RegisterMaxDebugFileSize(NumberCallback callback, void* context);
  inline const void* RegisterMaxRetention(NumberCallback callback, void* context);
  inline const void* RegisterMaxDebugFileCount(NumberCallback callback, void* context);
  inline const void* RegisterMaxDebugFileLimitMode(NumberCallback callback, void* context);
  inline const void* RegisterMaxDebugFileAppend(NumberCallback callback, void* context);
  inline const void* VtmRegisterCreateDebugLog(NumberCallback callback, void* context);
  inline const void* VtmRegisterMaxDebugFileEnabled(NumberCallback callback, void* context);
  inline const void* VtmRegisterMaxDebugFileSize(NumberCallback callback, void* context);
  inline const void* VtmRegisterMaxDebugFileCount(NumberCallback callback, void* context);
  inline const void* VtmRegisterLogPath(TextCallback callback, void* context);
  inline const void* VtmRegisterMaxDebugFileRetentionSize(NumberCallback callback, void* context);
  inline const void* VtmRegisterLogLimitMode(NumberCallback callback, void* context);
  inline const void* VtmRegisterDebugLevel(NumberCallback callback, void* context);

  /* What a registration above watches, by its name (eMonitored) or, to go through all of them, by
   * the numbers from 0 on. False past the end, `value` is unchanged then. The keys are those of the
   * product that is selected now. Any thread. */
  VTCLASS_API static bool GetMonitoredValue(unsigned long number, MonitoredValue& value);

 protected:
  /* Makes a monitor of its own and starts it. */
  inline SettingsMonitor();

  /* Stops the thread, then ends all registrations. Requires: not inside a callback. */
  VTCLASS_API virtual ~SettingsMonitor();

  /* Registers `setting` under the lock and sets `cookie`, null on failure. E_INVALIDARG for null,
   * E_NOTIMPL for a kind that is not supported. On failure the setting stays the caller's. */
  VTCLASS_API long AddSetting(Setting* setting, const void*& cookie);

  /* Ends a registration, as UnRegisterSetting. */
  VTCLASS_API long RemoveSetting(const void* cookie);

  /* Attaches the callback and registers. E_INVALIDARG when `setting`, `*setting` or `callback` is
   * null. On any failure the setting is destroyed, `*setting` and `cookie` become null. */
  inline long AddNumberSetting(Setting** setting, NumberCallback callback, void* context,
                               const void*& cookie);

  /*
   * Make a setting of the value `value` of the key `key` below HKEY_LOCAL_MACHINE, read it, and
   * register it. Return its cookie, or null when `key`, `value` or `callback` is null or memory
   * runs out. AddRangeSetting also refuses a `minimum` that is not below `maximum`.
   * A setting of a key that is not watched registers and is never called.
   */
  inline const void* AddDWORDSetting(const wchar_t* key, const wchar_t* value,
                                     NumberCallback callback, void* context);
  inline const void* AddBoolSetting(const wchar_t* key, const wchar_t* value,
                                    NumberCallback callback, void* context);
  inline const void* AddRangeSetting(const wchar_t* key, const wchar_t* value,
                                     unsigned long minimum, unsigned long maximum,
                                     NumberCallback callback, void* context);
  inline const void* AddStringSetting(const wchar_t* key, const wchar_t* value,
                                      TextCallback callback, void* context);

 private:
  /* Without memory `state` is null. */
  VTCLASS_API explicit SettingsMonitor(const std::nothrow_t&) noexcept;
  VTCLASS_API static SettingsMonitor* InstanceOrNull() noexcept;

  /* Behind the operations above; they know on which side the callback is. */
  VTCLASS_API const void* Register(unsigned long number, NumberCallback callback, void* context,
                                   Setting::NumberRunner run = &Setting::CallNumber) noexcept;
  VTCLASS_API const void* Register(unsigned long number, TextCallback callback, void* context,
                                   Setting::TextRunner run = &Setting::CallText) noexcept;
  VTCLASS_API long AddNumberOrDestroy(Setting** setting, NumberCallback callback, void* context,
                                      const void*& cookie, Setting::NumberRunner run) noexcept;
  VTCLASS_API const void* AddNumber(const MonitoredValue& value, NumberCallback callback,
                                    void* context,
                                    Setting::NumberRunner run = &Setting::CallNumber) noexcept;
  VTCLASS_API const void* AddText(const MonitoredValue& value, TextCallback callback, void* context,
                                  Setting::TextRunner run = &Setting::CallText) noexcept;

  struct State;
  State* state;
};

#include "vtclass/client/settings_monitor.h"

#endif
