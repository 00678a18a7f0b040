#include "config/key_watcher.h"

#include "config/no_throw.h"
#include "config/setting_change.h"
#include "platform/hresult.h"

namespace vtclass::config {

using platform::CriticalSection;
using platform::HResultOfFailure;
using platform::ScopedLock;

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
  return AskForSignal();
}

long KeyWatcher::AskForSignal() {
  const LSTATUS status = ::RegNotifyChangeKeyValue(
      key.Get(), TRUE, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET, GetHandle(), TRUE);
  isArmed = status == ERROR_SUCCESS;
  return isArmed ? S_OK : HResultOfFailure(static_cast<unsigned long>(status));
}

long KeyWatcher::Rearm() {
  // The look that follows opens the key anew: the one in hand may be a deleted one's.
  readingKey.Close();
  if (AskForSignal() == S_OK) return S_OK;
  // Most likely ERROR_KEY_DELETED: a handle of a deleted key stays dead when a key of that name
  // comes back. Closing it may set the event; the look that follows finds nothing new then.
  return Arm();
}

long KeyWatcher::Collect(const Settings& current) {
  const long status = StatusOf([&] {
    snapshot.clear();
    snapshot.reserve(current.size());
    for (const auto& entry : current) snapshot.push_back(entry.first);
    return ERROR_SUCCESS;
  });
  return status == ERROR_SUCCESS ? S_OK : HResultOfFailure(static_cast<unsigned long>(status));
}

long KeyWatcher::ProcessChanges(CriticalSection& lock) {
  long result = S_OK;
  for (const void* const cookie : snapshot) {
    const ScopedLock hold(lock);
    // Looked up anew: a callback or another thread may have removed the setting since, and another
    // one may live at its address.
    const auto found = settings.find(cookie);
    if (found == settings.end() || found->second->subkey != path) continue;
    Configuration* const open = readingKey.Below(found->second->root, path);
    SettingChange change;
    if (open && found->second->Refresh(*open, change) == S_OK) result = change.Deliver();
  }
  return result;
}

}  // namespace vtclass::config
