#include "vtclass/settings_monitor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <vector>

#include "config/product_keys.h"
#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/child_process.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/wine.h"
#include "vtclass/product.h"

namespace {

using namespace vtclass::test;
using vtclass::config::DebugKey;
using vtclass::config::LoggingKey;
using vtclass::platform::OwnedKernelObject;

constexpr DWORD kLimit = 20000;
constexpr unsigned long kNothing = 0xDEAD;
constexpr wchar_t kLevel[] = L"Engine NDMP Debug Level";

/* A monitor of the test's own, with everything that derived classes may use. */
struct TestMonitor : SettingsMonitor {
  TestMonitor() = default;
  ~TestMonitor() override = default;
  using SettingsMonitor::AddBoolSetting;
  using SettingsMonitor::AddDWORDSetting;
  using SettingsMonitor::AddNumberSetting;
  using SettingsMonitor::AddRangeSetting;
  using SettingsMonitor::AddSetting;
  using SettingsMonitor::AddStringSetting;
};

/* What the callbacks of one registration bring; `work` runs inside them. */
struct Subscriber {
  static long OnNumber(unsigned long value, void* context) {
    return static_cast<Subscriber*>(context)->Take({value, L""});
  }
  static long OnText(const wchar_t* value, void* context) {
    return static_cast<Subscriber*>(context)->Take({0, value});
  }
  long Take(const std::pair<unsigned long, std::wstring>& value) {
    std::unique_lock hold(lock);
    values.push_back(value);
    hold.unlock();
    ::ReleaseSemaphore(arrived.Get(), 1, nullptr);
    if (work) work();
    return 7;
  }
  /* The next value; kNothing when none comes. */
  unsigned long Next() {
    if (::WaitForSingleObject(arrived.Get(), kLimit) != WAIT_OBJECT_0) return kNothing;
    const std::lock_guard hold(lock);
    const unsigned long number = values.front().first;
    lastText = values.front().second;
    values.pop_front();
    return number;
  }
  size_t Waiting() {
    const std::lock_guard hold(lock);
    return values.size();
  }

  std::function<void()> work;
  std::mutex lock;
  std::deque<std::pair<unsigned long, std::wstring>> values;
  std::wstring lastText;
  OwnedKernelObject arrived{::CreateSemaphoreW(nullptr, 0, 0x7FFFFFFF, nullptr)};
};

void Put(const std::wstring& key, const std::wstring& name, unsigned long number) {
  StoreValue(key, name, REG_DWORD, &number, sizeof number);
}

/* What the library asks the system for, and what the test does in that moment. */
std::function<void()> beforeArming;
std::vector<HANDLE> armedEvents;
LSTATUS WINAPI Arm(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous) {
  armedEvents.push_back(event);
  if (beforeArming) std::exchange(beforeArming, nullptr)();
  return ::RegNotifyChangeKeyValue(key, subtree, filter, event, asynchronous);
}
using ArmHook = ImportHook<decltype(::RegNotifyChangeKeyValue)>;

class SettingsMonitorTest : public testing::Test {
 protected:
  SettingsMonitorTest() {
    for (const wchar_t* key : {LoggingKey(), DebugKey()}) MakeKey(key);
    armedEvents.clear();
  }
  ~SettingsMonitorTest() override { CMS_SetProd(0); }

  void Begin() {
    monitor = std::make_unique<TestMonitor>();
    fenceCookie = monitor->AddDWORDSetting(LoggingKey(), L"fence", &Subscriber::OnNumber, &fence);
  }
  /* Every change made before has been looked at by all registrations when this returns: the second
   * change is found by a later look than the first, which is over by then. */
  void Settle() {
    for (int i = 0; i < 2; ++i) {
      Put(LoggingKey(), L"fence", ++fenceValue);
      ASSERT_EQ(fence.Next(), fenceValue);
    }
  }
  const void* Level(Subscriber& reader) {
    return monitor->EngineRegisterDebugLevel(&Subscriber::OnNumber, &reader);
  }

  PrivateRegistry registry;
  Subscriber fence, first, other;
  unsigned long fenceValue = 0;
  const void* fenceCookie = nullptr;
  std::unique_ptr<TestMonitor> monitor;
};

TEST_F(SettingsMonitorTest, Level_ChangesCallWhateverTheRange_AndNothingElseCalls) {
  Put(LoggingKey(), kLevel, 1);
  Begin();
  ASSERT_TRUE(Level(first));
  for (const unsigned long value : {2ul, 2ul, 5ul}) Put(LoggingKey(), kLevel, value), Settle();
  StoreValue(LoggingKey(), kLevel, REG_SZ, L"6", 4);
  Settle();
  ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, LoggingKey(), kLevel);
  Settle();
  Put(LoggingKey(), kLevel, 5);
  Settle();
  Put(std::wstring(LoggingKey()) + L"\\Below", kLevel, 3);
  Put(DebugKey(), kLevel, 3);
  Settle();
  Put(LoggingKey(), kLevel, 0);
  for (const unsigned long expected : {2ul, 5ul, 0ul}) EXPECT_EQ(first.Next(), expected);
  Settle();
  EXPECT_EQ(first.Waiting(), 0u);
}

TEST_F(SettingsMonitorTest, OtherKinds_CompareTextAndDerivedLevel) {
  Begin();
  ASSERT_TRUE(monitor->VtmRegisterLogPath(&Subscriber::OnText, &first));
  ASSERT_TRUE(monitor->VtmRegisterDebugLevel(&Subscriber::OnNumber, &other));
  for (const std::wstring text : {L"C:\\a", L"C:\\a", L"c:\\A"}) {
    StoreValue(DebugKey(), L"Path", REG_SZ, text.c_str(), 10);
    if (text != first.lastText) EXPECT_EQ(first.Next(), 0u);
    EXPECT_EQ(first.lastText, text);
  }
  // 9 and 11 stand for the levels 1 (as 0 does) and 2; only a new level is told.
  for (const unsigned long mask : {9ul, 11ul, 3ul, 7ul, 15ul}) {
    Put(DebugKey(), L"VTMSDKLevel", mask);
    if (mask != 9 && mask != 3) EXPECT_EQ(other.Next(), mask);
  }
  EXPECT_EQ(first.Waiting() + other.Waiting(), 0u);
}

TEST_F(SettingsMonitorTest, EveryRegistration_FollowsItsValue_OfTheSelectedProduct) {
  using Register = const void* (SettingsMonitor::*)(SettingsMonitor::NumberCallback, void*);
  using M = SettingsMonitor;
  const Register operations[] = {&M::RegisterCreateDebugLog,
                                 &M::KoltRegisterDebugLevel,
                                 &M::EngineRegisterDebugLevel,
                                 &M::RegisterMaxDebugFileEnabled,
                                 &M::RegisterMaxDebugFileSize,
                                 &M::RegisterMaxRetention,
                                 &M::RegisterMaxDebugFileCount,
                                 &M::RegisterMaxDebugFileLimitMode,
                                 &M::RegisterMaxDebugFileAppend,
                                 &M::VtmRegisterCreateDebugLog,
                                 &M::VtmRegisterMaxDebugFileEnabled,
                                 &M::VtmRegisterMaxDebugFileSize,
                                 &M::VtmRegisterMaxDebugFileCount,
                                 nullptr,
                                 &M::VtmRegisterMaxDebugFileRetentionSize,
                                 &M::VtmRegisterLogLimitMode,
                                 &M::VtmRegisterDebugLevel};
  MonitoredValue value;
  for (const unsigned long product : {0ul, 1ul}) {
    CMS_SetProd(product);
    Begin();
    for (unsigned long i = 0; i < std::size(operations); ++i) {
      ASSERT_TRUE(M::GetMonitoredValue(i, value));
      if (!operations[i]) continue;
      ASSERT_TRUE((*monitor.*operations[i])(&Subscriber::OnNumber, &first));
      Put(value.key, value.name, 2);
      if (product == 1 && value.kind == Setting::sdkDebugLevelKind) {
        Settle();
        EXPECT_EQ(first.Waiting(), 0u) << "its key is not the watched one";
      } else {
        EXPECT_EQ(first.Next(), 2u) << i;
      }
    }
    EXPECT_FALSE(M::GetMonitoredValue(std::size(operations), value));
    monitor.reset();
  }
}

TEST_F(SettingsMonitorTest, BadInput_IsRefused) {
  Begin();
  const auto number = &Subscriber::OnNumber;
  for (const void* const refused : {monitor->AddDWORDSetting(nullptr, L"v", number, nullptr),
                                    monitor->AddBoolSetting(L"k", nullptr, number, nullptr),
                                    monitor->AddStringSetting(L"k", L"v", nullptr, nullptr),
                                    monitor->AddRangeSetting(L"k", L"v", 2, 2, number, nullptr),
                                    monitor->AddRangeSetting(L"k", L"v", 0, 0, number, nullptr),
                                    monitor->RegisterSetting(nullptr)}) {
    EXPECT_FALSE(refused);
  }
  const void* cookie = &cookie;
  for (const auto kind : {Setting::defaultNumberKind, Setting::expandStringKind}) {
    Setting setting(HKEY_LOCAL_MACHINE, LoggingKey(), L"v", kind);
    EXPECT_EQ(monitor->AddSetting(&setting, cookie), E_NOTIMPL);
    EXPECT_FALSE(cookie);
  }
  auto* text = new Setting(HKEY_LOCAL_MACHINE, LoggingKey(), L"v", Setting::stringKind);
  EXPECT_EQ(monitor->AddNumberSetting(&text, number, nullptr, cookie), E_FAIL);
  EXPECT_FALSE(text) << "destroyed";
  EXPECT_EQ(monitor->UnRegisterSetting(nullptr), E_INVALIDARG);
  EXPECT_EQ(monitor->UnRegisterSetting(this), E_FAIL);
  EXPECT_EQ(monitor->UnRegisterSetting(fenceCookie), S_OK);
  EXPECT_EQ(monitor->UnRegisterSetting(fenceCookie), E_INVALIDARG) << "nothing is registered";
  EXPECT_EQ(monitor->Start(), E_INVALIDARG);
  EXPECT_EQ(monitor->Stop(), S_OK);
  EXPECT_EQ(monitor->Stop(), S_OK);
}

TEST_F(SettingsMonitorTest, Callback_MayDoWhatTheHeaderSays) {
  Put(LoggingKey(), kLevel, 0);
  Begin();
  const void* cookie = nullptr;
  const void* otherCookie = nullptr;
  long stopped = S_OK;
  const std::function<void()> works[] = {
      [&] { EXPECT_EQ(monitor->UnRegisterSetting(cookie), S_OK); },
      [&] { EXPECT_EQ(monitor->UnRegisterSetting(otherCookie), S_OK); },
      [&] {
        // Until the new setting lives where the removed one did, if the heap gives it back at all.
        for (int i = 0; i < 100 && monitor->UnRegisterSetting(cookie) == S_OK; ++i) {
          if (Level(other) == cookie) break;
        }
      },
      [&] { monitor->RemoveAllSettings(); },
      [] { throw std::runtime_error("meant"); },
      [&] { stopped = monitor->Stop(); },
      [] { ::Sleep(1500); }};
  unsigned long value = 0;
  for (const auto& work : works) {
    first.work = work;
    cookie = Level(first);
    otherCookie = Level(other);
    Put(LoggingKey(), kLevel, ++value);
    EXPECT_EQ(first.Next(), value);
    monitor->RemoveAllSettings();  // waits for the callback
    monitor->AddDWORDSetting(LoggingKey(), L"fence", &Subscriber::OnNumber, &fence);
    Settle();
  }
  EXPECT_EQ(stopped, HRESULT_FROM_WIN32(ERROR_POSSIBLE_DEADLOCK));
}

TEST_F(SettingsMonitorTest, DestroyInstance_InsideACallback_IsRefused) {
  SettingsMonitor* const instance = SettingsMonitor::GetInstance();
  first.work = [] { SettingsMonitor::DestroyInstance(); };
  ASSERT_TRUE(instance->EngineRegisterDebugLevel(&Subscriber::OnNumber, &first));
  Put(LoggingKey(), kLevel, 1);
  EXPECT_EQ(first.Next(), 1u);
  EXPECT_EQ(instance->Stop(), S_OK) << "waits for the callback";
  EXPECT_EQ(SettingsMonitor::GetInstance(), instance);
  SettingsMonitor::DestroyInstance();
  SettingsMonitor::DestroyInstance();
}

TEST_F(SettingsMonitorTest, ChangeWhileStopped_ArrivesAfterStart) {
  Begin();
  ASSERT_TRUE(Level(first));
  for (unsigned long value = 1; value < 4; ++value) {
    EXPECT_EQ(monitor->Stop(), S_OK);
    Put(LoggingKey(), kLevel, value);
    EXPECT_EQ(first.Waiting(), 0u);
    EXPECT_EQ(monitor->Start(), S_OK);
    EXPECT_EQ(first.Next(), value);
  }
}

TEST_F(SettingsMonitorTest, SettingOfTheCaller_ChangedSinceItWasRead_IsTold) {
  Begin();
  auto* const setting = new Setting(HKEY_LOCAL_MACHINE, LoggingKey(), kLevel, Setting::dwordKind);
  Put(LoggingKey(), kLevel, 1);
  EXPECT_EQ(setting->Read(), S_OK);
  setting->AttachNumber(&Subscriber::OnNumber, &first);
  Put(LoggingKey(), kLevel, 2);
  Settle();
  EXPECT_EQ(monitor->RegisterSetting(setting), setting);
  EXPECT_EQ(first.Next(), 2u);
}

TEST_F(SettingsMonitorTest, ChangeBetweenReadingAndArming_IsNotLost) {
  Begin();
  ASSERT_TRUE(Level(first));
  const ArmHook hook("ADVAPI32.dll", "RegNotifyChangeKeyValue", &Arm);
  beforeArming = [] { Put(LoggingKey(), kLevel, 2); };
  Put(LoggingKey(), kLevel, 1);
  EXPECT_EQ(first.Next(), 1u);
  EXPECT_EQ(first.Next(), 2u);
}

// The system also signals when the thread that asked for the signal ends, and for a deleted key.
TEST_F(SettingsMonitorTest, SignalWithoutChange_AndDeletedKey_AreSurvived) {
  const ArmHook hook("ADVAPI32.dll", "RegNotifyChangeKeyValue", &Arm);
  Begin();
  ASSERT_TRUE(Level(first));
  const HANDLE event = armedEvents.front();
  ::SetEvent(event);
  Settle();
  ASSERT_EQ(::RegDeleteTreeW(HKEY_LOCAL_MACHINE, LoggingKey()), ERROR_SUCCESS);
  ::SetEvent(event);  // not every system does it
  for (int i = 0; i < 500 && !KeyExists(LoggingKey()); ++i) ::Sleep(10);
  Put(LoggingKey(), kLevel, 2);
  EXPECT_EQ(first.Next(), 2u);
  Settle();
}

LSTATUS WINAPI RefuseKey(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY,
                         LPDWORD) {
  return ERROR_ACCESS_DENIED;
}
HANDLE WINAPI RefuseEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR) { return nullptr; }
HANDLE WINAPI RefuseThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                           LPDWORD) {
  ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return nullptr;
}

TEST_F(SettingsMonitorTest, Construction_SystemRefuses_LeavesAMonitorThatCanBeDestroyed) {
  {
    const ImportHook<decltype(::RegCreateKeyExW)> hook("ADVAPI32.dll", "RegCreateKeyExW",
                                                       &RefuseKey);
    TestMonitor deaf;
    EXPECT_TRUE(deaf.EngineRegisterDebugLevel(&Subscriber::OnNumber, &first));
  }
  {
    const ImportHook<decltype(::CreateEventW)> hook("KERNEL32.dll", "CreateEventW", &RefuseEvent);
    TestMonitor dead;
    EXPECT_EQ(dead.Start(), E_FAIL);
  }
  const ImportHook<decltype(::CreateThread)> hook("KERNEL32.dll", "CreateThread", &RefuseThread);
  TestMonitor idle;
  EXPECT_EQ(idle.Start(), static_cast<long>(0x80070008));
  EXPECT_EQ(idle.Stop(), S_OK);
}

std::atomic<int> keysOpened;
LSTATUS WINAPI CountOpening(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY result) {
  ++keysOpened;
  return ::RegOpenKeyExW(key, subkey, options, access, result);
}

TEST_F(SettingsMonitorTest, ManySettings_OpenTheirKeyOnceALook) {
  Begin();
  for (int i = 0; i < 500; ++i) ASSERT_TRUE(Level(other));
  keysOpened = 0;
  const ImportHook<decltype(::RegOpenKeyExW)> hook("ADVAPI32.dll", "RegOpenKeyExW", &CountOpening);
  Put(LoggingKey(), kLevel, 1);
  for (int i = 0; i < 500; ++i) ASSERT_EQ(other.Next(), 1u);
  monitor->Stop();
  EXPECT_LE(keysOpened, 4) << "two looks for one change, two more at most for a late signal";
}

TEST_F(SettingsMonitorTest, MemoryRunsOut_RegistersAllOrNothing_AndDeliversLater) {
  Begin();
  for (long n = 1;; ++n) {
    Allocations allocations;
    allocations.FailAt(n);
    const void* const cookie = monitor->VtmRegisterLogPath(&Subscriber::OnText, &first);
    EXPECT_EQ(cookie == nullptr, allocations.Failed()) << n;
    if (cookie) break;
  }
  for (long n = 1; n < 6; ++n) {
    const std::wstring text = L"C:\\a folder with a long name " + std::to_wstring(n);
    Allocations allocations;
    allocations.FailAt(n);
    StoreValue(DebugKey(), L"Path", REG_SZ, text.c_str(), static_cast<DWORD>(text.size() * 2 + 2));
    ASSERT_EQ(first.Next(), 0u) << n;
    EXPECT_EQ(first.lastText, text);
  }
}

TEST_F(SettingsMonitorTest, ThousandWritesOfAnotherProcess_TheLastOneArrives) {
  Begin();
  ASSERT_TRUE(Level(first));
  ASSERT_TRUE(monitor->VtmRegisterMaxDebugFileCount(&Subscriber::OnNumber, &other));
  for (const wchar_t* seed : {L"1", L"2", L"3"}) {
    ChildProcess writer(L"config_test_child.exe",
                        {registry.Path() + L"\\" + LoggingKey(), kLevel,
                         registry.Path() + L"\\" + DebugKey(), L"MaxDebugFile Count", seed});
    ASSERT_EQ(writer.ExitCode(), 0);
    const std::string last = writer.Output();
    for (Subscriber* reader : {&first, &other}) {
      unsigned long value = 0;
      do {
        value = reader->Next();
      } while (value != kNothing && std::to_string(value) != last);
      EXPECT_EQ(std::to_string(value), last);
      EXPECT_EQ(reader->Waiting(), 0u);
    }
  }
}

TEST_F(SettingsMonitorTest, Setting_ReadsWritesAndKeepsItsRange) {
  constexpr unsigned long kMost = 0xFFFFFFFF;
  const struct {
    Setting::eKind kind;
    unsigned long minimum, maximum, accepted, refused;
  } rows[] = {
      {Setting::rangeKind, 2, 4, 4, 5},         {Setting::rangeKind, 2, 4, 2, 1},
      {Setting::rangeKind, 4, 2, 0, 3},         {Setting::rangeKind, kMost, kMost, 0, kMost},
      {Setting::rangeKind, 1, kMost, kMost, 0}, {Setting::boolKind, 5, 9, 1, 2}};
  for (const auto& row : rows) {
    Setting setting(HKEY_LOCAL_MACHINE, L"Software\\New", L"v", row.kind, row.minimum, row.maximum);
    unsigned long value = 9;
    EXPECT_FALSE(setting.HasValue());
    EXPECT_EQ(setting.WriteNumber(row.accepted), S_OK);
    EXPECT_EQ(setting.WriteNumber(row.refused), E_FAIL);
    EXPECT_EQ(setting.GetNumber(value), S_OK);
    EXPECT_EQ(value, row.accepted);
    EXPECT_EQ(setting.WriteText(L"1"), E_FAIL);
    Put(L"Software\\New", L"v", row.refused);
    EXPECT_EQ(setting.Read(), S_OK) << "reading asks for no range";
    EXPECT_EQ(setting.GetNumber(value), S_OK);
    EXPECT_EQ(value, row.refused);
  }
  Setting missing(HKEY_LOCAL_MACHINE, L"Software\\Missing", L"v", Setting::dwordKind);
  EXPECT_EQ(missing.Read(), static_cast<long>(0x80070002));
  Setting text(HKEY_LOCAL_MACHINE, L"Software\\New", L"v", Setting::stringKind);
  EXPECT_EQ(text.Read(), E_FAIL);
  EXPECT_EQ(text.WriteText(L"a"), S_OK);
  EXPECT_EQ(StoredValue(L"Software\\New", L"v"), std::string("a\0\0\0", 4));
  EXPECT_EQ(text.AttachNumber(&Subscriber::OnNumber, nullptr), E_FAIL);
}

}  // namespace
