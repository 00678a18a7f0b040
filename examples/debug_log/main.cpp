#include <vtclass/debug_log.h>
#include <vtclass/settings_monitor.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

// Traces into trace.log for some seconds: debug_log [SECONDS]. Switch the log on and off, or change
// its level and limits, while it runs: it follows the product's settings (vtctl settings).

// A line with its time and thread, which the log does not add by itself. Texts cost nothing while
// nobody wants them.
void Trace(DebugLog& log, unsigned long level, const wchar_t* text) {
  if (!log.IsOpen() || log.GetLogLevel() < level) return;
  SYSTEMTIME now;
  ::GetLocalTime(&now);
  log.print(L"%02u:%02u:%02u.%03u %5lu %s\n", now.wHour, now.wMinute, now.wSecond,
            now.wMilliseconds, ::GetCurrentThreadId(), text);
}

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::atoi(argv[1]) : 1;
  StringResourceMgr messages;
  LogFileFactory factory(messages, 1);  // 1: UTF-16
  // A null in place of the value's name: the path is not stored for the next start.
  std::unique_ptr<DebugLog> log(factory.CreateDebugLog(nullptr, L"trace.log"));
  if (!log->IsOpen()) {
    std::printf("The log is off. Switch it on: vtctl settings set CreateDebugLog 1\n");
  }
  for (int n = 0; n < seconds; ++n) {
    Trace(*log, 1, L"one of the lines that matter always");
    Trace(*log, 2, L"one of the lines with more detail");
    ::Sleep(1000);
  }
  const unsigned long long lost = log->GetLostLines();
  if (lost != 0) std::printf("%llu lines lost: %lu\n", lost, log->GetErrorCode());
  // The log follows the monitor, so it goes first.
  log.reset();
  SettingsMonitor::DestroyInstance();
  return lost == 0 ? 0 : 1;
}
