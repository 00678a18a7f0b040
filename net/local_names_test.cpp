#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <functional>

#include "platform/owned.h"
#include "tests/support/eventually.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;
using platform::OwnedKernelObject;
using test::ImportHook;
using test::LibraryCopy;

// One thread stops in a call of the system, with this name in its hand.
struct Stop {
  DWORD thread = 0;
  OwnedKernelObject stopped{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  OwnedKernelObject goOn{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};

  bool IsHere() {
    if (thread != ::GetCurrentThreadId()) return false;
    ::SetEvent(stopped.Get());
    ::WaitForSingleObject(goOn.Get(), INFINITE);
    return true;
  }
};
Stop* stop;

BOOL WINAPI NameOf(COMPUTER_NAME_FORMAT format, LPWSTR name, LPDWORD size) {
  if (format != ComputerNameDnsHostname) return ::GetComputerNameExW(format, name, size);
  ::lstrcpyW(name, stop->IsHere() ? L"slow" : L"fast");
  *size = 4;
  return TRUE;
}
HMODULE WINAPI Load(LPCWSTR path) {
  stop->IsHere();
  return ::LoadLibraryW(path);
}

class Remembered : public ::testing::Test {
 protected:
  Remembered() { stop = &here; }

  // Asks on a thread that stops, and leaves it there.
  OwnedKernelObject AskAndStop(std::function<void()>& question) {
    OwnedKernelObject thread(
        ::CreateThread(nullptr, 0, &Run, &question, CREATE_SUSPENDED, nullptr));
    here.thread = ::GetThreadId(thread.Get());
    ::ResumeThread(thread.Get());
    EXPECT_EQ(::WaitForSingleObject(here.stopped.Get(), test::kLimit), WAIT_OBJECT_0);
    return thread;
  }
  // Asks on a thread that nothing may stop; it must end.
  static void Ask(std::function<void()> question) {
    const OwnedKernelObject thread(::CreateThread(nullptr, 0, &Run, &question, 0, nullptr));
    ASSERT_EQ(::WaitForSingleObject(thread.Get(), test::kLimit), WAIT_OBJECT_0) << "blocked";
  }
  static DWORD WINAPI Run(void* question) {
    (*static_cast<std::function<void()>*>(question))();
    return 0;
  }
  static void Kill(const OwnedKernelObject& thread) {
    EXPECT_TRUE(::TerminateThread(thread.Get(), 0));
    EXPECT_EQ(::WaitForSingleObject(thread.Get(), test::kLimit), WAIT_OBJECT_0);
  }

  // The DNS host name for an address; empty where there is none.
  wcstring HostName(const wchar_t* address = L"127.0.0.1") const {
    wcstring name;
    bool isLocal = false;
    unsigned long status = 0;
    copy (&vtclass::border::VTConvertServerNamePlus)(address, name, computerNameDnsHostname, false,
                                                     &isLocal, &status);
    return name;
  }

  Stop here;
  LibraryCopy copy{L"vtclass_mini.dll", {L"vtsocket.dll", L"vtcluster.dll"}};
  ImportHook<decltype(::GetComputerNameExW)> names{"KERNEL32.dll", "GetComputerNameExW", &NameOf,
                                                   copy.Module()};
  ImportHook<decltype(::LoadLibraryW)> load{"KERNEL32.dll", "LoadLibraryW", &Load, copy.Module()};
};

// In its first look at the names, and in its first reverse look-up.
TEST_F(Remembered, KilledThread_DoesNotKeepOthersFromTheFirstQuestion) {
  const std::pair<const wchar_t*, const wchar_t*> rows[] = {{L"127.0.0.1", L"fast"},
                                                            {L"192.0.2.1", L""}};
  for (const auto& [address, name] : rows) {
    std::function<void()> question = [&] { HostName(address); };
    Kill(AskAndStop(question));
    Ask([&] { EXPECT_EQ(HostName(address), name); });
  }
}

TEST_F(Remembered, Names_AreThoseOfTheFirstThatHasThem) {
  wcstring slow;
  std::function<void()> question = [&] { slow = HostName(); };
  const OwnedKernelObject thread = AskAndStop(question);
  Ask([&] { EXPECT_EQ(HostName(), L"fast"); });
  ::SetEvent(here.goOn.Get());
  ASSERT_EQ(::WaitForSingleObject(thread.Get(), test::kLimit), WAIT_OBJECT_0);
  EXPECT_EQ(slow, L"fast") << "one identity in a process";
  EXPECT_EQ(HostName(), L"fast");
}

}  // namespace
