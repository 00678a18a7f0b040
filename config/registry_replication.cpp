#include "config/close_key.h"
#include "config/registry_replication_save.h"
#include "config/replica_names.h"
#include "platform/failure_code.h"
#include "platform/module_thread.h"
#include "platform/no_throw.h"
#include "vtclass/replication.h"
#include "vtclass/security.h"
#include "vtclass/threads.h"

namespace vtclass::config {

using platform::FailureCode;
using platform::OwnedKernelObject;
using platform::StatusOf;

namespace {

constexpr DWORD kThisThread = 0xFFFFFFFF;

// A key is saved when it has not changed for so long: whoever changes one value mostly changes
// more.
constexpr DWORD kSettling = 3000;

// After a wait that the system refused: without a pause the thread would burn a processor.
constexpr DWORD kPause = 100;

/* Told of the changes of a key and of everything below. */
class Changes : public Waitable {
 public:
  explicit Changes(HKEY key) : Changes(key, ::CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}

  explicit operator bool() const noexcept { return static_cast<bool>(event); }

  // Asks for one signal at the next change, unless one has been asked for and has not come: two
  // orders would be two signals for one change. To order clears a signal that has come: only after
  // HasCome or Taken.
  bool Arm() noexcept {
    constexpr DWORD kFilter =
        REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_ATTRIBUTES | REG_NOTIFY_CHANGE_LAST_SET;
    if (!isArmed) {
      isArmed = ::RegNotifyChangeKeyValue(key, TRUE, kFilter, event.Get(), TRUE) == ERROR_SUCCESS;
    }
    return isArmed;
  }

  // Whether the signal has come, which takes it.
  bool HasCome() noexcept {
    if (::WaitForSingleObject(event.Get(), 0) != WAIT_OBJECT_0) return false;
    Taken();
    return true;
  }

  // A wait has taken the signal.
  void Taken() noexcept { isArmed = false; }

 private:
  Changes(HKEY key, HANDLE created) : Waitable(created), key(key), event(created) {}

  HKEY key;
  OwnedKernelObject event;
  bool isArmed = false;
};

}  // namespace

HANDLE KeyReplication::NewStopEvent() noexcept {
  return ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
}

int KeyReplication::Begin(HKEY root, const wcstring& path, const wcstring& folder, bool atStart,
                          const border::WideSink& ownPath,
                          const border::WideSink& ownDirectory) noexcept {
  End();
  const auto fail = [](DWORD status) { return ::SetLastError(status), 0; };
  if (!stopEvent) return fail(ERROR_INVALID_HANDLE);
  replicateAtStart = atStart;
  saves = 0;
  const std::wstring_view above = WithoutBackslashesAtEnd(folder);
  if (!ownPath.Assign(WithoutBackslashesAtEnd(path)) || !ownDirectory.Assign(above) ||
      !ownDirectory.ReplaceBehind(above.size(), L"\\", 1)) {
    return fail(ERROR_NOT_ENOUGH_MEMORY);
  }
  const LSTATUS status = ::RegOpenKeyExW(root, keyPath.c_str(), 0, KEY_READ, &key);
  if (status != ERROR_SUCCESS) {
    key = nullptr;
    return fail(static_cast<DWORD>(status));
  }
  if (!CreateDirectoryPath(directory)) return 0;
  // A thread that ended by itself has left the signal of its stop behind.
  ::ResetEvent(stopEvent);
  ::SetLastError(ERROR_SUCCESS);
  const OwnedKernelObject begun(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  if (!begun) return fail(FailureCode());
  beginning = begun.Get();
  startError = ERROR_SUCCESS;
  unsigned id = 0;
  thread = platform::StartCallersThread<&KeyReplication::Run>(*this, 0, id).Release();
  if (!thread) return fail(FailureCode());
  // What the caller changes from now on is to be noticed.
  ::WaitForSingleObject(begun.Get(), INFINITE);
  const DWORD error = startError;
  if (error == ERROR_SUCCESS) return 1;
  End();
  return fail(error);
}

void KeyReplication::End() noexcept {
  if (thread) {
    ::SetEvent(stopEvent);
    ::WaitForSingleObject(thread, INFINITE);
    OwnedKernelObject(std::exchange(thread, nullptr)).Reset();
  }
  CloseKey(key);
}

void KeyReplication::Close() noexcept {
  End();
  OwnedKernelObject(std::exchange(stopEvent, nullptr)).Reset();
}

unsigned long KeyReplication::Run(KeyReplication& self) {
  WorkerThread::SetThreadName(kThisThread, "RegRepl");
  AssertPrivilege(SE_BACKUP_NAME, TRUE);
  self.Follow();
  return 0;
}

// On the thread, once: the start need not wait any longer.
void KeyReplication::Begun(unsigned long error) noexcept {
  startError = error;
  ::SetEvent(std::exchange(beginning, nullptr));
}

void KeyReplication::Follow() {
  Waitable stop(stopEvent);
  ::SetLastError(ERROR_SUCCESS);
  Changes changes(key);
  if (!changes) {
    Begun(FailureCode());
    return;
  }
  // Of two signals a wait tells the first in this order.
  WaitableGroup group;
  group.Add(&stop);
  group.Add(&changes);
  const auto save = [&] {
    Save();
    return changes.HasCome() ? kSettling : INFINITE;
  };
  // Before the start save too: what changes during it is to be noticed. A refusal comes again
  // below.
  const bool isArmed = changes.Arm();
  Begun(ERROR_SUCCESS);
  if (!isArmed && !replicateAtStart) return;
  DWORD wait = replicateAtStart ? save() : INFINITE;
  while (changes.Arm()) {
    const Waitable* const signalled = group.Wait(wait);
    if (signalled == &stop) return;
    if (signalled == &changes) {
      changes.Taken();
      wait = kSettling;
    } else if (wait != INFINITE) {
      wait = save();
    } else if (::WaitForSingleObject(stopEvent, kPause) == WAIT_OBJECT_0) {
      return;
    }
  }
}

void KeyReplication::Save() {
  const DWORD status = StatusOf([this] { return SaveKey(key, keyPath, directory); });
  if (status == ERROR_SUCCESS) {
    ++saves;
  } else {
    report(*this, status);
  }
}

}  // namespace vtclass::config
