#include <functional>

#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/debug_log_fixture.h"
#include "tests/support/eventually.h"
#include "tests/support/file_faults.h"
#include "tests/support/import_hook.h"

namespace vtclass::test {
namespace {

using enum DebugLog::openMode;
using platform::OwnedFile;

constexpr wchar_t kLevel[] = L"Engine NDMP Debug Level";
constexpr wchar_t kCount[] = L"MaxDebugFile Count";

// Something that another thread waits for, not for ever.
class Sign {
 public:
  void Give() const { ::SetEvent(event.Get()); }
  bool Comes() const { return ::WaitForSingleObject(event.Get(), kLimit) == WAIT_OBJECT_0; }

 private:
  platform::OwnedKernelObject event{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
};

// What a test does once on its own thread, right behind the library's reading of one value.
struct Window {
  const wchar_t* value = nullptr;
  std::function<void()> work;
  DWORD thread = 0;
} window;

// What the registry refuses to the library: a value, or with an empty name every key.
struct Refusal {
  const wchar_t* value = nullptr;
  LSTATUS status = ERROR_SUCCESS;
  bool Meets(const wchar_t* name) const { return value && !::lstrcmpW(name, value); }
} refusal;
LSTATUS WINAPI Query(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data,
                     DWORD* size) {
  if (refusal.Meets(name)) return refusal.status;
  const LSTATUS status = ::RegQueryValueExW(key, name, reserved, type, data, size);
  const bool isOurs = window.work && ::GetCurrentThreadId() == window.thread;
  if (isOurs && !::lstrcmpW(name, window.value)) std::exchange(window.work, nullptr)();
  return status;
}

DWORD WINAPI PrintOnce(void* log) {
  static_cast<DebugLog*>(log)->print(L"late\n");
  return 0;
}

// Logs that follow the settings, and another subscriber of theirs.
class DebugLogLive : public DebugLogTest {
 protected:
  ~DebugLogLive() override { SettingsMonitor::DestroyInstance(); }

  static long OnFence(unsigned long, void* context) {
    auto* const self = static_cast<DebugLogLive*>(context);
    self->fenced.Give();
    if (self->inFence) std::exchange(self->inFence, nullptr)();
    return S_OK;
  }
  const void* Watch(const wchar_t* name) {
    auto setting = std::make_unique<Setting>(HKEY_LOCAL_MACHINE, config::kLoggingKey.Path(), name,
                                             Setting::dwordKind);
    setting->AttachNumber(&OnFence, this);
    return SettingsMonitor::GetInstance()->RegisterSetting(setting.release());
  }
  // Every change made before has been told when this returns: the second change of the fence is
  // found by a later look than the first, which is over by then.
  void Settle() {
    for (int n = 0; n < 2; ++n) {
      Set(L"fence", ++fence);
      ASSERT_TRUE(fenced.Comes());
    }
  }
  std::unique_ptr<DebugLog> Make(const wchar_t* pathValueName = nullptr) {
    LogFileFactory factory(messages, 1);
    return std::unique_ptr<DebugLog>(factory.CreateDebugLog(pathValueName, path.c_str()));
  }
  // The library reads the value, then `work` runs.
  static void Behind(const wchar_t* value, std::function<void()> work) {
    window = {value, std::move(work), ::GetCurrentThreadId()};
  }

  DWORD fence = 0;
  Sign fenced;
  std::function<void()> inFence;
  const ImportHook<decltype(::RegQueryValueExW)> query{"ADVAPI32.dll", "RegQueryValueExW", &Query};
};

TEST_F(DebugLogLive, SubscriberBehindTheLog_FindsItSwitchedOn) {
  const auto log = Make();
  ASSERT_TRUE(Watch(L"CreateDebugLog"));
  Sign printed;
  inFence = [&] {
    EXPECT_TRUE(log->print(L"followed\n"));
    printed.Give();
  };
  Set(L"CreateDebugLog", 1);
  ASSERT_TRUE(printed.Comes());
  EXPECT_EQ(LinesIn(path), (std::vector<std::wstring>{kOn, L"followed"}));
}

// What was told while the log was reading is newer than what it has read, and is told no second
// time here: the monitor stops.
TEST_F(DebugLogLive, ChangeWhileALogReads_IsNotLost) {
  Limit(7);
  Set(kLevel, 1);
  ASSERT_TRUE(Watch(L"fence"));
  const auto change = [this](const wchar_t* name, DWORD value) {
    Behind(name, [this, name, value] {
      Set(name, value);
      Settle();
      SettingsMonitor::GetInstance()->Stop();
    });
  };
  change(kLevel, 2);
  const auto log = Make();
  EXPECT_FALSE(window.work);
  EXPECT_EQ(log->GetLogLevel(), 2u);
  SettingsMonitor::GetInstance()->Start();
  change(kCount, 9);
  EXPECT_TRUE(log->UpdateSettings());
  EXPECT_EQ(log->GetSettings().count, 9u);
  SettingsMonitor::GetInstance()->Start();
  change(L"CreateDebugLog", 1);
  EXPECT_TRUE(log->UpdateSettings());
  EXPECT_TRUE(log->print(L"on\n"));
  EXPECT_EQ(LinesIn(path), (std::vector<std::wstring>{kOn, L"on"}));
}

// A log reads what the monitor has not seen yet, and that is changed back before the monitor looks.
TEST_F(DebugLogLive, ChangeAndBackWhileTheMonitorIsBusy_EndsWithWhatIsStored) {
  Limit(7);
  ASSERT_TRUE(Watch(L"fence"));
  const auto log = Make();
  Sign busy, released;
  inFence = [&] {
    busy.Give();
    EXPECT_TRUE(released.Comes());
  };
  Set(L"fence", ++fence);
  ASSERT_TRUE(busy.Comes());
  ASSERT_TRUE(fenced.Comes());
  Set(kCount, 9);
  log->UpdateSettings();
  EXPECT_EQ(log->GetSettings().count, 9u);
  Set(kCount, 7);
  released.Give();
  Settle();
  EXPECT_EQ(log->GetSettings().count, 7u);
}

TEST_F(DebugLogLive, MissingValue_WrittenAs0_IsTold) {
  Limit(1, 1);
  const auto log = Make();
  ASSERT_TRUE(Watch(L"fence"));
  EXPECT_EQ(log->GetLogLevel(), 1u);
  EXPECT_EQ(log->GetSettings().retentionSize, 1u << 20);
  Set(kLevel, 0);
  Set(L"MaxDebugFile Retention Size In MB", 0);
  Settle();
  EXPECT_EQ(log->GetLogLevel(), 0u);
  EXPECT_EQ(log->GetSettings().retentionSize, 0u);
}

// What cannot be read may be as it was: nothing changes, and nothing that is stored is replaced.
TEST_F(DebugLogLive, UnreadableSetting_KeepsWhatWasInForce) {
  const auto create = Replace<decltype(::RegCreateKeyExW)>("RegCreateKeyExW", [](auto... all) {
    return refusal.Meets(L"") ? refusal.status : ::RegCreateKeyExW(all...);
  });
  const auto open = Replace<decltype(::RegOpenKeyExW)>("RegOpenKeyExW", [](auto... all) {
    return refusal.Meets(L"") ? refusal.status : ::RegOpenKeyExW(all...);
  });
  const std::wstring stored = folder / L"stored.log";
  const Refusal rows[] = {{L"", ERROR_NO_SYSTEM_RESOURCES},
                          {L"", ERROR_ACCESS_DENIED},
                          {L"CreateDebugLog", ERROR_NO_SYSTEM_RESOURCES},
                          {L"MaxDebugFile Enabled", ERROR_ACCESS_DENIED},
                          {kCount, ERROR_NO_SYSTEM_RESOURCES},
                          {L"MaxDebugFile Ext", ERROR_NO_SYSTEM_RESOURCES},
                          {L"Path", ERROR_NO_SYSTEM_RESOURCES}};
  Limit(7);
  Set(L"CreateDebugLog", 1);
  Set(kLevel, 2);
  SetText(L"MaxDebugFile Ext", L".old");
  SetText(L"Path", stored);
  const std::string before = StoredValue(config::kLoggingKey.Path(), L"Path");
  for (const Refusal& row : rows) {
    MakeFile(stored, "\xFF\xFE");
    auto log = Make(L"Path");
    refusal = row;
    EXPECT_EQ(log->UpdateSettings(), 0) << row.value;
    EXPECT_EQ(log->GetErrorCode(), static_cast<DWORD>(row.status)) << row.value;
    EXPECT_TRUE(log->print(L"x\n")) << row.value;
    EXPECT_EQ(log->GetSettings().count, 7u) << row.value;
    EXPECT_EQ(log->GetSettings().extension, L".old") << row.value;
    EXPECT_EQ(LinesIn(stored).back(), L"x") << row.value;
    log.reset();
    // A log that is made meanwhile has nothing in force yet.
    log = Make(L"Path");
    EXPECT_EQ(log->GetErrorCode(), static_cast<DWORD>(row.status)) << row.value;
    refusal = {};
    EXPECT_EQ(StoredValue(config::kLoggingKey.Path(), L"Path"), before) << row.value;
    // It takes the numbers in when the monitor can read them.
    const void* const watch = Watch(L"fence");
    Settle();
    EXPECT_EQ(log->GetLogLevel(), 2u);
    EXPECT_EQ(log->GetSettings().count, 7u) << row.value;
    EXPECT_TRUE(log->print(L"y\n")) << row.value;
    SettingsMonitor::GetInstance()->UnRegisterSetting(watch);
    EXPECT_TRUE(log->UpdateSettings());
    EXPECT_EQ(log->GetFileName(), stored);
  }
}

// A log whose line hangs on its disk, on a thread of its own.
class DebugLogOnAHungDisk : public DebugLogLive {
 protected:
  DebugLogOnAHungDisk() {
    Limit(7);
    Set(L"CreateDebugLog", 1);
    log = Make();
    EXPECT_TRUE(Watch(L"fence"));
    hung = this;
    printer.Reset(::CreateThread(nullptr, 0, &PrintOnce, log.get(), 0, nullptr));
    EXPECT_TRUE(reached.Comes());
  }

  static BOOL WINAPI Hang(HANDLE file, LPCVOID data, DWORD size, LPDWORD done, LPOVERLAPPED how) {
    if (const auto* const test = std::exchange(hung, nullptr)) {
      test->reached.Give();
      EXPECT_TRUE(test->released.Comes());
    }
    return ::WriteFile(file, data, size, done, how);
  }
  static inline const DebugLogOnAHungDisk* hung = nullptr;

  const ImportHook<decltype(::WriteFile)> hang{"KERNEL32.dll", "WriteFile", &Hang};
  const Sign reached, released;
  std::unique_ptr<DebugLog> log;
  platform::OwnedKernelObject printer;
};

// Changes reach everybody else, registrations come and go, and other logs live and die. The log
// takes in what it was told when the line is through.
TEST_F(DebugLogOnAHungDisk, StallsNobodyElse) {
  Set(kLevel, 2);
  Set(kCount, 9);
  Set(L"CreateDebugLog", 0);
  Settle();
  EXPECT_EQ(log->GetLogLevel(), 2u);
  EXPECT_TRUE(log->IsOpen()) << "until the switching off is taken in";
  EXPECT_EQ(SettingsMonitor::GetInstance()->UnRegisterSetting(Watch(L"other")), S_OK);
  EXPECT_EQ(Make()->GetSettings().count, 9u);
  released.Give();
  ASSERT_EQ(::WaitForSingleObject(printer.Get(), kLimit), WAIT_OBJECT_0);
  EXPECT_EQ(LinesIn(path), (std::vector<std::wstring>{kOn, L"late", kOff}));
  EXPECT_EQ(log->print(L"off"), 0);
  EXPECT_FALSE(log->IsOpen());
  EXPECT_EQ(log->GetSettings().count, 9u);
}

// A thread that is ended while it prints leaves the log's lock taken. The monitor and the
// destructor do not ask for it.
TEST_F(DebugLogOnAHungDisk, PrinterIsKilled_TheLogCanBeDestroyed) {
  ASSERT_TRUE(::TerminateThread(printer.Get(), 0));
  ASSERT_EQ(::WaitForSingleObject(printer.Get(), kLimit), WAIT_OBJECT_0);
  Set(L"CreateDebugLog", 0);
  Settle();
  log.reset();
  EXPECT_EQ(LinesIn(path), std::vector<std::wstring>{kOn});
}

// Memory runs out where the monitor hands a change over: it is taken in later.
TEST_F(DebugLogLive, FailingAllocation_KeepsTheChange) {
  const auto log = Make();
  ASSERT_TRUE(Watch(L"fence"));
  for (DWORD n = 1; n < 12; ++n) {
    {
      Allocations allocations;
      allocations.FailAt(static_cast<long>(n));
      Limit(n, 0, 2 + n % 2);
      Settle();
    }
    EXPECT_EQ(log->GetSettings().count, n);
    EXPECT_EQ(log->GetSettings().maximumSize, (2 + n % 2) << 20);
  }
}

TEST_F(DebugLogLive, OutlivesTheMonitor_AndMakesNone) {
  auto log = Make();
  SettingsMonitor::DestroyInstance();
  EXPECT_TRUE(log->Open(createAlways, path.c_str()));
  EXPECT_TRUE(log->print(L"x\n"));
  {
    const auto hook = Replace<decltype(::CreateThread)>("CreateThread", [](auto...) {
      ADD_FAILURE() << "the end of a log makes a monitor";
      return HANDLE{};
    });
    log.reset();
  }
  // A log of an earlier monitor ends no registration of the next one.
  log = Make();
  SettingsMonitor::DestroyInstance();
  ASSERT_TRUE(Watch(L"fence"));
  log.reset();
  Settle();
}

// A part of a line could not be cut off, and then the file has become too large.
TEST_F(DebugLogLive, PartOfALine_NeitherWrapsNorRolls) {
  Set(L"CreateDebugLog", 1);
  ASSERT_TRUE(Watch(L"fence"));
  for (const DWORD mode : {0u, 1u}) {
    Set(L"MaxDebugFile Enabled", 0);
    MakeFile(path, "\xFF\xFE" + std::string(3 << 20, '\n') + std::string("\r\0\n\0", 4));
    const auto log = Make();
    {
      const FileFaults faults({.room = 31, .failingCuts = 1});
      EXPECT_EQ(log->print(L"%100d\n", 1), 0);
    }
    Limit(1, mode);
    Settle();
    EXPECT_TRUE(log->print(L"after\n"));
    EXPECT_EQ(LinesIn(path).back(), L"after");
    EXPECT_EQ(LinesIn(mode ? path : Rotated(1)).rbegin()[mode], kOn);
    EXPECT_EQ(FileBytes(Rotated(1)).size() % 2, 0u);
  }
}

TEST_F(DebugLogLive, HeldFile_IsOpenedByALaterLine) {
  Set(L"CreateDebugLog", 1);
  for (const bool live : {true, false}) {
    MakeFile(path, "\xFF\xFE!");  // half a character, of a line that a full disk cut
    SetText(L"Path", live ? folder / L"missing" : path);
    OwnedFile held(
        ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    // The second has no name of its own, only the stored one.
    auto log = live ? Make(L"Path") : std::make_unique<DebugLog>(messages, 1, L"Path");
    EXPECT_EQ(live ? 0 : log->UpdateSettings(), 0);
    EXPECT_EQ(log->GetErrorCode(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_TRUE(log->IsOpen()) << "its lines count";
    for (int n = 0; n < 3; ++n) EXPECT_EQ(log->print(L"lost\n"), 0);
    EXPECT_EQ(log->GetLostLines(), 3u);
    held.Reset();
    EXPECT_TRUE(log->print(L"one\n"));
    EXPECT_TRUE(log->print(L"two\n"));
    EXPECT_EQ(LinesIn(path), (std::vector<std::wstring>{kOn, L"one", L"two"}));
    EXPECT_EQ(log->GetLostLines(), 3u);
    log.reset();
    const std::string stored = StoredValue(config::kLoggingKey.Path(), L"Path");
    EXPECT_EQ(stored.size(), (path.size() + 1) * sizeof(wchar_t)) << "remembered";
  }
}

}  // namespace
}  // namespace vtclass::test
