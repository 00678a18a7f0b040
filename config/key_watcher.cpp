#include "config/key_watcher.h"

#include <algorithm>

#include "config/setting_change.h"
#include "config/stored_text.h"
#include "platform/hresult.h"
#include "platform/no_throw.h"

namespace vtclass::config {

using platform::CriticalSection;
using platform::HResultOfFailure;
using platform::ScopedLock;
using platform::StatusOf;

namespace {

bool IsGone(LSTATUS status) {
  return status == ERROR_FILE_NOT_FOUND || status == ERROR_KEY_DELETED;
}

// Whether a reading failed for a reason that may pass. Where there is nothing to read, the next
// change brings a signal.
bool IsTrouble(long status) {
  return status != ERROR_SUCCESS && status != kWrongType && !IsGone(status);
}

// Leaves `key` empty for the root itself, which is not ours to close.
LSTATUS OpenForSignals(HKEY root, const wcstring& path, platform::OwnedRegistryKey& key) {
  key.Reset();
  if (path.empty()) return ERROR_SUCCESS;
  return ::RegOpenKeyExW(root, path.c_str(), 0, KEY_NOTIFY, key.Receive());
}

// From a key's path to that of the key above it; empty is the root.
void CutLast(wcstring& path) {
  const std::size_t separator = path.rfind(L'\\');
  path.resize(separator == wcstring::npos ? 0 : separator);
}

void Report(const wchar_t* what, const wcstring& path, long status) noexcept {
  StatusOf([&] {
    const std::wstring line = std::wstring(L"vtclass_mini: ") + what + L" of the key " + path +
                              L", trying again: status " + std::to_wstring(status) + L"\n";
    ::OutputDebugStringW(line.c_str());
  });
}

}  // namespace

Configuration* ReadingKey::Below(HKEY root, const wcstring& path) {
  if (!key || root != openRoot) {
    key.emplace(root);
    openRoot = root;
    isOpen = key->Open(Configuration::openExisting, path.c_str(), nullptr,
                       Configuration::accessRead | Configuration::accessWrite);
  }
  return isOpen ? &*key : nullptr;
}

WatchedEvent::WatchedEvent() : WatchedEvent(::CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
WatchedEvent::WatchedEvent(HANDLE created) : Waitable(created), event(created) {}
WatchedEvent::~WatchedEvent() = default;

long WatchedEvent::Arm() { return E_NOTIMPL; }
long WatchedEvent::ProcessChanges(CriticalSection&) { return E_NOTIMPL; }
long WatchedEvent::Rearm() { return E_NOTIMPL; }
long WatchedEvent::Collect(const Settings&) { return E_NOTIMPL; }
void WatchedEvent::Signal() { ::SetEvent(event.Get()); }

KeyWatcher::KeyWatcher(const Settings& settings, const wchar_t* path)
    : settings(settings), path(path) {}

long KeyWatcher::Arm() {
  if (path.empty()) return E_INVALIDARG;
  const LSTATUS status = ::RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                           KEY_NOTIFY, nullptr, key.Receive(), nullptr);
  if (status != ERROR_SUCCESS) return HResultOfFailure(static_cast<unsigned long>(status));
  isFollowed = true;
  return Settle(AskForSignal());
}

// Of a key above only the names count: the missing key has to come below it.
LSTATUS KeyWatcher::AskForSignal() {
  const bool isKeyItself = missing.empty();
  const DWORD values = isKeyItself ? REG_NOTIFY_CHANGE_LAST_SET : 0;
  return ::RegNotifyChangeKeyValue(key ? key.Get() : root, isKeyItself,
                                   REG_NOTIFY_CHANGE_NAME | values, GetHandle(), TRUE);
}

bool KeyWatcher::IsStillMissing() const {
  platform::OwnedRegistryKey found;
  return OpenForSignals(root, missing, found) == ERROR_FILE_NOT_FOUND;
}

// Watches the key or, while it is missing, the nearest one above it that exists. Closing the handle
// held so far may set the event; the look that follows finds nothing new then.
LSTATUS KeyWatcher::WatchNearest() {
  missing.clear();
  for (wcstring at = path;; CutLast(at)) {
    LSTATUS status = OpenForSignals(root, at, key);
    if (status == ERROR_SUCCESS) status = AskForSignal();
    if (status == ERROR_SUCCESS) break;
    if (!IsGone(status) || at.empty()) return status;
    missing = at;
  }
  // It may have come before the signal was asked for.
  if (!missing.empty() && !IsStillMissing()) Signal();
  return ERROR_SUCCESS;
}

long KeyWatcher::Rearm() {
  // The look that follows opens the key anew: the one in hand may be a deleted one's.
  readingKey.Close();
  LSTATUS status = isArmed ? AskForSignal() : ERROR_KEY_DELETED;
  const bool hasCome = !missing.empty() && !IsStillMissing();
  // Most likely the watched key has been deleted: its handle stays dead when a key of that name
  // comes back.
  if (status != ERROR_SUCCESS || hasCome) status = StatusOf([this] { return WatchNearest(); });
  return Settle(status);
}

long KeyWatcher::Settle(LSTATUS status) {
  isArmed = status == ERROR_SUCCESS;
  if (isArmed) {
    retry.End();
    return S_OK;
  }
  if (retry.Order()) Report(L"no signal now of changes", path, status);
  return HResultOfFailure(static_cast<unsigned long>(status));
}

long KeyWatcher::Collect(const Settings& current) {
  const DWORD failure = StatusOf([&] {
    snapshot.clear();
    snapshot.reserve(current.size());
    for (const auto& [cookie, entry] : current) snapshot.emplace_back(entry.number, cookie);
    std::ranges::sort(snapshot);
  });
  return failure == ERROR_SUCCESS ? S_OK : HResultOfFailure(failure);
}

long KeyWatcher::ProcessChanges(CriticalSection& lock) {
  long result = S_OK;
  long trouble = ERROR_SUCCESS;
  for (const auto& [number, cookie] : snapshot) {
    const ScopedLock hold(lock);
    // Looked up anew: a callback or another thread may have removed the setting since, and another
    // one may live at its address.
    const auto found = settings.find(cookie);
    if (found == settings.end() || found->second.number != number) continue;
    Setting& setting = *found->second.setting;
    if (setting.subkey != path) continue;
    Configuration* const open = readingKey.Below(setting.root, path);
    SettingChange change;
    const long status = open ? setting.Refresh(*open, change) : readingKey.GetStatus();
    if (IsTrouble(status)) trouble = status;
    if (change.IsThere()) result = change.Deliver();
  }
  SettleReading(trouble);
  return result;
}

void KeyWatcher::SettleReading(long status) {
  if (status == ERROR_SUCCESS) {
    reading.End();
    return;
  }
  // The next look is not to ask a key that failed.
  readingKey.Close();
  if (reading.Order()) Report(L"no reading now of a value", path, status);
}

}  // namespace vtclass::config
