#include "vtclass/settings_monitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

#include "config/product_keys.h"
#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/product.h"

namespace {

using namespace vtclass::test;
using vtclass::config::kDebugKey;
using vtclass::config::kLoggingKey;

constexpr wchar_t kLevel[] = L"Engine NDMP Debug Level";

// A monitor of the test's own, with everything that derived classes may use.
struct TestMonitor : SettingsMonitor {
  TestMonitor() = default;
  ~TestMonitor() override = default;
  using SettingsMonitor::AddBoolSetting, SettingsMonitor::AddDWORDSetting,
      SettingsMonitor::AddNumberSetting, SettingsMonitor::AddRangeSetting,
      SettingsMonitor::AddSetting, SettingsMonitor::AddStringSetting;
};

// What the callbacks of one registration bring; `work` runs inside them.
struct Subscriber {
  static long OnNumber(unsigned long value, void* context) {
    return OnText(std::to_wstring(value).c_str(), context);
  }
  static long OnText(const wchar_t* value, void* context) {
    auto* const self = static_cast<Subscriber*>(context);
    {
      const std::lock_guard hold(self->lock);
      self->values.emplace_back(value);
    }
    ::ReleaseSemaphore(self->arrived.Get(), 1, nullptr);
    if (self->work) self->work();
    return 7;
  }
  // The next value, a number as text too; "none" when none comes.
  std::wstring Next(DWORD limit = kLimit) {
    if (::WaitForSingleObject(arrived.Get(), limit) != WAIT_OBJECT_0) return L"none";
    const std::lock_guard hold(lock);
    const std::wstring value = values.front();
    values.pop_front();
    return value;
  }

  std::function<void()> work;
  std::mutex lock;
  std::deque<std::wstring> values;
  vtclass::platform::OwnedKernelObject arrived{::CreateSemaphoreW(nullptr, 0, 9999, nullptr)};
};

void Put(const std::wstring& key, const std::wstring& name, unsigned long number) {
  StoreValue(key, name, REG_DWORD, &number, sizeof number);
}
void PutLevel(unsigned long level) { Put(kLoggingKey.Path(), kLevel, level); }

// Where the library asks the system for a signal, and what the test does in that moment.
std::function<void()> beforeArming, beforeArmingAbove;
std::atomic<HANDLE> loggingEvent, debugEvent;
std::atomic<int> refusals;  // how many requests are refused from now on
HANDLE armedAbove;          // a semaphore: requests for the coming of a missing key
using ArmHook = ImportHook<decltype(::RegNotifyChangeKeyValue)>;
LSTATUS WINAPI Arm(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous) {
  if (!loggingEvent) {
    loggingEvent = event;
  } else if (event != loggingEvent) {
    debugEvent = event;
  }
  if (beforeArming) std::exchange(beforeArming, nullptr)();
  if (refusals > 0) return --refusals, ERROR_NO_SYSTEM_RESOURCES;
  if (beforeArmingAbove && !subtree) std::exchange(beforeArmingAbove, nullptr)();
  if (armedAbove && !subtree) ::ReleaseSemaphore(armedAbove, 1, nullptr);
  return ::RegNotifyChangeKeyValue(key, subtree, filter, event, asynchronous);
}

class SettingsMonitorTest : public testing::Test {
 protected:
  SettingsMonitorTest() {
    MakeKey(kLoggingKey.Path()), MakeKey(kDebugKey.Path());
    loggingEvent = debugEvent = armedAbove = nullptr;
    refusals = 0;
  }
  ~SettingsMonitorTest() override { CMS_SetProd(0); }

  void Begin() {
    monitor = std::make_unique<TestMonitor>();
    Fence();
  }
  const void* Fence() {
    return monitor->AddDWORDSetting(kLoggingKey.Path(), L"fence", &Subscriber::OnNumber, &fence);
  }
  // Every change of the logging key made before has been looked at by all registrations when this
  // returns: the second change is found by a later look than the first, which is over by then.
  void Settle() {
    for (int i = 0; i < 2; ++i) {
      Put(kLoggingKey.Path(), L"fence", ++fenceValue);
      ASSERT_EQ(fence.Next(), std::to_wstring(fenceValue));
    }
  }
  const void* Level(Subscriber& reader) {
    return monitor->EngineRegisterDebugLevel(&Subscriber::OnNumber, &reader);
  }

  PrivateRegistry registry;
  Subscriber fence, first, other;
  unsigned long fenceValue = 0;
  std::unique_ptr<TestMonitor> monitor;
};

TEST_F(SettingsMonitorTest, Level_ChangesCallWhateverTheRange_AndNothingElseCalls) {
  PutLevel(1);
  Begin();
  ASSERT_TRUE(Level(first));
  for (const unsigned value : {2u, 2u, 5u}) PutLevel(value), Settle();
  StoreValue(kLoggingKey.Path(), kLevel, REG_SZ, L"6", 4), Settle();
  ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kLoggingKey.Path(), kLevel), Settle();
  PutLevel(5), Settle();
  Put(std::wstring(kLoggingKey.Path()) + L"\\Below", kLevel, 3), Put(kDebugKey.Path(), kLevel, 3),
      Settle();
  PutLevel(0), Settle();
  for (const wchar_t* expected : {L"2", L"5", L"0", L"none"}) EXPECT_EQ(first.Next(0), expected);
}

TEST_F(SettingsMonitorTest, Subscribers_AreToldInTheOrderOfTheirRegistration) {
  Begin();
  std::vector<Setting*> settings(8);
  for (Setting*& setting : settings) {
    setting = new Setting(HKEY_LOCAL_MACHINE, kLoggingKey.Path(), kLevel, Setting::dwordKind);
  }
  // Any other order would be that of the addresses, up or down.
  std::ranges::sort(settings);
  std::ranges::rotate(settings, settings.begin() + 3);
  std::deque<std::pair<std::vector<Setting*>*, Setting*>> places;
  std::vector<Setting*> told;
  for (Setting* const setting : settings) {
    places.emplace_back(&told, setting);
    setting->AttachNumber(
        [](unsigned long, void* context) {
          const auto& [order, one] = *static_cast<decltype(places)::value_type*>(context);
          order->push_back(one);
          return 0L;
        },
        &places.back());
    ASSERT_TRUE(monitor->RegisterSetting(setting));
  }
  PutLevel(2), Settle();
  EXPECT_EQ(told, settings);
}

TEST_F(SettingsMonitorTest, OtherKinds_CompareTextAndDerivedLevel) {
  Begin();
  ASSERT_TRUE(monitor->VtmRegisterLogPath(&Subscriber::OnText, &first));
  ASSERT_TRUE(monitor->VtmRegisterDebugLevel(&Subscriber::OnNumber, &other));
  // Of the masks only a new level is told; 9 and 11 stand for the levels 1, as 0 does, and 2.
  const struct {
    const wchar_t* text;
    unsigned long mask;
    bool isTextTold;
  } rows[] = {
      {L"C:\\a", 9, true}, {L"C:\\a", 11, false}, {L"c:\\A", 3, true}, {L"c:\\A", 15, false}};
  for (const auto& row : rows) {
    StoreValue(kDebugKey.Path(), L"Path", REG_SZ, row.text, 10);
    Put(kDebugKey.Path(), L"VTMSDKLevel", row.mask);
    EXPECT_EQ(row.isTextTold ? first.Next() : other.Next(),
              row.isTextTold ? row.text : std::to_wstring(row.mask));
  }
  EXPECT_EQ(first.Next(0) + other.Next(0), L"nonenone");
}

TEST_F(SettingsMonitorTest, EveryRegistration_FollowsItsValue_OfTheSelectedProduct) {
  using M = SettingsMonitor;
  const struct {
    M::eMonitored number;
    const void* (M::*operation)(M::NumberCallback, void*);
    const wchar_t* name;
  } rows[] = {
      {M::createDebugLog, &M::RegisterCreateDebugLog, L"CreateDebugLog"},
      {M::koltDebugLevel, &M::KoltRegisterDebugLevel, L"KNTA NDMP Debug Level"},
      {M::engineDebugLevel, &M::EngineRegisterDebugLevel, L"Engine NDMP Debug Level"},
      {M::maxDebugFileEnabled, &M::RegisterMaxDebugFileEnabled, L"MaxDebugFile Enabled"},
      {M::maxDebugFileSize, &M::RegisterMaxDebugFileSize, L"MaxDebugFile Size In MB"},
      {M::maxRetention, &M::RegisterMaxRetention, L"MaxDebugFile Retention Size In MB"},
      {M::maxDebugFileCount, &M::RegisterMaxDebugFileCount, L"MaxDebugFile Count"},
      {M::maxDebugFileLimitMode, &M::RegisterMaxDebugFileLimitMode, L"MaxDebugFile LimitMode"},
      {M::maxDebugFileAppend, &M::RegisterMaxDebugFileAppend, L"MaxDebugFile Append"},
      {M::vtmCreateDebugLog, &M::VtmRegisterCreateDebugLog, L"VTMSDKLog"},
      {M::vtmMaxDebugFileEnabled, &M::VtmRegisterMaxDebugFileEnabled, L"MaxDebugFile Enabled"},
      {M::vtmMaxDebugFileSize, &M::VtmRegisterMaxDebugFileSize, L"MaxDebugFile Size In MB"},
      {M::vtmMaxDebugFileCount, &M::VtmRegisterMaxDebugFileCount, L"MaxDebugFile Count"},
      {M::vtmLogPath, nullptr, L"Path"},  // the one text
      {M::vtmMaxDebugFileRetentionSize, &M::VtmRegisterMaxDebugFileRetentionSize,
       L"MaxDebugFile Retention Size In MB"},
      {M::vtmLogLimitMode, &M::VtmRegisterLogLimitMode, L"MaxDebugFile LimitMode"},
      {M::vtmDebugLevel, &M::VtmRegisterDebugLevel, L"VTMSDKLevel"}};
  for (const unsigned long product : {0ul, 1ul}) {
    CMS_SetProd(product);
    Begin();
    for (const auto& row : rows) {
      MonitoredValue value = {};
      ASSERT_TRUE(M::GetMonitoredValue(row.number, value));
      EXPECT_EQ(value.name, std::wstring(row.name));
      if (!row.operation) continue;
      ASSERT_TRUE((*monitor.*row.operation)(&Subscriber::OnNumber, &first));
      Put(value.key, value.name, 2);
      if (CMS_GetProd() == 1 && value.kind == Setting::sdkDebugLevelKind) {
        Settle();
        EXPECT_EQ(first.Next(0), L"none") << "its key is not the watched one";
      } else {
        EXPECT_EQ(first.Next(), L"2") << row.number;
      }
    }
    monitor.reset();
  }
  MonitoredValue size = {};
  EXPECT_TRUE(M::GetMonitoredValue(M::maxDebugFileSize, size));
  EXPECT_EQ(size.ifMissing, 4U);
  MonitoredValue untouched = {};
  EXPECT_FALSE(M::GetMonitoredValue(std::size(rows), untouched));
  EXPECT_FALSE(untouched.name);
}

TEST_F(SettingsMonitorTest, BadInput_IsRefused) {
  monitor = std::make_unique<TestMonitor>();
  const auto number = &Subscriber::OnNumber;
  for (const void* const refused : {monitor->AddDWORDSetting(nullptr, L"v", number, nullptr),
                                    monitor->AddBoolSetting(L"k", nullptr, number, nullptr),
                                    monitor->AddStringSetting(L"k", L"v", nullptr, nullptr),
                                    monitor->AddRangeSetting(L"k", L"v", 2, 2, number, nullptr),
                                    monitor->AddRangeSetting(L"k", L"v", 0, 0, number, nullptr),
                                    monitor->RegisterSetting(nullptr)}) {
    EXPECT_FALSE(refused);
  }
  const void* cookie = monitor.get();
  for (const auto kind : {Setting::defaultNumberKind, Setting::expandStringKind}) {
    Setting setting(HKEY_LOCAL_MACHINE, kLoggingKey.Path(), L"v", kind);
    EXPECT_EQ(monitor->AddSetting(&setting, cookie), E_NOTIMPL);
    EXPECT_FALSE(cookie);
  }
  auto* text = new Setting(HKEY_LOCAL_MACHINE, kLoggingKey.Path(), L"v", Setting::stringKind);
  EXPECT_EQ(monitor->AddNumberSetting(&text, number, nullptr, cookie), E_FAIL);
  EXPECT_FALSE(text) << "destroyed";
  EXPECT_EQ(monitor->UnRegisterSetting(this), E_INVALIDARG) << "nothing is registered";
  cookie = Fence();
  EXPECT_EQ(monitor->UnRegisterSetting(nullptr), E_INVALIDARG);
  EXPECT_EQ(monitor->UnRegisterSetting(this), E_FAIL);
  EXPECT_EQ(monitor->UnRegisterSetting(cookie), S_OK);
}

TEST_F(SettingsMonitorTest, Callback_MayDoWhatTheHeaderSays) {
  PutLevel(0);
  Begin();
  const void *cookie = nullptr, *otherCookie = nullptr;
  const std::function<void()> works[] = {
      [&] { EXPECT_EQ(monitor->UnRegisterSetting(cookie), S_OK); },
      [&] { EXPECT_EQ(monitor->UnRegisterSetting(otherCookie), S_OK); },
      // Until the new setting lives where the removed one did, if the heap gives it back at all.
      [&] {
        monitor->UnRegisterSetting(cookie);
        for (int i = 0; i < 100 && Level(other) != cookie; ++i) continue;
      },
      [&] { monitor->RemoveAllSettings(); }, [] { throw std::runtime_error("meant"); },
      [&] { EXPECT_EQ(monitor->Stop(), HRESULT_FROM_WIN32(ERROR_POSSIBLE_DEADLOCK)); },
      [] { ::Sleep(1500); }};
  unsigned long value = 0;
  for (const auto& work : works) {
    first.work = work;
    cookie = Level(first);
    otherCookie = Level(other);
    PutLevel(++value);
    EXPECT_EQ(first.Next(), std::to_wstring(value));
    monitor->RemoveAllSettings();  // waits for the callback
    Fence();
    Settle();
  }
}

TEST_F(SettingsMonitorTest, DestroyInstance_InsideACallback_IsRefused) {
  SettingsMonitor* const instance = SettingsMonitor::GetInstance();
  first.work = [] { SettingsMonitor::DestroyInstance(); };
  ASSERT_TRUE(instance->EngineRegisterDebugLevel(&Subscriber::OnNumber, &first));
  PutLevel(1);
  EXPECT_EQ(first.Next(), L"1");
  EXPECT_EQ(instance->Stop(), S_OK) << "waits for the callback";
  EXPECT_EQ(SettingsMonitor::GetInstance(), instance);
  for (int i = 0; i < 2; ++i) SettingsMonitor::DestroyInstance();
}

TEST_F(SettingsMonitorTest, ChangeWhileStopped_ArrivesAfterStart) {
  Begin();
  ASSERT_TRUE(Level(first));
  for (unsigned long value = 1; value < 4; ++value) {
    EXPECT_EQ(monitor->Start(), E_INVALIDARG);
    EXPECT_EQ(monitor->Stop() + monitor->Stop(), S_OK);
    PutLevel(value);
    EXPECT_EQ(monitor->Start(), S_OK);
    EXPECT_EQ(first.Next(), std::to_wstring(value));
  }
}

// The monitor is made after the changes, and so looks at nothing of its own accord.
TEST_F(SettingsMonitorTest, SettingOfTheCaller_ChangedSinceItWasRead_IsTold) {
  auto* const setting =
      new Setting(HKEY_LOCAL_MACHINE, kLoggingKey.Path(), kLevel, Setting::dwordKind);
  PutLevel(1);
  EXPECT_EQ(setting->Read(), S_OK);
  setting->AttachNumber(&Subscriber::OnNumber, &first);
  PutLevel(2);
  monitor = std::make_unique<TestMonitor>();
  EXPECT_EQ(monitor->RegisterSetting(setting), setting);
  EXPECT_EQ(first.Next(), L"2");
}

// Another change comes before the next signal is asked for; a signal comes without a change, as
// when the thread that asked for it ends.
TEST_F(SettingsMonitorTest, NothingIsLost_BetweenReadingAndArming) {
  const ArmHook hook("ADVAPI32.dll", "RegNotifyChangeKeyValue", &Arm);
  Begin();
  ASSERT_TRUE(Level(first));
  beforeArming = [] { PutLevel(2); };
  PutLevel(1);
  EXPECT_EQ(first.Next(), L"1");
  EXPECT_EQ(first.Next(), L"2");
  ::SetEvent(loggingEvent);
  Settle();
}

// Not every system signals that the watched key itself is deleted. That nothing is made again is
// known once the coming of the missing key is waited for.
TEST_F(SettingsMonitorTest, DeletedKey_IsNotMadeAgain_AndFollowedWhenSomebodyMakesIt) {
  const ArmHook hook("ADVAPI32.dll", "RegNotifyChangeKeyValue", &Arm);
  const vtclass::platform::OwnedKernelObject above(::CreateSemaphoreW(nullptr, 0, 9999, nullptr));
  armedAbove = above.Get();
  Begin();
  ASSERT_TRUE(Level(first));
  ASSERT_TRUE(monitor->VtmRegisterMaxDebugFileCount(&Subscriber::OnNumber, &other));
  unsigned long value = 0;
  for (const wchar_t* made :
       {kLoggingKey.Path(), L"Software\\Norvane\\Vantorel For Windows", L"Software"}) {
    // From the key up to the root, a key at a time.
    for (std::wstring key = kLoggingKey.Path();; key.resize(key.rfind(L'\\'))) {
      ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str());
      ::SetEvent(loggingEvent), ::SetEvent(debugEvent);
      ASSERT_EQ(::WaitForSingleObject(above.Get(), kLimit), WAIT_OBJECT_0) << value;
      EXPECT_FALSE(KeyExists(key));
      if (key == L"Software") break;
    }
    MakeKey(made);
    PutLevel(++value);
    EXPECT_EQ(first.Next(), std::to_wstring(value));
    Put(kDebugKey.Path(), L"MaxDebugFile Count", value);
    EXPECT_EQ(other.Next(), std::to_wstring(value));
    Settle();
  }
  // It is back before its coming is waited for.
  beforeArmingAbove = [] { PutLevel(99); };
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kLoggingKey.Path());
  ::SetEvent(loggingEvent);
  EXPECT_EQ(first.Next(), L"99");
  Settle();
}

// A clock that stands still but for the pauses, which are over at once; in each, `inPause` runs.
class Pauses : public SettingsMonitorTest {
 protected:
  Pauses() { pauses.clear(), lines.clear(), inPause = nullptr; }

  static void ExpectGrowing(std::vector<DWORD> behind) {
    std::vector<DWORD> expected = {100,  200,   400,   800,   1600, 3200,
                                   6400, 12800, 25600, 51200, 60000};
    expected.insert(expected.end(), behind.begin(), behind.end());
    EXPECT_EQ(pauses, expected);
    for (const std::wstring& line : lines) {
      EXPECT_NE(line.find(kLoggingKey.Path()), std::wstring::npos);
      EXPECT_EQ(line.find(L'\n'), line.size() - 1);
    }
  }

  static inline std::vector<DWORD> pauses;
  static inline std::vector<std::wstring> lines;
  static inline std::function<void()> inPause;

 private:
  static inline ULONGLONG now = 0;
  static DWORD WINAPI Wait(DWORD count, const HANDLE* handles, BOOL all, DWORD limit) {
    if (limit == INFINITE) return ::WaitForMultipleObjects(count, handles, all, limit);
    const DWORD result = ::WaitForMultipleObjects(count, handles, all, 0);
    if (result != WAIT_TIMEOUT) return result;
    pauses.push_back(limit), now += limit;
    if (inPause) inPause();
    return result;
  }
  const ImportHook<decltype(::GetTickCount64)> clock{"KERNEL32.dll", "GetTickCount64",
                                                     [] { return now; }};
  const ImportHook<decltype(Wait)> wait{"KERNEL32.dll", "WaitForMultipleObjects", &Wait};
  const ImportHook<decltype(::OutputDebugStringW)> output{
      "KERNEL32.dll", "OutputDebugStringW", [](LPCWSTR line) { lines.emplace_back(line); }};
};

TEST_F(Pauses, RefusedSignals_AreAskedForAfterGrowingPauses_AndToldOnce) {
  const ArmHook arm("ADVAPI32.dll", "RegNotifyChangeKeyValue", &Arm);
  // The level goes up in each, which nobody else changes.
  inPause = [played = 0ul]() mutable { PutLevel(++played); };
  Begin();
  ASSERT_TRUE(Level(first));
  // The key in hand, then the key opened anew; after the first pause the latter alone.
  unsigned long level = 0;
  for (const auto& [refused, lastLevel] : {std::pair(2 + 11, 12ul), {2, 13ul}}) {
    beforeArming = [count = refused] { refusals = count; };
    Put(kLoggingKey.Path(), L"nobody's", lastLevel);
    while (level < lastLevel) EXPECT_EQ(first.Next(), std::to_wstring(++level));
    Settle();
  }
  ExpectGrowing({60000, 100});
  EXPECT_EQ(lines.size(), 2u) << "once a trouble";
  monitor.reset();
}

// No signal comes after the last change: it can only be found by reading again.
TEST_F(Pauses, RefusedReads_AreMadeAgainAfterGrowingPauses_AndToldOnce) {
  static LSTATUS refusedRead, refusedOpen;  // what the system answers until the eleventh pause
  const ImportHook<decltype(::RegQueryValueExW)> read(
      "ADVAPI32.dll", "RegQueryValueExW", [](HKEY key, LPCWSTR name, auto... rest) -> LSTATUS {
        const bool isRefused = pauses.size() < 11 && std::wcscmp(name, kLevel) == 0;
        return refusedRead && isRefused ? refusedRead : ::RegQueryValueExW(key, name, rest...);
      });
  const ImportHook<decltype(::RegOpenKeyExW)> open(
      "ADVAPI32.dll", "RegOpenKeyExW",
      [](HKEY root, LPCWSTR path, DWORD options, REGSAM rights, PHKEY key) -> LSTATUS {
        const bool isRefused = pauses.size() < 11 && (rights & KEY_SET_VALUE);
        return refusedOpen && isRefused ? refusedOpen
                                        : ::RegOpenKeyExW(root, path, options, rights, key);
      });
  unsigned long level = 0;
  for (const auto& [ofRead, ofOpen] :
       {std::pair<LSTATUS, LSTATUS>(ERROR_NO_SYSTEM_RESOURCES, 0), {0, ERROR_ACCESS_DENIED}}) {
    Begin();
    ASSERT_TRUE(Level(first));
    monitor->Stop();
    pauses.clear(), lines.clear(), refusedRead = ofRead, refusedOpen = ofOpen;
    PutLevel(++level);
    monitor->Start();
    EXPECT_EQ(first.Next(), std::to_wstring(level));
    Settle();
    monitor.reset();
    ExpectGrowing({});
    EXPECT_EQ(lines.size(), 1u);
  }
}

std::atomic<int> waitsToRefuse;
HANDLE refusedAWait;  // a semaphore

// Fifty waits: five seconds of pauses, unless the stop comes through.
TEST_F(SettingsMonitorTest, RefusedWaits_DoNotHoldUpTheStop) {
  const ImportHook<decltype(::WaitForMultipleObjects)> wait(
      "KERNEL32.dll", "WaitForMultipleObjects", [](auto... all) -> DWORD {
        if (waitsToRefuse <= 0) return ::WaitForMultipleObjects(all...);
        --waitsToRefuse, ::ReleaseSemaphore(refusedAWait, 1, nullptr);
        return ::SetLastError(ERROR_NO_SYSTEM_RESOURCES), WAIT_FAILED;
      });
  const vtclass::platform::OwnedKernelObject refused(::CreateSemaphoreW(nullptr, 0, 99, nullptr));
  refusedAWait = refused.Get();
  Begin();
  waitsToRefuse = 50;
  Put(kLoggingKey.Path(), L"fence", 1);  // ends the wait in hand
  EXPECT_EQ(::WaitForSingleObject(refused.Get(), kLimit), WAIT_OBJECT_0);
  EXPECT_EQ(monitor->Stop(), S_OK);
  EXPECT_GT(waitsToRefuse.exchange(0), 0);
}

TEST_F(SettingsMonitorTest, Construction_SystemRefuses_LeavesAMonitorThatCanBeDestroyed) {
  {
    const ImportHook<decltype(::RegCreateKeyExW)> hook(
        "ADVAPI32.dll", "RegCreateKeyExW", [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    EXPECT_TRUE(TestMonitor().EngineRegisterDebugLevel(&Subscriber::OnNumber, &first));
  }
  {
    const ImportHook<decltype(::CreateEventW)> hook("KERNEL32.dll", "CreateEventW",
                                                    [](auto...) -> HANDLE { return nullptr; });
    EXPECT_EQ(TestMonitor().Start(), E_FAIL);
  }
  const ImportHook<decltype(::CreateThread)> hook(
      "KERNEL32.dll", "CreateThread",
      [](auto...) -> HANDLE { return ::SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr; });
  EXPECT_EQ(TestMonitor().Start(), static_cast<long>(0x80070008));
}

TEST_F(SettingsMonitorTest, MemoryRunsOut_RegistersAllOrNothing_AndDeliversLater) {
  Begin();
  const void* cookie = nullptr;
  TryEachAllocation([&] { cookie = monitor->VtmRegisterLogPath(&Subscriber::OnText, &first); },
                    [&](bool failed) { EXPECT_EQ(cookie == nullptr, failed); });
  for (long n = 1; n < 6; ++n) {
    const std::wstring text = L"C:\\a folder with a long name " + std::to_wstring(n);
    Allocations allocations;
    allocations.FailAt(n);
    StoreValue(kDebugKey.Path(), L"Path", REG_SZ, text.c_str(),
               static_cast<DWORD>(text.size() * 2 + 2));
    ASSERT_EQ(first.Next(), text) << n;
  }
}

// The look after the arming fails, for it has one setting more to note than the look before.
TEST_F(SettingsMonitorTest, MemoryRunsOutForTheLastLook_ItIsMadeLater) {
  const ArmHook hook("ADVAPI32.dll", "RegNotifyChangeKeyValue", &Arm);
  Begin();
  ASSERT_TRUE(Level(first));
  Allocations allocations;
  beforeArming = [&] {
    Level(other);
    PutLevel(2);
    allocations.FailAt(1);
  };
  PutLevel(1);
  EXPECT_EQ(first.Next(), L"1");
  EXPECT_EQ(first.Next(), L"2");
  EXPECT_TRUE(allocations.Failed());
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
    EXPECT_EQ(setting.WriteText(L"1"), E_FAIL);
    EXPECT_EQ(setting.GetNumber(value), S_OK);
    EXPECT_EQ(value, row.accepted);
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
