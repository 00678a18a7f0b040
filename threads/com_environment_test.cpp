#include "vtclass/com_environment.h"

#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <objbase.h>

#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/answered_look_ups.h"
#include "tests/support/import_hook.h"
#include "threads/threads_test_support.h"

namespace {

using vtclass::test::AnswerLookUps;
using vtclass::test::Gate;
using vtclass::test::ImportHook;
using vtclass::test::WorkerCall;

// What the DLL binds at run time goes through these. The hook stands before the first look-up and
// as long as the program runs: the DLL keeps the addresses that it got.
int spinCountLookUps = 0;
bool noCoInitializeEx = false;
int uninitialized = 0;
std::vector<long long> security;
HRESULT securityResult = S_OK;
std::string pumped;              // D: a dispatch ran dry, W: a wait for messages
std::vector<DWORD> waitResults;  // of the next waits; real ones without
DWORD now = 0;                   // what the DLL is told; each of these waits takes 20

DWORD WINAPI Now() { return now; }
void WINAPI CountUninitialize() { ++uninitialized, ::CoUninitialize(); }

HRESULT WINAPI KeepSecurity(PSECURITY_DESCRIPTOR descriptor, LONG count,
                            SOLE_AUTHENTICATION_SERVICE* services, void* reserved1, DWORD level,
                            DWORD impersonation, void* list, DWORD capabilities, void* reserved3) {
  const auto number = [](const void* p) {
    return static_cast<long long>(reinterpret_cast<ULONG_PTR>(p));
  };
  security = {number(descriptor), count,        number(services), number(reserved1), level,
              impersonation,      number(list), capabilities,     number(reserved3)};
  return securityResult;
}

BOOL WINAPI CountPeek(LPMSG message, HWND window, UINT first, UINT last, UINT remove) {
  const BOOL found = ::PeekMessageW(message, window, first, last, remove);
  if (!found) pumped += 'D';
  return found;
}

DWORD WINAPI ScriptedWait(DWORD count, const HANDLE* handles, BOOL all, DWORD timeout, DWORD mask) {
  pumped += 'W';
  EXPECT_EQ(mask, 0xFFu);
  if (waitResults.empty()) return ::MsgWaitForMultipleObjects(count, handles, all, timeout, mask);
  now += 20;
  const DWORD result = waitResults.front();
  waitResults.erase(waitResults.begin());
  return result;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  const struct {
    std::string name;
    void* replacement;
  } rows[] = {{"CoUninitialize", reinterpret_cast<void*>(&CountUninitialize)},
              {"CoInitializeSecurity", reinterpret_cast<void*>(&KeepSecurity)},
              {"PeekMessageW", reinterpret_cast<void*>(&CountPeek)},
              {"MsgWaitForMultipleObjects", reinterpret_cast<void*>(&ScriptedWait)}};
  for (const auto& row : rows) {
    if (row.name == name) return reinterpret_cast<FARPROC>(row.replacement);
  }
  spinCountLookUps += std::string("SetCriticalSectionSpinCount") == name;
  if (noCoInitializeEx && std::string("CoInitializeEx") == name) return nullptr;
  return ::GetProcAddress(module, name);
}

[[maybe_unused]] auto* const lookUps =  // NOLINT(cert-err58-cpp): GoogleTest does the same
    AnswerLookUps(&LookUp);

TEST(RunTimeBinding, SpinCountFunction_IsLookedUpOnceInAProcess) {
  {
    const WorkerThread first, second("second");
  }
  {
    const ThreadPool pool;
  }
  EXPECT_EQ(spinCountLookUps, 1);
}

class ComEnvironment : public ::testing::Test {
 protected:
  ComEnvironment() {
    ComEnvironmentFactory::DestroyInstance();
    pumped.clear();
  }
};

TEST_F(ComEnvironment, Factory_PicksByModel_OnEveryKindOfThread) {
  const long kChanged = static_cast<long>(RPC_E_CHANGED_MODE);
  struct {
    int entered;  // of the thread before: 0 none, 1 single, 2 multi
    bool bare;    // no CoInitializeEx
    unsigned long model;
    char made;  // S, M or 0
    long status;
  } const cases[] = {
      {0, false, 2, 'S', S_OK},      {0, false, 255, 'M', S_OK},
      {0, false, 0, 'M', S_OK},      {1, false, 255, 'S', S_FALSE},
      {1, false, 0, 'M', kChanged},  {2, false, 2, 'S', kChanged},
      {2, false, 255, 'M', S_FALSE}, {0, true, 2, 'S', S_OK},
      {0, true, 255, 'S', S_OK},     {0, true, 0, 0, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(::testing::Message() << row.entered << row.bare << " model " << row.model);
    std::thread([&row] {
      if (row.entered) ::CoInitializeEx(nullptr, row.entered == 1 ? 2u : 0u);
      noCoInitializeEx = row.bare;
      ComEnvironmentFactory::DestroyInstance();
      ComEnvironmentFactory* const factory = ComEnvironmentFactory::GetInstance();
      uninitialized = 0;
      std::unique_ptr<ComClientEnv> made(factory->GetEnvironment(row.model, 0));
      char kind = '\0';
      if (dynamic_cast<SingleThreadedCom*>(made.get())) kind = 'S';
      if (dynamic_cast<MultiThreadedCom*>(made.get())) kind = 'M';
      EXPECT_EQ(kind, row.made);
      if (made) EXPECT_EQ(made->GetStatus(), row.status);
      made.reset();
      EXPECT_EQ(uninitialized, row.made && row.status >= 0);
      if (row.entered) ::CoUninitialize();
    }).join();
  }
  noCoInitializeEx = false;
}

TEST_F(ComEnvironment, Security_GetsItsNineArguments_AndItsResultReplacesTheStatus) {
  for (const HRESULT result : {S_OK, RPC_E_TOO_LATE}) {
    std::thread([result] {
      securityResult = result;
      uninitialized = 0;
      delete ComEnvironmentFactory::GetInstance()->GetEnvironment(2, 1);
      EXPECT_EQ(security, (std::vector<long long>{0, -1, 0, 0, 2, 3, 0, 0x20, 0}));
      EXPECT_EQ(uninitialized, result == S_OK) << "a failed one stays in COM";
      SingleThreadedCom environment;
      EXPECT_EQ(environment.InitializeSecurity(nullptr, 1, nullptr, nullptr, 4, 5, nullptr, 6,
                                               &environment),
                static_cast<unsigned long>(result));
      EXPECT_EQ(environment.GetStatus(), result);
      EXPECT_EQ(security[7], 6);
    }).join();
  }
}

TEST_F(ComEnvironment, Factory_RacingFirstCallers_GetOne) {
  Gate start;
  std::vector<ComEnvironmentFactory*> got(8);
  std::vector<std::thread> threads;
  threads.reserve(got.size());
  for (auto& slot : got) {
    threads.emplace_back([&] { start.Passed(), slot = ComEnvironmentFactory::GetInstance(); });
  }
  start.Open();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(std::set(got.begin(), got.end()).size(), 1u);
}

TEST_F(ComEnvironment, SingleThreadedWait_DispatchesTwiceARound_UntilTheTimeIsUp) {
  Gate open, closed;
  open.Open();
  struct {
    HANDLE handle;
    DWORD timeout;
    std::vector<DWORD> waits;
    unsigned long result;
    const char* pumped;
  } const cases[] = {
      {open.Handle(), 0, {}, WAIT_OBJECT_0, "DW"},
      {closed.Handle(), 0, {}, WAIT_TIMEOUT, "DW"},
      {nullptr, INFINITE, {}, WAIT_FAILED, "DW"},
      {closed.Handle(), 0, {1}, WAIT_TIMEOUT, "DWD"},
      {open.Handle(), 10, {1}, WAIT_OBJECT_0, "DWD"},  // signalled at the last moment
      {closed.Handle(), INFINITE, {1, 1, WAIT_OBJECT_0}, WAIT_OBJECT_0, "DWDDWDDW"},
      {closed.Handle(), 45, {1, 1, 1, 1, 1, 1}, WAIT_TIMEOUT, "DWDDWDDWD"},
  };
  SingleThreadedCom environment;
  const ImportHook<decltype(::GetTickCount)> clock("KERNEL32.dll", "GetTickCount", &Now);
  now = 0xFFFFFFF0;  // about to wrap
  for (const auto& row : cases) {
    pumped.clear();
    waitResults = row.waits;
    EXPECT_EQ(environment.WaitForSingleObject(row.handle, row.timeout), row.result) << row.pumped;
    EXPECT_EQ(pumped, row.pumped);
  }
  waitResults.clear();
}

TEST_F(ComEnvironment, SingleThreadedWait_UnderAStreamOfMessages_SeesHandleAndTimeout) {
  SingleThreadedCom environment;
  environment.Dawdle();
  const DWORD waiter = ::GetCurrentThreadId();
  std::atomic<bool> stop = false;
  Gate gate;
  std::thread stream([&] {
    for (int sent = 0; !stop; ++sent) {
      ::PostThreadMessageW(waiter, WM_APP, 0, 0);
      if (sent == 300) gate.Open();
      if (sent % 10 == 0) ::Sleep(1);
    }
  });
  Gate never;
  void* const handles[] = {never.Handle(), gate.Handle()};
  EXPECT_EQ(environment.WaitForMultipleObjects(1, handles, 0, 20), WAIT_TIMEOUT);
  EXPECT_EQ(environment.WaitForMultipleObjects(2, handles, 0, vtclass::test::kLimit), 1u);
  stop = true;
  stream.join();
}

int answered = 0;
LRESULT CALLBACK Answer(HWND window, UINT message, WPARAM w, LPARAM l) {
  return message == WM_APP ? ++answered : ::DefWindowProcW(window, message, w, l);
}

TEST_F(ComEnvironment, SingleThreadedWorker_AnswersMessages_BetweenCallsAndWhileItWaits) {
  WNDCLASSW kind = {};
  kind.lpfnWndProc = &Answer;
  kind.lpszClassName = L"vtclass_mini threads test";
  ::RegisterClassW(&kind);
  WorkerThread worker(WorkerThread::ComSingleThreaded, "pump");
  Gate ready;
  HWND window = nullptr;
  const auto post = [&worker](WorkerCall::Work work) {
    (new WorkerCall(&worker, std::move(work)))->PostIt();
  };
  post([&] {
    window = ::CreateWindowExW(0, kind.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                               nullptr, nullptr);
    ::PostMessageW(window, WM_APP, 0, 0);
  });
  post([&] {
    EXPECT_EQ(answered, 1) << "before a call that was ready";
    ready.Open();
  });
  uninitialized = 0;
  worker.StartThread(0);
  ASSERT_TRUE(ready.Passed());
  DWORD_PTR answer = 0;
  EXPECT_NE(
      ::SendMessageTimeoutW(window, WM_APP, 0, 0, SMTO_NORMAL, vtclass::test::kLimit, &answer), 0);
  EXPECT_EQ(answer, 2u);
  worker.StopThread();
  EXPECT_EQ(uninitialized, 1) << "the worker has left its apartment";
}

}  // namespace
