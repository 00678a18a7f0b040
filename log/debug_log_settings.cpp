#include <io.h>

#include <new>
#include <utility>

#include "config/product_keys.h"
#include "log/debug_log_state.h"
#include "log/file_opening.h"
#include "log/log_file_guard.h"
#include "vtclass/config.h"
#include "vtclass/settings_monitor.h"

using namespace vtclass::log;
using vtclass::WideText;
using vtclass::config::LoggingKey;
using vtclass::platform::ScopedLock;

namespace {

constexpr unsigned kReadAndWrite = Configuration::accessRead | Configuration::accessWrite;
constexpr vtclass::WideView kLoggingOn = L"<<<<<<<<<<<< LOGGING ON >>>>>>>>>>>>>>>>>>>\n";
constexpr vtclass::WideView kLoggingOff = L"<<<<<<<<<<<< LOGGING OFF >>>>>>>>>>>>>>>>>>>\n";

// A process that may not write the key still follows what others have stored there.
void OpenLoggingKey(Configuration& key) {
  if (key.Open(Configuration::openOrCreate, LoggingKey(), nullptr, kReadAndWrite)) return;
  key.Open(Configuration::openExisting, LoggingKey(), nullptr, Configuration::accessRead);
}

unsigned long LoadOr0(Configuration& key, const wchar_t* name) {
  unsigned long value = 0;
  return key.LoadDWORD(name, value) ? value : 0;
}

/* Reads numbers and texts; where one is missing, its default, which is stored if that is wanted. */
struct SettingReader {
  std::uint32_t Load(const wchar_t* name, unsigned long fallback) {
    unsigned long value = fallback;
    if (storeDefaults) {
      key.Load(name, value, fallback);
    } else if (!key.LoadDWORD(name, value)) {
      value = fallback;
    }
    return value;
  }
  WideText Load(const wchar_t* name, const WideText& fallback) {
    wcstring text(fallback);
    const bool found =
        storeDefaults ? key.Load(name, text, fallback.c_str()) : key.Load(name, text);
    return found ? WideText(text) : fallback;
  }

  Configuration& key;
  const bool storeDefaults;
};

// Defaults are stored only where the limits are to count. All of them are read in any case: a log
// that follows the settings hears of changes alone.
SizeSettings LoadSizeSettings(Configuration& key, bool storeDefaults) {
  SizeSettings stored;
  stored.append = SettingReader{key, storeDefaults}.Load(L"MaxDebugFile Append", stored.append);
  stored.enabled = LoadOr0(key, L"MaxDebugFile Enabled");
  SettingReader reader{key, storeDefaults && stored.enabled != 0};
  stored.sizeMB = reader.Load(L"MaxDebugFile Size In MB", stored.sizeMB);
  stored.retentionMB = reader.Load(L"MaxDebugFile Retention Size In MB", stored.retentionMB);
  stored.count = reader.Load(L"MaxDebugFile Count", stored.count);
  stored.limitMode = LoadOr0(key, L"MaxDebugFile LimitMode");
  stored.message = reader.Load(L"MaxDebugFile Msg", stored.message);
  stored.extension = reader.Load(L"MaxDebugFile Ext", stored.extension);
  return stored;
}

DebugLogSettings::Mode ModeOf(LimitMode mode) {
  if (mode == LimitMode::rename) return DebugLogSettings::renames;
  return mode == LimitMode::wrap ? DebugLogSettings::wraps : DebugLogSettings::rollsSimply;
}

}  // namespace

void DebugLog::State::LoadSettings(bool storeDefaults) {
  Configuration key;
  OpenLoggingKey(key);
  stored = LoadSizeSettings(key, storeDefaults);
  createDebugLog = LoadOr0(key, L"CreateDebugLog");
  ApplySettings();
}

void DebugLog::State::ApplySettings() {
  SizeLimits wanted;
  DebugLogSettings found;
  found.append = stored.append;
  found.createDebugLog = createDebugLog;
  found.refused = !LimitsFrom(stored, &wanted);
  found.mode = ModeOf(wanted.mode);
  found.maximumSize = wanted.maximum;
  found.retentionSize = wanted.retention;
  found.count = wanted.count;
  found.extension = wanted.extension;
  found.message = wanted.message;
  // A policy keeps what it has begun as long as nothing changes for it.
  if (wanted != limits) {
    sizeLimit = MakePolicy(wanted);
    limits = std::move(wanted);
    untilRetry = 0;
  }
  status = found.refused ? E_INVALIDARG : S_OK;
  settings = std::move(found);
}

int DebugLog::State::Follow() {
  LoadSettings(true);
  return createDebugLog != 0 ? SwitchOn() : SwitchOff();
}

int DebugLog::State::SwitchOn() {
  const int opened = Reopen();
  isOpen = opened != 0;
  if (opened) PrintShort(kLoggingOn, false);
  return opened;
}

int DebugLog::State::Reopen() {
  CloseFile();
  Configuration key;
  OpenLoggingKey(key);
  wcstring known;
  const wchar_t* const valueName = pathValueName.c_str();
  if (!pathValueName.empty() && key.Load(valueName, known) && !known.empty() &&
      OpenAt(kAppend, known.c_str())) {
    return 1;
  }
  const bool exists = _waccess(fileName.c_str(), 0) == 0;
  if (!OpenAt(exists ? kAppend : kCreateNew, fileName.c_str())) return 0;
  if (!pathValueName.empty()) key.Save(valueName, fileName);
  return 1;
}

int DebugLog::State::SwitchOff() {
  if (isOpen) PrintShort(kLoggingOff, false);
  return Close();
}

// The file stays open.
template <std::uint32_t SizeSettings::* setting>
long DebugLog::State::OnLimit(unsigned long value, void* context) {
  State& state = *static_cast<State*>(context);
  const ScopedLock hold(state.lock);
  state.stored.*setting = value;
  state.ApplySettings();
  return S_OK;
}

// The values that are read here are those of the registration or newer ones: no change is missed.
void DebugLog::State::Subscribe() {
  SettingsMonitor* const monitor = SettingsMonitor::GetInstance();
  subscribed = true;
  subscriptions = {monitor->RegisterCreateDebugLog(OnCreateDebugLog, this),
                   monitor->EngineRegisterDebugLevel(OnLevel, this),
                   monitor->RegisterMaxDebugFileEnabled(OnLimit<&SizeSettings::enabled>, this),
                   monitor->RegisterMaxDebugFileSize(OnLimit<&SizeSettings::sizeMB>, this),
                   monitor->RegisterMaxRetention(OnLimit<&SizeSettings::retentionMB>, this),
                   monitor->RegisterMaxDebugFileCount(OnLimit<&SizeSettings::count>, this),
                   monitor->RegisterMaxDebugFileLimitMode(OnLimit<&SizeSettings::limitMode>, this),
                   monitor->RegisterMaxDebugFileAppend(OnLimit<&SizeSettings::append>, this)};
  const ScopedLock hold(lock);
  Configuration key;
  OpenLoggingKey(key);
  unsigned long level = 0;
  if (key.LoadDWORD(L"Engine NDMP Debug Level", level)) logLevel = level;
  LoadSettings(false);
  if (createDebugLog != 0 && !isOpen) SwitchOn();
}

void DebugLog::State::Unsubscribe() {
  if (!std::exchange(subscribed, false)) return;
  SettingsMonitor* const monitor = SettingsMonitor::GetInstance();
  for (const void* const cookie : subscriptions) monitor->UnRegisterSetting(cookie);
}

// The callbacks take the monitor's values and read nothing themselves. Who reads a value that the
// monitor has not seen, and that is changed back before it looks, is never told: the monitor sees
// no difference. Another value that also means "on" leaves the running log alone.
long DebugLog::State::OnCreateDebugLog(unsigned long value, void* context) {
  State& state = *static_cast<State*>(context);
  const ScopedLock hold(state.lock);
  state.createDebugLog = state.settings.createDebugLog = value;
  if (value == 0) {
    state.SwitchOff();
  } else if (!state.isOpen) {
    state.SwitchOn();
  }
  return S_OK;
}

long DebugLog::State::OnLevel(unsigned long value, void* context) {
  static_cast<State*>(context)->logLevel = value;
  return S_OK;
}
