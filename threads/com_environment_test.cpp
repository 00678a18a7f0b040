#include "vtclass/com_environment.h"

#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <objbase.h>

#include <bit>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/answered_look_ups.h"
#include "tests/support/import_hook.h"
#include "tests/support/thread_calls.h"

namespace vtclass::test {
namespace {

// What the DLL binds at run time goes through these. The hook stands before the first look-up and
// as long as the program runs: the DLL keeps the addresses that it got.
int spinCountLookUps = 0;
bool noCoInitializeEx = false;
int uninitialized = 0;
std::vector<DWORD> security;
HRESULT securityResult = S_OK;
std::string pumped;              // D: a dispatch ran dry, W: a wait for messages and its time
std::vector<DWORD> waitResults;  // of the next waits; real ones without

void WINAPI CountUninitialize() { ++uninitialized, ::CoUninitialize(); }

HRESULT WINAPI KeepSecurity(PSECURITY_DESCRIPTOR descriptor, LONG count,
                            SOLE_AUTHENTICATION_SERVICE* services, void* reserved1, DWORD level,
                            DWORD impersonation, void* list, DWORD capabilities, void* reserved3) {
  const bool anyPointer = descriptor || services || reserved1 || list || reserved3;
  security = {anyPointer, static_cast<DWORD>(count), level, impersonation, capabilities};
  return securityResult;
}

BOOL WINAPI CountPeek(LPMSG message, HWND window, UINT first, UINT last, UINT remove) {
  const BOOL found = ::PeekMessageW(message, window, first, last, remove);
  if (!found) pumped += 'D';
  return found;
}

DWORD WINAPI ScriptedWait(DWORD count, const HANDLE* handles, BOOL all, DWORD timeout, DWORD mask) {
  pumped += 'W' + (timeout == INFINITE ? "" : std::to_string(timeout));
  EXPECT_EQ(mask, 0xFFu);
  if (waitResults.empty()) return ::MsgWaitForMultipleObjects(count, handles, all, timeout, mask);
  const DWORD result = waitResults.front();
  waitResults.erase(waitResults.begin());
  return result;
}

// Each look at the clock, which wraps around at the second, is 10 milliseconds after the one
// before.
DWORD ticks = 0;
DWORD WINAPI CountTicks() { return ticks += 10; }

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  const std::string wanted = name;
  if (wanted == "CoUninitialize") return std::bit_cast<FARPROC>(&CountUninitialize);
  if (wanted == "CoInitializeSecurity") return std::bit_cast<FARPROC>(&KeepSecurity);
  if (wanted == "PeekMessageW") return std::bit_cast<FARPROC>(&CountPeek);
  if (wanted == "MsgWaitForMultipleObjects") return std::bit_cast<FARPROC>(&ScriptedWait);
  spinCountLookUps += wanted == "SetCriticalSectionSpinCount";
  if (noCoInitializeEx && wanted == "CoInitializeEx") return nullptr;
  return ::GetProcAddress(module, name);
}

[[maybe_unused]] auto* const lookUps =  // NOLINT(cert-err58-cpp): GoogleTest does the same
    AnswerLookUps(&LookUp);

TEST(RunTimeBinding, SpinCountFunction_IsLookedUpOnceInAProcess) {
  const WorkerThread first, second("second");
  const ThreadPool pool;
  EXPECT_EQ(spinCountLookUps, 1);  // in a second pass too
}

TEST(ComEnvironment, Factory_PicksByModel_OnEveryKindOfThread) {
  const long kChanged = static_cast<long>(RPC_E_CHANGED_MODE);
  struct {
    int entered;  // of the thread before: 0 none, 1 single, 2 multi
    bool bare;    // no CoInitializeEx
    unsigned long model;
    char made;  // S, M or 0
    long status;
  } const cases[] = {
      {0, false, 2, 'S', S_OK},      {0, false, 255, 'M', S_OK},   {0, false, 0, 'M', S_OK},
      {1, false, 255, 'S', S_FALSE}, {1, false, 0, 'M', kChanged}, {2, false, 2, 'S', kChanged},
      {2, false, 255, 'M', S_FALSE}, {0, true, 255, 'S', S_OK},    {0, true, 0, 0, 0}};
  for (const auto& row : cases) {
    SCOPED_TRACE(::testing::Message() << row.entered << row.bare << " model " << row.model);
    std::thread([&row] {
      if (row.entered) ::CoInitializeEx(nullptr, row.entered == 1 ? 2u : 0u);
      noCoInitializeEx = row.bare;
      ComEnvironmentFactory::DestroyInstance();
      uninitialized = 0;
      std::unique_ptr<ComClientEnv> made(
          ComEnvironmentFactory::GetInstance()->GetEnvironment(row.model, 0));
      EXPECT_EQ(dynamic_cast<SingleThreadedCom*>(made.get()) != nullptr, row.made == 'S');
      EXPECT_EQ(dynamic_cast<MultiThreadedCom*>(made.get()) != nullptr, row.made == 'M');
      if (made) EXPECT_EQ(made->GetStatus(), row.status);
      made.reset();
      EXPECT_EQ(uninitialized, row.made && row.status >= 0);
      if (row.entered) ::CoUninitialize();
    }).join();
  }
  noCoInitializeEx = false;
}

TEST(ComEnvironment, Security_GetsItsNineArguments_AndItsResultReplacesTheStatus) {
  for (const HRESULT result : {S_OK, RPC_E_TOO_LATE}) {
    std::thread([result] {
      securityResult = result;
      uninitialized = 0;
      const std::unique_ptr<ComClientEnv> made(
          ComEnvironmentFactory::GetInstance()->GetEnvironment(2, 1));
      EXPECT_EQ(security, (std::vector<DWORD>{0, 0xFFFFFFFF, 2, 3, 0x20}));
      EXPECT_EQ(made->GetStatus(), result);
    }).join();
    EXPECT_EQ(uninitialized, result == S_OK) << "a failed one stays in COM";
  }
}

TEST(ComEnvironment, SingleThreadedWait_DispatchesTwiceARound_UntilTheTimeIsUp) {
  Gate open, closed;
  open.Open();
  struct {
    HANDLE handle;
    DWORD timeout;
    std::vector<DWORD> waits;
    unsigned long result;
    const char* pumped;
  } const cases[] = {
      {open.Handle(), 0, {}, WAIT_OBJECT_0, "DW0"},
      {closed.Handle(), 0, {}, WAIT_TIMEOUT, "DW0"},
      {nullptr, INFINITE, {}, WAIT_FAILED, "DW"},
      {closed.Handle(), 0, {1}, WAIT_TIMEOUT, "DW0D"},
      {open.Handle(), 0, {1}, WAIT_OBJECT_0, "DW0D"},  // signalled at the last moment
      {closed.Handle(), 25, {1, 1, 1, 1}, WAIT_TIMEOUT, "DW25DDW15DDW5D"},
      {closed.Handle(), 20, {1, 1, 1}, WAIT_TIMEOUT, "DW20DDW10D"},
      {closed.Handle(), INFINITE, {1, 1, WAIT_OBJECT_0}, WAIT_OBJECT_0, "DWDDWDDW"}};
  const ImportHook<decltype(::GetTickCount)> clock("KERNEL32.dll", "GetTickCount", &CountTicks);
  SingleThreadedCom environment;
  for (const auto& row : cases) {
    pumped.clear();
    waitResults = row.waits;
    ticks = 0xFFFFFFF0;
    EXPECT_EQ(environment.WaitForSingleObject(row.handle, row.timeout), row.result) << row.pumped;
    EXPECT_EQ(pumped, row.pumped);
  }
}

TEST(ComEnvironment, SingleThreadedWorker_AnswersMessages_BetweenCallsAndWhileItWaits) {
  WorkerThread worker(WorkerThread::ComSingleThreaded, "pump");
  Gate ready;
  HWND window = nullptr;
  const auto open = [&window] {
    window = ::CreateWindowExW(0, L"Static", L"text", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                               nullptr);
  };
  Post(worker, [&] { open(), ::PostMessageW(window, WM_CLOSE, 0, 0); });
  Post(worker, [&] {
    EXPECT_FALSE(::IsWindow(window)) << "before a call that was ready";
    open(), ready.Open();
  });
  uninitialized = 0;
  worker.StartThread(0);
  ASSERT_TRUE(ready.Passed());
  DWORD_PTR length = 0;
  ::SendMessageTimeoutW(window, WM_GETTEXTLENGTH, 0, 0, SMTO_NORMAL, kLimit, &length);
  EXPECT_EQ(length, 4u);
  worker.StopThread();
  EXPECT_EQ(uninitialized, 1) << "the worker has left its apartment";
}

}  // namespace
}  // namespace vtclass::test
