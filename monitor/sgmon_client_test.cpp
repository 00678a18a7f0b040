#include <vtclass/win32.h>

#include <aclapi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>

#include "config/product_keys.h"
#include "platform/owned.h"
#include "tests/support/child_process.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/random_name.h"
#include "tests/support/wine.h"
#include "vtclass/monitor.h"
#include "vtclass/product.h"

namespace {

using namespace vtclass::test;
using vtclass::config::DebugKey;
using vtclass::platform::OwnedKernelObject;
using vtclass::platform::OwnedLocalMemory;
using Client = RefPointer<SGMonClient>;

constexpr DWORD kLimit = 20000;
constexpr wchar_t kWakeUp[] = L"Global\\SGMonWakeUp";

void (*inCallback)();
std::atomic<int> told; /* how often; negative: monitoring is off */
void OnMonitoring(bool on) {
  told = on ? std::abs(told) + 1 : -std::abs(told) - 1;
  if (inCallback) inCallback();
}

void Put(const wchar_t* name, unsigned long number) {
  StoreValue(DebugKey(), name, REG_DWORD, &number, sizeof number);
}

OwnedKernelObject WakeUpEvent() {
  return OwnedKernelObject(::OpenEventW(EVENT_MODIFY_STATE | READ_CONTROL, FALSE, kWakeUp));
}

class SGMonClientTest : public testing::Test {
 protected:
  SGMonClientTest() {
    MakeKey(L"Software");
    told = 0;
    inCallback = nullptr;
  }
  ~SGMonClientTest() override { CMS_SetProd(0); }
  static Client Start(unsigned long component = SGMonClient::eDeviceMedia) {
    Client client(new SGMonClient(static_cast<SGMonClient::eClient>(component), &OnMonitoring));
    client->WaitInitComplete(kLimit);
    return client;
  }
  PrivateRegistry registry;
};

TEST_F(SGMonClientTest, MissingSwitches_AreWrittenAsZero_InTheSelectedProduct) {
  for (const unsigned long product : {0ul, 1ul}) {
    CMS_SetProd(product);
    told = 0;
    Start();
    EXPECT_EQ(told, -1);
    for (const wchar_t* name : {L"SGMon Enabled", L"SGMon Components"}) {
      EXPECT_EQ(StoredValue(DebugKey(), name), std::string(4, '\0'));
    }
  }
}

TEST_F(SGMonClientTest, Switches_DecideForEachComponent) {
  const struct {
    unsigned long enabled, components, client;
    bool on;
  } rows[] = {
      {1, 6, 4, true}, {1, 6, 1, false}, {0, 6, 4, false}, {2, 1, 1, true}, {1, 2, 3, true}};
  for (const auto& row : rows) {
    Put(L"SGMon Enabled", row.enabled);
    Put(L"SGMon Components", row.components);
    told = 0;
    Start(row.client);
    EXPECT_EQ(told, row.on ? 1 : -1) << row.enabled << row.components << row.client;
  }
}

TEST_F(SGMonClientTest, WakeUp_ReachesEveryProcess) {
  const std::wstring name = L"vtclass-test-" + RandomName();
  const OwnedKernelObject end(::CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
  ChildProcess one(L"monitor_test_child.exe", {registry.Path(), L"1", name});
  ChildProcess four(L"monitor_test_child.exe", {registry.Path(), L"4", name});
  // A client that is between two waits misses a short signal, so it is repeated.
  const auto wakeUntil = [&](char ofOne, char ofFour) {
    for (int i = 0; i < 1000; ++i) {
      const std::string first = one.Output(), second = four.Output();
      if (!first.empty() && !second.empty() && first.back() == ofOne && second.back() == ofFour) {
        return true;
      }
      if (const OwnedKernelObject wakeUp = WakeUpEvent()) {
        ::SetEvent(wakeUp.Get());
        ::ResetEvent(wakeUp.Get());
      }
      ::Sleep(20);
    }
    return false;
  };
  EXPECT_TRUE(wakeUntil('0', '0'));
  Put(L"SGMon Enabled", 1);
  Put(L"SGMon Components", 6);
  EXPECT_TRUE(wakeUntil('0', '1'));
  Put(L"SGMon Components", 1);
  EXPECT_TRUE(wakeUntil('1', '0'));
  ::SetEvent(end.Get());
  EXPECT_EQ(one.ExitCode() + four.ExitCode(), 0);
}

TEST_F(SGMonClientTest, WakeUpLeftSignalled_StillEnds) {
  Client client = Start();
  const OwnedKernelObject wakeUp = WakeUpEvent();
  ASSERT_TRUE(wakeUp);
  ::SetEvent(wakeUp.Get());
  for (int i = 0; i < 2000 && std::abs(told) < 5; ++i) ::Sleep(1);
  client = nullptr;
  ::ResetEvent(wakeUp.Get());
  EXPECT_LE(told, -5);
}

TEST_F(SGMonClientTest, WakeUpEvent_IsOpenToEveryone) {
  const Client client = Start();
  const OwnedKernelObject wakeUp = WakeUpEvent();
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_EQ(::GetSecurityInfo(wakeUp.Get(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                              nullptr, &list, nullptr, &descriptor),
            static_cast<DWORD>(ERROR_SUCCESS));
  const OwnedLocalMemory owner(descriptor);
  bool found = false;
  for (WORD i = 0; i < list->AceCount; ++i) {
    ACCESS_ALLOWED_ACE* entry = nullptr;
    ::GetAce(list, i, reinterpret_cast<void**>(&entry));
    if (::IsWellKnownSid(&entry->SidStart, WinWorldSid)) found = entry->Mask == 0x1F0FFF;
  }
  EXPECT_TRUE(found);
}

TEST_F(SGMonClientTest, Shutdown_ReplacedHandle_StaysTheCallers) {
  const OwnedKernelObject mine(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  {
    const Client client = Start();
    client->SetShutdownHandle(mine.Get());
  }
  EXPECT_EQ(::WaitForSingleObject(mine.Get(), 0), static_cast<DWORD>(WAIT_OBJECT_0));
}

Client* heldByCallback;
HANDLE holdsCallback;
TEST_F(SGMonClientTest, Callback_MayThrow_AndMayDropTheLastReference) {
  inCallback = [] { throw std::runtime_error("meant"); };
  Start();
  EXPECT_EQ(told, -1);
  // The client's thread is watched past the client, which it deletes.
  const OwnedKernelObject go(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  holdsCallback = go.Get();
  inCallback = [] {
    ::WaitForSingleObject(holdsCallback, kLimit);
    (*heldByCallback)->WaitInitComplete(INFINITE);
    *heldByCallback = nullptr;
    told = 77;
  };
  Client client(new SGMonClient(SGMonClient::eAgent, &OnMonitoring));
  HANDLE shutdown = nullptr;
  ASSERT_TRUE(::DuplicateHandle(::GetCurrentProcess(), client->GetShutdownHandle(),
                                ::GetCurrentProcess(), &shutdown, 0, FALSE, DUPLICATE_SAME_ACCESS));
  const OwnedKernelObject owner(shutdown);
  heldByCallback = &client;
  ::SetEvent(go.Get());
  EXPECT_EQ(::WaitForSingleObject(shutdown, kLimit), static_cast<DWORD>(WAIT_OBJECT_0));
  for (int i = 0; i < 1000 && told != 77; ++i) ::Sleep(1);
  EXPECT_EQ(told, 77);
}

HANDLE WINAPI RefuseThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE, LPVOID, DWORD,
                           LPDWORD) {
  return nullptr;
}
HANDLE WINAPI HeldThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stack,
                         LPTHREAD_START_ROUTINE start, LPVOID context, DWORD, LPDWORD id) {
  return ::CreateThread(attributes, stack, start, context, CREATE_SUSPENDED, id);
}
int refusedEvent; /* 1 is the next one */
std::wstring wakeUpName;
HANDLE WINAPI RefuseEvent(LPSECURITY_ATTRIBUTES attributes, BOOL manual, BOOL state, LPCWSTR name) {
  if (name) wakeUpName = name;
  return --refusedEvent == 0 ? nullptr : ::CreateEventW(attributes, manual, state, name);
}
BOOL WINAPI OldVersion(LPOSVERSIONINFOW version) {
  version->dwMajorVersion = 4;
  return TRUE;
}

TEST_F(SGMonClientTest, SystemRefuses_NothingHangs) {
  for (const auto replacement : {&RefuseThread, &HeldThread}) {
    const ImportHook<decltype(::CreateThread)> hook("KERNEL32.dll", "CreateThread", replacement);
    const Client client(new SGMonClient(SGMonClient::eAgent, &OnMonitoring));
    client->WaitInitComplete(0);
    EXPECT_EQ(told, 0);
  }
  const ImportHook<decltype(::CreateEventW)> hook("KERNEL32.dll", "CreateEventW", &RefuseEvent);
  for (int n = 1; n <= 4; ++n) {
    refusedEvent = n;
    Start();
  }
  EXPECT_EQ(wakeUpName, kWakeUp);
  const ImportHook<decltype(::GetVersionExW)> old("KERNEL32.dll", "GetVersionExW", &OldVersion);
  Start();
  EXPECT_EQ(wakeUpName, L"SGMonWakeUp");
}

}  // namespace
