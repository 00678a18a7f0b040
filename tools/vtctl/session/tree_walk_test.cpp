#include "tools/vtctl/session/tree_walk.h"

#include <gtest/gtest.h>
#include <process.h>

#include <bit>
#include <cstdlib>
#include <new>
#include <sstream>
#include <string_view>

#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/session_fixture.h"

namespace vtctl {
namespace {

using vtclass::test::ImportHook;
using vtclass::test::MakeFile;

HANDLE lateFolderRead = nullptr;
decltype(::FindFirstFileExW)* realFind = nullptr;

// "denied" cannot be listed, and "0 slow" comes last of all although it stands first.
HANDLE WINAPI FindInOddOrder(LPCWSTR path, FINDEX_INFO_LEVELS level, LPVOID data,
                             FINDEX_SEARCH_OPS operation, LPVOID filter, DWORD flags) {
  const std::wstring_view name(path);
  if (name.ends_with(L"\\0 slow\\*")) {
    EXPECT_EQ(::WaitForSingleObject(lateFolderRead, 20000), WAIT_OBJECT_0);
  }
  if (name.ends_with(L"\\9 late\\*")) ::SetEvent(lateFolderRead);
  if (name.ends_with(L"\\denied\\*")) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  return realFind(path, level, data, operation, filter, flags);
}

std::atomic<int> countdown = 0;
bool WhenCountedDown() { return --countdown < 0; }

decltype(::WriteFile)* realWriteFile = nullptr;
BOOL WINAPI WriteUntilFull(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED o) {
  if (countdown-- > 0) return realWriteFile(file, data, size, written, o);
  ::SetLastError(ERROR_DISK_FULL);
  return FALSE;
}

decltype(std::malloc)* realMalloc = nullptr;
void* FailWhenCountedDown(size_t size) { return --countdown == 0 ? nullptr : realMalloc(size); }

decltype(::_beginthreadex)* realBeginThread = nullptr;
uintptr_t BeginThreadUntilRefused(void* security, unsigned stack, _beginthreadex_proc_type routine,
                                  void* argument, unsigned flags, unsigned* id) {
  if (countdown-- > 0) return realBeginThread(security, stack, routine, argument, flags, id);
  return 0;
}

// A tree with all that a log tells of: nested and empty folders, a locked file, one that cannot be
// listed, large files, equal sizes.
class TreeWalkTest : public SessionTest {
 protected:
  TreeWalkTest() {
    const std::wstring tree = scratch / L"tree";
    for (const wchar_t* const name :
         {L"0 slow", L"1 empty", L"2", L"2\\denied", L"2\\deep", L"2\\deep\\er", L"3", L"9 late"}) {
      ::CreateDirectoryW((tree + L"\\" + name).c_str(), nullptr);
    }
    for (int i = 0; i < 40; ++i) {
      const std::wstring below =
          tree + (i % 2 ? L"\\2\\deep\\er\\" : L"\\3\\") + std::to_wstring(i);
      ::CreateDirectoryW(below.c_str(), nullptr);
      MakeFile(below + L"\\f.e" + std::to_wstring(i % 7), std::string(100, 'x'));
    }
    MakeFile(tree + L"\\0 slow\\large", std::string(1 << 20, 'x'));
    MakeFile(tree + L"\\2\\locked", "secret");
    lock.Reset(::CreateFileW((tree + L"\\2\\locked").c_str(), GENERIC_READ, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr));
    const DWORD one = 1;
    vtclass::test::MakeKey(request.settingsKey.subkey);
    vtclass::test::StoreValue(request.settingsKey.subkey, L"Report Large Files MB", REG_DWORD, &one,
                              sizeof one);
    LoadSettings(request.settingsKey);  // so that every run finds the same
  }

  // The log without the lines that tell the time, or the space that others leave.
  std::wstring TimelessText(const SessionResult& log) {
    std::wistringstream lines(LogText(log));
    std::wstring text;
    for (std::wstring line; std::getline(lines, line);) {
      const bool timed = line.find(L"_started>") != std::wstring::npos ||
                         line.find(L"_ended>") != std::wstring::npos ||
                         line.find(L"_time>") != std::wstring::npos ||
                         line.find(L"_rate>") != std::wstring::npos ||
                         line.find(L">Free space") != std::wstring::npos ||
                         line.find(L"<job_log_name>") != std::wstring::npos;
      if (!timed) text += line + L"\n";
    }
    return text;
  }

  vtclass::platform::OwnedFile lock;
};

TEST_F(TreeWalkTest, AnyNumberOfWorkers_WritesTheSameLog) {
  const vtclass::platform::OwnedKernelObject event(::CreateEventW(nullptr, TRUE, TRUE, nullptr));
  lateFolderRead = event.Get();
  const ImportHook<decltype(::FindFirstFileExW)> hook("KERNEL32.dll", "FindFirstFileExW",
                                                      &FindInOddOrder, ::GetModuleHandleW(nullptr));
  realFind = hook.Original();
  request.workers = 1;
  const SessionResult alone = Run();
  EXPECT_EQ(alone.totals.folders, 49U);
  EXPECT_EQ(alone.totals.warnings, 2U) << "one locked, one denied";
  const std::wstring expected = TimelessText(alone);
  EXPECT_NE(expected.find(L"<file_name>"), std::wstring::npos);
  for (const unsigned long workers : {2UL, 8UL, 64UL}) {
    ::ResetEvent(lateFolderRead);
    request.workers = workers;
    EXPECT_EQ(TimelessText(Run()), expected) << workers << " workers";
  }
}

TEST_F(TreeWalkTest, StoppedAnywhere_WritesWhatWasReadAndFinishesTheLog) {
  request.stopRequested = WhenCountedDown;
  request.workers = 8;
  for (int questions = 0; questions < 200; questions += 19) {
    countdown = questions;
    const SessionResult result = Run();
    EXPECT_EQ(result.status, SessionResult::cancelled);
    const std::wstring text = LogText(result);
    EXPECT_TRUE(text.ends_with(L"</footer>\r\n</joblog>"));
    size_t folders = 0;
    for (size_t at = 0; (at = text.find(L"<directory_name>", at)) != std::wstring::npos; ++at)
      ++folders;
    EXPECT_EQ(folders, result.totals.folders);
  }
}

TEST_F(TreeWalkTest, DiskFull_EndsTheReading) {
  request.workers = 8;
  Progress progress(Progress::none);
  Session session(request, messages, progress);
  ASSERT_TRUE(session.Start());
  countdown = 10;
  SessionResult result;
  {
    const ImportHook<decltype(::WriteFile)> hook("KERNEL32.dll", "WriteFile", &WriteUntilFull);
    realWriteFile = hook.Original();
    result = session.Run();
  }
  EXPECT_EQ(result.logError, static_cast<DWORD>(ERROR_DISK_FULL));
  EXPECT_EQ(result.status, SessionResult::failed);
  EXPECT_LT(result.totals.folders, 49U);
  const std::wstring text = LogText(result);
  EXPECT_NE(text.find(L"<set_number>Set number: 1</set_number>"), std::wstring::npos);
  EXPECT_EQ(text.find(L"</footer>"), std::wstring::npos);
}

// Each run ends, with an exception or with a result that tells of the failure.
TEST_F(TreeWalkTest, OutOfMemoryAnywhere_EndsTheSession) {
  request.workers = 4;
  Progress progress(Progress::none);
  int thrown = 0;
  // The address of std::malloc leads through the hooked slot.
  realMalloc =
      std::bit_cast<decltype(realMalloc)>(::GetProcAddress(vtclass::test::CRunTime(), "malloc"));
  for (int n = 1; n < 2000; n += n < 40 ? 1 : 151) {
    Session session(request, messages, progress);
    ASSERT_TRUE(session.Start());
    const ImportHook<decltype(std::malloc)> hook(nullptr, "malloc", &FailWhenCountedDown,
                                                 ::GetModuleHandleW(nullptr));
    countdown = n;
    try {
      session.Run();
    } catch (const std::bad_alloc&) {
      ++thrown;
    }
  }
  EXPECT_GT(thrown, 40);
  for (long n = 1; n < 400; n += 11) {
    Session session(request, messages, progress);
    ASSERT_TRUE(session.Start());
    vtclass::test::Allocations allocations;
    allocations.FailAt(n);
    try {
      session.Run();
    } catch (const std::bad_alloc&) {
      EXPECT_TRUE(allocations.Failed());
    }
  }
}

TEST_F(TreeWalkTest, ThreadRefused_EndsTheSession) {
  request.workers = 4;
  Progress progress(Progress::none);
  const ImportHook<decltype(::_beginthreadex)> hook(nullptr, "_beginthreadex",
                                                    &BeginThreadUntilRefused);
  realBeginThread = hook.Original();
  for (const int threads : {0, 1, 3}) {
    Session session(request, messages, progress);
    ASSERT_TRUE(session.Start());
    countdown = threads;
    EXPECT_THROW(session.Run(), std::runtime_error) << threads << " threads";
  }
}

}  // namespace
}  // namespace vtctl
