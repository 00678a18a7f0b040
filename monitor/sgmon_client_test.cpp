#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <sddl.h>

#include <atomic>
#include <utility>

#include "config/product_keys.h"
#include "tests/support/child_process.h"
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/monitor.h"
#include "vtclass/product.h"

namespace {

using namespace vtclass::test;
using vtclass::platform::OwnedKernelObject;
using Client = RefPointer<SGMonClient>;

void (*inCallback)();
std::atomic<int> told;  // how often; negative: monitoring is off
void OnMonitoring(bool on) {
  told = on ? std::abs(told) + 1 : -std::abs(told) - 1;
  if (inCallback) inCallback();
}

class SGMonClientTest : public testing::Test {
 protected:
  SGMonClientTest() { told = 0, inCallback = nullptr, MakeKey(L"Software"); }
  ~SGMonClientTest() override {
    CMS_SetProd(0);
    // A client that was dropped in its callback is on its way out, and has the event until then.
    wakeUp.Reset();
    const auto isGone = [] {
      return !OwnedKernelObject(::OpenEventW(SYNCHRONIZE, FALSE, L"Global\\SGMonWakeUp"));
    };
    EXPECT_TRUE(Eventually(isGone)) << "a client stays";
  }
  static Client Make(unsigned long component = SGMonClient::eAgent) {
    return new SGMonClient(static_cast<SGMonClient::eClient>(component), &OnMonitoring);
  }
  // What a client is told in a short life of its own.
  static int Told(unsigned long component = SGMonClient::eAgent) {
    told = 0;
    Make(component)->WaitInitComplete(kLimit);
    return told;
  }
  static void Switch(unsigned long enabled, unsigned long components) {
    StoreValue(vtclass::config::kDebugKey.Path(), L"SGMon Enabled", REG_DWORD, &enabled, 4);
    StoreValue(vtclass::config::kDebugKey.Path(), L"SGMon Components", REG_DWORD, &components, 4);
  }

  PrivateRegistry registry;
  OwnedKernelObject wakeUp{::CreateEventW(nullptr, TRUE, FALSE, L"Global\\SGMonWakeUp")};
};

TEST_F(SGMonClientTest, Switches_DecideForEachComponent_AndAreWrittenAsZeroWhenMissing) {
  const unsigned rows[][4] = {{1, 6, 4, 1}, {1, 6, 1, 0}, {0, 6, 4, 0}, {2, 1, 1, 1}, {1, 2, 3, 1}};
  for (const unsigned long product : {0ul, 1ul}) {
    CMS_SetProd(product);
    EXPECT_EQ(Told(), -1);
    for (const wchar_t* name : {L"SGMon Enabled", L"SGMon Components"}) {
      EXPECT_EQ(StoredValue(vtclass::config::kDebugKey.Path(), name), std::string(4, '\0'));
    }
    for (const auto& [enabled, components, client, on] : rows) {
      Switch(enabled, components);
      EXPECT_EQ(Told(client), on ? 1 : -1) << enabled << components << client;
    }
  }
}

TEST_F(SGMonClientTest, WakeUp_ReachesTheOneClientOfEveryProcess) {
  const std::wstring name = L"vtclass-test-" + std::to_wstring(::GetCurrentProcessId());
  const OwnedKernelObject end(::CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
  ChildProcess one(L"monitor_test_child.exe", {registry.Path(), L"1", name});
  ChildProcess four(L"monitor_test_child.exe", {registry.Path(), L"4", name});
  for (const auto& [components, ofOne, ofFour] :
       {std::tuple(0u, '0', '0'), {6u, '0', '1'}, {1u, '1', '0'}}) {
    Switch(1, components);
    // A client that is between two waits misses a short signal, so it is repeated.
    EXPECT_TRUE(Eventually([&] {
      ::SetEvent(wakeUp.Get()), ::ResetEvent(wakeUp.Get());
      return one.Output().ends_with(ofOne) && four.Output().ends_with(ofFour);
    })) << components;
  }
  ::SetEvent(end.Get());
  EXPECT_EQ(one.ExitCode() + four.ExitCode(), 0);
}

TEST_F(SGMonClientTest, End_SignalsAReplacedShutdownHandle_EvenWhileSomebodyKeepsWaking) {
  const OwnedKernelObject mine(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  Client client = Make();
  client->SetShutdownHandle(mine.Get());
  EXPECT_TRUE(Eventually([&] { return ::SetEvent(wakeUp.Get()), told <= -9; }));
  client = nullptr;
  ::ResetEvent(wakeUp.Get());
  EXPECT_EQ(::WaitForSingleObject(mine.Get(), 0), WAIT_OBJECT_0) << "and is still open";
}

std::atomic<Client*> heldByCallback;
std::atomic<HANDLE> itsEvent;  // null again once it is closed

BOOL WINAPI NoteClosedEvent(HANDLE handle) {
  HANDLE watched = handle;
  itsEvent.compare_exchange_strong(watched, nullptr);
  return ::CloseHandle(handle);
}

TEST_F(SGMonClientTest, Callback_MayThrow_AndMayDropTheLastReference) {
  const ImportHook<decltype(::CloseHandle)> close("KERNEL32.dll", "CloseHandle", &NoteClosedEvent);
  inCallback = [] { throw 1; };
  EXPECT_EQ(Told(), -1);
  inCallback = [] {
    Client* held = nullptr;
    while (!held) held = heldByCallback.exchange(nullptr);
    (*held)->WaitInitComplete(INFINITE);
    itsEvent = (*held)->GetShutdownHandle();
    *held = nullptr;
    // It still lives, for its thread comes back to it, and goes with the thread.
    told = ::WaitForSingleObject(itsEvent, 0) == WAIT_OBJECT_0 ? 77 : 78;
  };
  Client client = Make();
  heldByCallback = &client;
  EXPECT_TRUE(Eventually([] { return told >= 77; }));
  EXPECT_EQ(told, 77);
  EXPECT_TRUE(Eventually([] { return !itsEvent; })) << "the client is left behind";
}

std::atomic<DWORD> paused;  // milliseconds
std::atomic<bool> isTooFast;
void (*inPause)();

// A pause is over at once and counts in full. The client's other waits have no such limit.
DWORD WINAPI PassPause(HANDLE object, DWORD limit) {
  if (limit == 0 || limit >= 1000) return ::WaitForSingleObject(object, limit);
  paused += limit;
  if (inPause) std::exchange(inPause, nullptr)();
  return ::WaitForSingleObject(object, 0);
}

// Each look but the first comes after a twentieth of a second, also the one after a change that was
// signalled in the pause and is signalled no longer.
TEST_F(SGMonClientTest, EventLeftSignalled_CostsTwentyLooksASecond) {
  const ImportHook<decltype(::WaitForSingleObject)> hook("KERNEL32.dll", "WaitForSingleObject",
                                                         &PassPause);
  paused = 0, isTooFast = false;
  inCallback = [] {
    const int looks = std::abs(told);
    if (paused < 50u * static_cast<DWORD>(looks - 1)) isTooFast = true;
    if (looks < 100) return;
    inCallback = nullptr;
    inPause = [] {
      Switch(1, SGMonClient::eAgent);
      const OwnedKernelObject event(
          ::OpenEventW(EVENT_MODIFY_STATE, FALSE, L"Global\\SGMonWakeUp"));
      ::SetEvent(event.Get()), ::ResetEvent(event.Get());
    };
  };
  ::SetEvent(wakeUp.Get());
  const Client client = Make();
  EXPECT_TRUE(Eventually([] { return told == 101; })) << "on";
  EXPECT_FALSE(isTooFast);
}

DWORD refusedRights;

TEST_F(SGMonClientTest, EventOfOthers_NeedsTheRightToWaitOnly) {
  const ImportHook<decltype(::CreateEventW)> create(
      "KERNEL32.dll", "CreateEventW", [](auto attributes, BOOL manual, BOOL state, LPCWSTR name) {
        if (!name) return ::CreateEventW(attributes, manual, state, name);
        return ::SetLastError(ERROR_ACCESS_DENIED), HANDLE{};
      });
  const ImportHook<decltype(::OpenEventW)> open(
      "KERNEL32.dll", "OpenEventW", [](DWORD rights, BOOL inherit, LPCWSTR name) {
        if ((rights & refusedRights) == 0) return ::OpenEventW(rights, inherit, name);
        return ::SetLastError(ERROR_ACCESS_DENIED), HANDLE{};
      });
  refusedRights = ~DWORD{SYNCHRONIZE};
  Client client = Make();
  client->WaitInitComplete(kLimit);
  // Signalled until it has been heard.
  EXPECT_TRUE(Eventually([&] { return ::SetEvent(wakeUp.Get()), told <= -2; })) << "woken";
  ::ResetEvent(wakeUp.Get());
  EXPECT_EQ(client->GetErrorCode(), 0u);
  refusedRights = SYNCHRONIZE;
  client = Make();
  told = 0;
  client->WaitInitComplete(kLimit);
  EXPECT_EQ(client->GetErrorCode(), ERROR_ACCESS_DENIED);
  EXPECT_EQ(told, 0);
}

TEST_F(SGMonClientTest, ForeignObjectOfTheEventsName_IsToldByAStatus) {
  wakeUp.Reset();
  const OwnedKernelObject foreign(::CreateMutexW(nullptr, FALSE, L"Global\\SGMonWakeUp"));
  const Client client = Make();
  client->WaitInitComplete(kLimit);
  EXPECT_EQ(client->GetErrorCode(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(told, 0);
}

std::atomic<bool> isWaitRefused;

// The first wait of the client's thread, after its first call of the callback.
DWORD WINAPI RefuseOneWait(DWORD count, const HANDLE* handles, BOOL all, DWORD limit) {
  if (limit == INFINITE && isWaitRefused.exchange(false)) {
    return ::SetLastError(ERROR_NO_SYSTEM_RESOURCES), WAIT_FAILED;
  }
  return ::WaitForMultipleObjects(count, handles, all, limit);
}

HANDLE threadOver;  // an auto-reset event
std::atomic<DWORD> clientThread;

TEST_F(SGMonClientTest, RefusedWait_EndsTheThread_AndIsToldByItsStatus) {
  const ImportHook<decltype(::WaitForMultipleObjects)> wait(
      "KERNEL32.dll", "WaitForMultipleObjects", &RefuseOneWait);
  const ImportHook<void(HMODULE, DWORD)> exit("KERNEL32.dll", "FreeLibraryAndExitThread",
                                              [](HMODULE library, DWORD code) {
                                                if (::GetCurrentThreadId() == clientThread) {
                                                  ::SetEvent(threadOver);
                                                }
                                                ::FreeLibraryAndExitThread(library, code);
                                              });
  const OwnedKernelObject over(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
  threadOver = over.Get();
  inCallback = [] { clientThread = ::GetCurrentThreadId(); };
  for (const auto& [isRefused, status] : {std::pair(true, 1450ul), {false, 0ul}}) {
    told = 0, isWaitRefused = isRefused;
    const Client client = Make();
    client->WaitInitComplete(kLimit);
    if (!isRefused) ::SetEvent(client->GetShutdownHandle());
    EXPECT_EQ(::WaitForSingleObject(threadOver, kLimit), WAIT_OBJECT_0);
    EXPECT_EQ(client->GetErrorCode(), status);
    EXPECT_EQ(told, -1);
  }
}

int refusedEvent;  // 1 is the next one
std::wstring wakeUpName, accessList;
BOOL isManualReset;

TEST_F(SGMonClientTest, SystemRefuses_NothingHangs) {
  const ImportHook<decltype(::CreateEventW)> events(
      "KERNEL32.dll", "CreateEventW", [](auto attributes, BOOL manual, BOOL state, LPCWSTR name) {
        if (name) {
          wchar_t* text = nullptr;
          ::ConvertSecurityDescriptorToStringSecurityDescriptorW(
              attributes->lpSecurityDescriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text,
              nullptr);
          wakeUpName = name, accessList = text, isManualReset = manual, ::LocalFree(text);
        }
        if (--refusedEvent != 0) return ::CreateEventW(attributes, manual, state, name);
        return ::SetLastError(ERROR_NOT_ENOUGH_MEMORY), HANDLE{};
      });
  // Its own three, and the wake-up event.
  for (const auto& [next, status] : {std::pair(1, 1450ul), {2, 1450ul}, {3, 1450ul}, {4, 8ul}}) {
    refusedEvent = next;
    const Client client = Make();
    client->WaitInitComplete(kLimit);
    EXPECT_EQ(client->GetErrorCode(), status) << next;
    EXPECT_EQ(told, 0) << next;
  }
  EXPECT_EQ(wakeUpName, L"Global\\SGMonWakeUp");
  EXPECT_TRUE(isManualReset) << "one signal reaches every client";
  EXPECT_NE(accessList.find(L"(A;;0x1f0fff;;;WD)"), std::wstring::npos) << "open to everyone";
  const ImportHook<BOOL WINAPI(OSVERSIONINFOW*)> version("KERNEL32.dll", "GetVersionExW",
                                                         [](auto) -> BOOL { return FALSE; });
  EXPECT_EQ(Told(), -1);
  EXPECT_EQ(wakeUpName, L"SGMonWakeUp");
  const ImportHook<decltype(::CreateThread)> heldThread(
      "KERNEL32.dll", "CreateThread", [](auto a, auto b, auto start, auto owner, auto, auto id) {
        return ::CreateThread(a, b, start, owner, CREATE_SUSPENDED, id);
      });
  told = 0;
  Make()->WaitInitComplete(0);
  EXPECT_EQ(told, 0);
  const ImportHook<decltype(::CreateThread)> noThread(
      "KERNEL32.dll", "CreateThread",
      [](auto...) -> HANDLE { return ::SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr; });
  EXPECT_EQ(Make()->GetErrorCode(), ERROR_NOT_ENOUGH_MEMORY);
}

}  // namespace
