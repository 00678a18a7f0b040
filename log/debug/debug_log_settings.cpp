#include <io.h>

#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "config/registry_values.h"
#include "config/stored_text.h"
#include "log/ansi_text.h"
#include "log/debug/debug_log_state.h"
#include "log/file_opening.h"
#include "platform/no_throw.h"
#include "vtclass/config.h"
#include "vtclass/settings_monitor.h"

using namespace vtclass::config;
using namespace vtclass::log;
using vtclass::WideText;

namespace {

constexpr unsigned kReadAndWrite = Configuration::accessRead | Configuration::accessWrite;
constexpr vtclass::WideView kLoggingOn = L"<<<<<<<<<<<< LOGGING ON >>>>>>>>>>>>>>>>>>>\r\n";
constexpr vtclass::WideView kLoggingOff = L"<<<<<<<<<<<< LOGGING OFF >>>>>>>>>>>>>>>>>>>\r\n";

// The followed values that are no limits.
constexpr std::size_t kSwitch = 0;
constexpr std::size_t kLevel = 1;

// Reads from the logging key. A value that is missing, or is none of its type, counts as its
// default, which is stored if that is wanted. One that cannot be read stays what it was: what is
// stored may well differ from both, and nobody has asked for a change.
class SettingReader {
 public:
  // A process that may not write the key still follows what others have stored there.
  SettingReader() {
    const wchar_t* const path = kLoggingKey.Path();
    if (key.Open(Configuration::openOrCreate, path, nullptr, kReadAndWrite) ||
        key.Open(Configuration::openExisting, path, nullptr, Configuration::accessRead)) {
      return;
    }
    unopened = key.GetErrorCode();
  }

  // Until told otherwise none is.
  void StoreDefaults(bool wanted) { storesDefaults = wanted; }

  // The status of the first value that could not be read.
  unsigned long Failure() const { return static_cast<unsigned long>(failure); }

  // False when the value cannot be read.
  bool Load(const wchar_t* name, unsigned long fallback, unsigned long* value) {
    unsigned long found = fallback;
    if (!key.LoadDWORD(name, found)) {
      if (!IsMissing()) return false;
      if (storesDefaults) key.SaveDWORD(name, fallback);
    }
    *value = found;
    return true;
  }
  void Load(const RegistryValue& value, std::uint32_t* number) {
    unsigned long found = 0;
    if (Load(value.name, value.number, &found)) *number = found;
  }
  bool Load(const wchar_t* name, const WideText& fallback, WideText* value) {
    wcstring found;
    if (key.Load(name, found)) {
      *value = WideText(found);
      return true;
    }
    if (!IsMissing()) return false;
    if (storesDefaults) key.Save(name, fallback.c_str());
    *value = fallback;
    return true;
  }

 private:
  // Of the value that was just asked for.
  bool IsMissing() {
    const long status = unopened != ERROR_SUCCESS ? unopened : key.GetErrorCode();
    if (status == ERROR_FILE_NOT_FOUND || status == vtclass::config::kWrongType) return true;
    if (failure == ERROR_SUCCESS) failure = status;
    return false;
  }

  Configuration key;
  long unopened = ERROR_SUCCESS;
  long failure = ERROR_SUCCESS;
  bool storesDefaults = false;
};

// Defaults are stored only where the limits are to count. All of them are read in any case: a log
// that follows the settings hears of changes alone.
void LoadSizeSettings(SettingReader& reader, bool storeDefaults, SizeSettings* stored) {
  reader.Load(kMaxDebugFileEnabled, &stored->enabled);
  reader.Load(kMaxDebugFileLimitMode, &stored->limitMode);
  reader.StoreDefaults(storeDefaults);
  reader.Load(kMaxDebugFileAppend, &stored->append);
  reader.StoreDefaults(storeDefaults && stored->enabled != 0);
  reader.Load(kMaxDebugFileSize, &stored->sizeMB);
  reader.Load(kMaxDebugFileRetentionSize, &stored->retentionMB);
  reader.Load(kMaxDebugFileCount, &stored->count);
  reader.Load(kMaxDebugFileMsg, &stored->message);
  reader.Load(kMaxDebugFileExt.name, kMaxDebugFileExt.text, &stored->extension);
  reader.StoreDefaults(false);
}

DebugLogSettings::Mode ModeOf(LimitMode mode) {
  if (mode == LimitMode::rename) return DebugLogSettings::renames;
  return mode == LimitMode::wrap ? DebugLogSettings::wraps : DebugLogSettings::rollsSimply;
}

}  // namespace

unsigned long DebugLog::State::LoadSettings(bool storeDefaults, bool* switchIsKnown) {
  SettingReader reader;
  LoadSizeSettings(reader, storeDefaults, &stored);
  const bool isKnown = reader.Load(kCreateDebugLog.name, kCreateDebugLog.number, &createDebugLog);
  if (switchIsKnown) *switchIsKnown = isKnown;
  ApplySettings();
  if (reader.Failure() != ERROR_SUCCESS) lastError = reader.Failure();
  return reader.Failure();
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

// Where the switch itself cannot be read, the log stays as it is, open or closed.
int DebugLog::State::Follow() {
  bool switchIsKnown = false;
  const unsigned long unread = LoadSettings(true, &switchIsKnown);
  if (!switchIsKnown) return 0;
  const int result = createDebugLog != 0 ? SwitchOn() : SwitchOff();
  return unread == ERROR_SUCCESS ? result : Refuse(unread);
}

// Without its file the log is on all the same: each line tries to open it, or is lost and counted.
int DebugLog::State::SwitchOn() {
  unsigned long unread = ERROR_SUCCESS;
  const int opened = Reopen(&unread);
  announced = false;
  isOpen = opened || !fileName.empty();
  if (opened) AnnounceOn();
  return unread == ERROR_SUCCESS ? opened : Refuse(unread);
}

// A stored path that cannot be read stays stored: the log goes on with the file that it knows.
int DebugLog::State::Reopen(unsigned long* unread) {
  SettingReader reader;
  WideText known;
  if (!pathValueName.empty()) reader.Load(pathValueName.c_str(), WideText(), &known);
  *unread = reader.Failure();
  remembersPath = !pathValueName.empty() && *unread == ERROR_SUCCESS;
  // Once for each text: the current folder may be another component's at the next reading.
  if (!known.empty() && known != knownText) {
    wcstring path = FullName(known.c_str());
    knownText = known;
    knownPath.swap(path);
  }
  CloseFile();
  if (!known.empty() && OpenAt(kAppend, knownPath.c_str())) return 1;
  if (!known.empty() && fileName.empty()) SetPath(wcstring(knownPath));
  const bool exists = _waccess(fileName.c_str(), 0) == 0;
  if (!OpenAt(exists ? kAppend : kCreateNew, fileName.c_str())) return 0;
  RememberPath();
  return 1;
}

void DebugLog::State::RememberPath() {
  if (!remembersPath) return;
  Configuration key;
  key.Open(Configuration::openOrCreate, kLoggingKey.Path(), nullptr, kReadAndWrite);
  key.Save(pathValueName.c_str(), fileName);
}

void DebugLog::State::AnnounceOn() {
  announced = true;
  WriteBanner(kLoggingOn);
}

// The log's buffers may hold the line that is about to be written.
void DebugLog::State::WriteBanner(vtclass::WideView banner) {
  if (unicode) {
    Write(banner.data(), banner.size() * sizeof(wchar_t));
    return;
  }
  char ansi[64];
  std::size_t bytes = 0;
  const unsigned long failure = ConvertToAnsi(banner, ansi, sizeof(ansi), &bytes);
  if (failure == ERROR_SUCCESS) {
    Write(ansi, bytes);
  } else {
    Lose(failure);
  }
}

int DebugLog::State::SwitchOff() {
  if (file) WriteBanner(kLoggingOff);
  return Close();
}

// A value that the monitor watches for the log, and the limit that it sets.
struct DebugLog::State::Followed {
  const wchar_t* name = nullptr;
  Setting::NumberCallback callback = nullptr;
  std::uint32_t SizeSettings::* limit = nullptr;
};

const DebugLog::State::Followed DebugLog::State::kFollowed[] = {
    {kCreateDebugLog.name, &OnChange<kSwitch>},
    {kEngineDebugLevel.name, &OnChange<kLevel>},
    {kMaxDebugFileEnabled.name, &OnChange<2>, &SizeSettings::enabled},
    {kMaxDebugFileSize.name, &OnChange<3>, &SizeSettings::sizeMB},
    {kMaxDebugFileRetentionSize.name, &OnChange<4>, &SizeSettings::retentionMB},
    {kMaxDebugFileCount.name, &OnChange<5>, &SizeSettings::count},
    {kMaxDebugFileLimitMode.name, &OnChange<6>, &SizeSettings::limitMode},
    {kMaxDebugFileAppend.name, &OnChange<7>, &SizeSettings::append}};

// Who registers first and reads then misses no change: one that comes after the registration is
// told, and is taken in after what was read under the lock. The values are told at every look: one
// that was read here and is changed back before the monitor looks would be no change to it.
void DebugLog::State::Subscribe() {
  SettingsMonitor* const monitor = SettingsMonitor::GetInstance();
  subscribed = true;
  for (const Followed& followed : kFollowed) {
    auto setting = std::make_unique<Setting>(HKEY_LOCAL_MACHINE, kLoggingKey.Path(), followed.name,
                                             Setting::dwordKind);
    setting->AttachNumber(followed.callback, this);
    setting->TellAlways();
    if (!monitor->RegisterSetting(setting.get())) throw std::bad_alloc();
    // NOLINTNEXTLINE(bugprone-unused-return-value): the monitor owns it now
    setting.release();
  }
  const Hold hold(*this);
  unsigned long level = logLevel;
  SettingReader().Load(kEngineDebugLevel.name, level, &level);
  logLevel = level;
  LoadSettings(false, nullptr);
  if (createDebugLog != 0 && !isOpen) SwitchOn();
}

void DebugLog::State::Unsubscribe() {
  if (std::exchange(subscribed, false)) SettingsMonitor::UnRegisterContext(this);
}

// Runs under the monitor's lock and does not wait for the log's, whose holder may wait for a hung
// disk. The level counts at once even then.
template <std::size_t number>
long DebugLog::State::OnChange(unsigned long value, void* context) {
  State& state = *static_cast<State*>(context);
  state.told[number] = value;
  state.news.fetch_or(1U << number);
  if (number == kLevel) state.logLevel = value;
  if (state.lock.TryLock()) state.Leave();
  return S_OK;
}

// A callback that finds the lock taken counts on its holder to look once more after letting it go:
// leaving the lock is a full barrier, and so is the callback's fetch_or.
void DebugLog::State::Leave() {
  bool done = TakeIn();
  lock.Unlock();
  while (done && news != 0 && lock.TryLock()) {
    done = TakeIn();
    lock.Unlock();
  }
}

// False when memory runs out: what was told is kept for the next one who leaves the lock.
bool DebugLog::State::TakeIn() {
  if (news == 0) return true;
  const unsigned fresh = news.exchange(0);
  // The analysis does not see through the call that the lock is held here.
  const auto adopt = [&]() VTCLASS_THREAD_ANNOTATION(no_thread_safety_analysis) { Adopt(fresh); };
  const DWORD failure = vtclass::platform::StatusOf(adopt);
  if (failure == ERROR_SUCCESS) return true;
  news.fetch_or(fresh);
  return Refuse(failure);
}

// The switch counts where it differs from what the log knows. Another value that also means "on"
// leaves the running log alone.
void DebugLog::State::Adopt(unsigned fresh) {
  for (std::size_t number = 0; number < std::size(kFollowed); ++number) {
    const auto limit = kFollowed[number].limit;
    if (limit && (fresh & 1U << number)) stored.*limit = told[number];
  }
  ApplySettings();
  if (fresh & 1U << kLevel) logLevel = told[kLevel].load();
  const unsigned long wanted = told[kSwitch];
  if (!(fresh & 1U << kSwitch) || wanted == createDebugLog) return;
  if (wanted == 0) {
    SwitchOff();
  } else if (!isOpen) {
    SwitchOn();
  }
  createDebugLog = settings.createDebugLog = wanted;
}
