#include <atomic>
#include <functional>
#include <thread>

#include "platform/c_run_time.h"
#include "tests/support/allocations.h"
#include "tests/support/debug_log_fixture.h"
#include "tests/support/eventually.h"
#include "tests/support/file_faults.h"

namespace vtclass::test {
namespace {

using enum DebugLog::openMode;

const auto* const kNowhere = reinterpret_cast<const wchar_t*>(std::uintptr_t{16});

int PrintList(DebugLog& log, const wchar_t* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = log.print(format, arguments);
  va_end(arguments);
  return result;
}

TEST_F(DebugLogTest, Print_WritesTheTextInEitherEncoding) {
  for (const int unicode : {1, 0}) {
    DebugLog log(messages, unicode, nullptr);
    EXPECT_EQ(log.print(L"closed"), 0);
    ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
    EXPECT_TRUE(log.print(L"a\n\nM\x00FCller %s %5d %S\n", L"wide", -7, "narrow"));
    EXPECT_TRUE(log.print(L"%u\n", 0));
    EXPECT_TRUE(PrintList(log, L"%d %s\n", 5, L"list"));
    EXPECT_TRUE(log.print(L""));
    EXPECT_TRUE(log.print(1u, L"x", 3));
    EXPECT_TRUE(log.print(99u));
    EXPECT_EQ(log.print(static_cast<const wchar_t*>(nullptr)), 0);
    EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_TRUE(log.Close());
    EXPECT_TRUE(log.Close());
    EXPECT_EQ(log.print(L"closed"), 0);
    const std::wstring text =
        L"a\r\n\r\nM\x00FCller wide    -7 narrow\r\n0\r\n5 list\r\n"
        L"Copied x, 3 bytes\r\n\r\n\r\n\r\n";
    std::string bytes = "\xFF\xFE" + std::string(reinterpret_cast<const char*>(text.data()),
                                                 text.size() * sizeof(wchar_t));
    if (!unicode) {
      bytes.resize(static_cast<std::size_t>(
          ::WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                                static_cast<int>(bytes.size()), nullptr, nullptr)));
    }
    EXPECT_EQ(FileBytes(path), bytes);
    EXPECT_EQ(log.GetLostLines(), 0u);
  }
}

TEST_F(DebugLogTest, Print_LongText_GivesWayToItsFormat) {
  // The library's newest memory, with a mark behind it.
  constexpr std::string_view kFence = "0123456789abcdef";
  char* fence = nullptr;
  for (const int unicode : {1, 0}) {
    // With the three characters of its end: in no buffer, in one, filling one; the longest.
    for (const std::size_t length : {509u, 510u, 635u, 32765u, 32766u, 100000u}) {
      OpenDebugLog log(messages, unicode, path);
      const std::wstring text(length, L'x');
      fence = nullptr;
      for (const wchar_t* format : {L"%s\nx", L"%ws\nx"}) {
        const auto hook = Replace<decltype(std::malloc)>("malloc", [&](std::size_t size) {
          auto* const memory = static_cast<char*>(std::malloc(size + kFence.size()));
          fence = memory + size;
          kFence.copy(fence, kFence.size());
          return static_cast<void*>(memory);
        });
        EXPECT_TRUE(log.print(format, text.c_str()));
      }
      EXPECT_TRUE(!fence || std::string_view(fence, kFence.size()) == kFence) << length;
      const bool fits = length < 32766;
      EXPECT_EQ(TextIn(path), (fits ? text : L"%s") + L"\r\nx" + (fits ? text : L"%ws") + L"\r\nx");
    }
    OpenDebugLog log(messages, unicode, path);
    EXPECT_TRUE(log.print((std::wstring(40000, L'\n') + L"%s").c_str(), L""));
    EXPECT_EQ(TextIn(path), L"");
    EXPECT_TRUE(log.print((L"%40000d" + std::wstring(30000, L'\n')).c_str(), 1));
    EXPECT_EQ(TextIn(path).size(), 7u + 60000);
    EXPECT_TRUE(log.print(L"%s", std::wstring(600, L'\x00FC').c_str()));
    EXPECT_EQ(log.GetErrorCode(), 0u);
  }
}

// The C run time's formatter, with a fault where it gets a buffer of the log.
#if VTCLASS_UNIVERSAL_CRT
constexpr char kFormatter[] = "__stdio_common_vswprintf";
int FaultyFormat(unsigned __int64 options, wchar_t* out, std::size_t size, const wchar_t* format,
                 _locale_t locale, va_list arguments) {
  if (size > 512) ::RaiseException(EXCEPTION_IN_PAGE_ERROR, 0, 0, nullptr);
  return ::__stdio_common_vswprintf(options, out, size, format, locale, arguments);
}
#else
constexpr char kFormatter[] = "_vsnwprintf";
int FaultyFormat(wchar_t* out, std::size_t size, const wchar_t* format, va_list arguments) {
  if (size > 512) ::RaiseException(EXCEPTION_IN_PAGE_ERROR, 0, 0, nullptr);
  return ::_vsnwprintf(out, size, format, arguments);
}
#endif

// A fault leaves the lock free for other threads and the buffers as they were.
TEST_F(DebugLogTest, Print_Fault_EndsOnePrint) {
  OpenDebugLog log(messages, 1, path);
  const std::wstring large(5000, L'x');
  EXPECT_EQ(log.print(L"%s", kNowhere), 0);
  EXPECT_EQ(log.GetErrorCode(), DWORD{EXCEPTION_ACCESS_VIOLATION});
  EXPECT_EQ(log.print(kNowhere) + log.print(1u, kNowhere, 1), 0);
  EXPECT_TRUE(log.print(L"%s", large.c_str()));
  {
    const ImportHook<decltype(FaultyFormat)> hook(nullptr, kFormatter, &FaultyFormat);
    EXPECT_EQ(log.print(L"%6000ws", large.c_str()), 0);
    EXPECT_EQ(log.GetErrorCode(), DWORD{EXCEPTION_IN_PAGE_ERROR});
  }
  int other = 0;
  std::thread([&] { other = log.print(L"%s", large.c_str()); }).join();
  EXPECT_EQ(other, 1);
  EXPECT_EQ(TextIn(path), large + large);
}

TEST_F(DebugLogTest, Open_EachMode) {
  DebugLog log(messages, 1, nullptr);
  const auto open = [&](int mode, const std::wstring& file) {
    return log.Open(static_cast<DebugLog::openMode>(mode), file.c_str()) ? 0 : log.GetErrorCode();
  };
  EXPECT_EQ(open(openAppend, path), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_FALSE(log.IsOpen());
  EXPECT_EQ(open(createNew, path), 0u);
  EXPECT_TRUE(log.IsOpen());
  EXPECT_TRUE(log.print(L"one"));
  EXPECT_EQ(open(createNew, path), DWORD{ERROR_FILE_EXISTS});
  EXPECT_FALSE(log.IsOpen());
  EXPECT_EQ(log.print(L"lost with the failed opening"), 0);
  EXPECT_EQ(open(openAppend, path), 0u);
  EXPECT_TRUE(log.print(L"two"));
  EXPECT_EQ(TextIn(path), L"onetwo");
  EXPECT_TRUE(log.Close());
  EXPECT_FALSE(log.IsOpen());
  MakeFile(path, FileBytes(path) + "!");
  EXPECT_EQ(open(openAppend, path), 0u);
  EXPECT_TRUE(log.print(L"three"));
  EXPECT_EQ(TextIn(path), L"onetwothree") << "half a character would shift it";
  {
    DebugLog second(messages, 1, nullptr);
    EXPECT_EQ(second.Open(openAppend, path.c_str()), 0) << "one writer";
    EXPECT_EQ(second.GetErrorCode(), DWORD{ERROR_SHARING_VIOLATION});
  }
  for (const int bad : {-1, 3}) EXPECT_EQ(open(bad, path), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(log.Open(createNew, nullptr) + log.print(L"x"), 0);
  MakeFile(folder / L"empty", "");
  EXPECT_EQ(open(openAppend, folder / L"empty"), 0u);
  EXPECT_TRUE(log.print(L"x"));
  EXPECT_EQ(FileBytes(folder / L"empty"), std::string("x\0", 2)) << "no mark";
  // Neither the mark nor the way to the end can be had.
  for (const int mode : {createNew, openAppend}) {
    const FileFaults faults({.failAt = 1});
    EXPECT_EQ(open(mode, folder / L"refused"), DWORD{ERROR_IO_DEVICE});
    EXPECT_EQ(log.print(L"x"), 0);
  }
}

TEST_F(DebugLogTest, FullDisk_LosesWholeLinesOnly_AndCountsThem) {
  for (const int unicode : {1, 0}) {
    // Also where the part that the disk took cannot be cut off, once, or until the log is closed.
    for (const int failingCuts : {0, 1, 2, 3}) {
      OpenDebugLog log(messages, unicode, path);
      EXPECT_TRUE(log.print(L"before\n"));
      {
        const FileFaults faults({.room = 31, .failingCuts = failingCuts});
        for (int n = 0; n < 3; ++n) EXPECT_EQ(log.print(L"%100d\n", n), 0);
        EXPECT_EQ(log.GetErrorCode(),
                  static_cast<DWORD>(failingCuts < 3 ? ERROR_DISK_FULL : ERROR_IO_DEVICE));
      }
      if (failingCuts == 3) EXPECT_TRUE(log.Open(openAppend, path.c_str()));
      EXPECT_TRUE(log.print(L"after\n"));
      EXPECT_EQ(TextIn(path), L"before\r\nafter\r\n") << failingCuts;
      EXPECT_EQ(log.GetLostLines(), 3u);
    }
  }
}

// The system says that it has taken nothing of a line, but it has.
TEST_F(DebugLogTest, FailedWrite_LeavesNothing) {
  OpenDebugLog log(messages, 1, path);
  const FileFaults faults({.failAt = 1, .isShort = true, .isDenied = true});
  EXPECT_EQ(log.print(L"lost\n"), 0);
  EXPECT_TRUE(log.print(L"after\n"));
  EXPECT_EQ(TextIn(path), L"after\r\n");
}

// And where the buffers are large enough, a print makes none.
TEST_F(DebugLogTest, FailingAllocation_EndsOneOperation) {
  Limit(1);
  const std::wstring large(3000, L'\x00FC');
  const std::function<int(DebugLog&)> operations[] = {
      [&](DebugLog& log) { return log.print(L"%s", large.c_str()); },
      [&](DebugLog& log) { return log.print(1u, large.c_str(), 3); },
      [&](DebugLog& log) { return log.Open(createAlways, (folder / L"other").c_str()); },
      [](DebugLog& log) { return log.UpdateSettings(); }};
  for (const auto& operation : operations) {
    bool failed = true;
    for (long n = 1; failed; ++n) {
      StringResourceMgr fresh;  // nothing cached
      DebugLog log(fresh, 0, L"Path");
      ASSERT_EQ(log.Open(createAlways, path.c_str()), 1);
      int result = 0;
      {
        Allocations allocations;
        allocations.FailAt(n);
        result = operation(log);
        failed = allocations.Failed();
      }
      EXPECT_TRUE(failed || result != 0) << n;
      if (result == 0) EXPECT_EQ(log.GetErrorCode(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
      EXPECT_TRUE(log.Open(createAlways, path.c_str()));
      EXPECT_TRUE(log.print(L"%s", large.c_str()));
      ASSERT_LT(n, 100);
      if (failed || &operation >= operations + 2) continue;
      const Allocations again;
      EXPECT_TRUE(operation(log));
      EXPECT_TRUE(log.print(L"%5d\n", 1));
      EXPECT_EQ(again.Count(), 0);
    }
  }
}

TEST_F(DebugLogTest, UpdateSettings_SwitchesAndRemembers) {
  const auto log = std::make_unique<DebugLog>(messages, 1, L"Path");
  EXPECT_TRUE(log->Open(createNew, path.c_str()));
  EXPECT_TRUE(log->Close());
  EXPECT_TRUE(log->UpdateSettings());
  EXPECT_EQ(log->print(L"x") + log->UpdateSettings(), 1) << "off";
  Set(L"CreateDebugLog", 2);
  EXPECT_TRUE(log->UpdateSettings());
  EXPECT_TRUE(log->print(L"x\n"));
  EXPECT_EQ(LinesIn(path).back(), L"x");
  EXPECT_EQ(LinesIn(path).front(), kOn);
  const auto stored = StoredValue(config::kLoggingKey.Path(), L"Path");
  EXPECT_EQ(stored.size(), (path.size() + 1) * sizeof(wchar_t)) << "remembered";
  // A stored path that does not open gives way to the log's own; one that does comes first.
  SetText(L"Path", folder / L"missing.log");
  EXPECT_TRUE(log->UpdateSettings());
  EXPECT_EQ(log->GetFileName(), path);
  MakeFile(folder / L"other.log", "\xFF\xFE");
  SetText(L"Path", folder / L"other.log");
  EXPECT_TRUE(log->UpdateSettings());
  EXPECT_EQ(LinesIn(folder / L"other.log"), std::vector<std::wstring>{kOn});
  Set(L"CreateDebugLog", 0);
  EXPECT_TRUE(log->IsOpen());
  EXPECT_TRUE(log->UpdateSettings());
  EXPECT_FALSE(log->IsOpen());
  EXPECT_EQ(LinesIn(folder / L"other.log").back(), kOff);
  EXPECT_EQ(log->print(L"x"), 0);
  EXPECT_EQ(StoredValue(config::kLoggingKey.Path(), L"MaxDebugFile Append").size(), 4u);
  EXPECT_TRUE(StoredValue(config::kLoggingKey.Path(), L"MaxDebugFile Enabled").empty())
      << "not written";
}

// Prints numbered lines, some of them long.
void PrintNumbered(DebugLog& log, std::size_t thread, int lines) {
  const std::wstring tail(600, L'-');
  for (int n = 0; n < lines; ++n) {
    EXPECT_TRUE(
        log.print(n % 8 ? L"%d %d\n" : L"%d %d %s\n", static_cast<int>(thread), n, tail.c_str()));
  }
}

// Settings change all the time while several threads print and the log rolls: nothing is lost, cut
// or mixed, and each thread's lines stay in their order.
TEST_F(DebugLogTest, Live_ChangesLoseNoLine) {
  constexpr int kLines = 8000;
  LogFileFactory factory(messages, 1);
  Set(L"CreateDebugLog", 1);
  Limit(200, 0, 5);
  const std::unique_ptr<DebugLog> log(factory.CreateDebugLog(L"Path", path.c_str()));
  std::atomic<int> running = 4;
  std::vector<std::thread> threads;
  while (threads.size() < 4) {
    threads.emplace_back([&, thread = threads.size()] {
      PrintNumbered(*log, thread, kLines);
      --running;
    });
  }
  for (DWORD n = 0; running > 0; ++n) {
    Limit(200, 0, 5 + n % 4);
    Set(L"MaxDebugFile Enabled", n % 4 != 3);
    Set(L"CreateDebugLog", 1 + n % 2);
    if (n % 8 == 0) log->UpdateSettings();
    ::Sleep(1);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(log->GetLostLines(), 0u);
  int next[4] = {};
  int files = 0;
  for (int file = 1; file <= 201; ++file) {
    const std::vector<std::wstring> lines = LinesIn(file <= 200 ? Rotated(file) : path);
    files += !lines.empty();
    for (const std::wstring& line : lines) {
      if (line == kOn) continue;
      const auto thread = static_cast<std::size_t>(line.empty() ? 9 : line[0] - L'0');
      ASSERT_LT(thread, std::size(next)) << "a line was cut";
      const int n = next[thread]++;
      ASSERT_EQ(line, std::to_wstring(thread) + L" " + std::to_wstring(n) +
                          (n % 8 ? L"" : L" " + std::wstring(600, L'-')));
    }
  }
  for (const int n : next) EXPECT_EQ(n, kLines);
  EXPECT_GT(files, 10);
}

long DeleteLog(unsigned long, void* log) {
  delete static_cast<std::atomic<DebugLog*>*>(log)->exchange(nullptr);
  return S_OK;
}

// The monitor calls back until the log has unsubscribed, which must not wait for itself; not even
// where a callback deletes the log.
TEST_F(DebugLogTest, Live_LogsDieWhileSettingsChange) {
  LogFileFactory factory(messages, 1);
  std::atomic<bool> stop = false;
  std::thread changes([&] {
    for (DWORD n = 0; !stop; ++n) Set(L"CreateDebugLog", n % 2);
  });
  for (int n = 0; n < 50; ++n) delete factory.CreateDebugLog(L"Path", path.c_str());
  std::atomic<DebugLog*> last = factory.CreateDebugLog(L"Path", path.c_str());
  SettingsMonitor::GetInstance()->KoltRegisterDebugLevel(&DeleteLog, &last);
  Set(L"KNTA NDMP Debug Level", 1);
  EXPECT_TRUE(test::Eventually([&] { return !last; }));
  stop = true;
  changes.join();
}

}  // namespace
}  // namespace vtclass::test
