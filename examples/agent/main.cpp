#include <vtclass/debug_log.h>
#include <vtclass/settings_monitor.h>
#include <vtclass/threads.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

// A small agent, whole: agent [PIECES] works off pieces on a pool, traces into agent.log by
// settings that an operator changes while it runs (vtctl settings), and ends when the work is done
// or at Ctrl+C. Exit code 0: all pieces are done; 1: some are not, or the trace is not whole; 2: it
// was stopped.

const HANDLE stopRequested = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);

BOOL WINAPI OnControl(DWORD) { return ::SetEvent(stopRequested); }

// On the monitor's thread. The log was made before this was registered, so it goes by the level
// already.
long OnLevel(unsigned long level, void* context) {
  static_cast<DebugLog*>(context)->print(L"level %lu from now on\n", level);
  return 0;
}

class Piece : public ThreadPoolCall {
 public:
  Piece(ThreadPool* pool, DebugLog& log, int number)
      : ThreadPoolCall(pool), log(log), number(number) {}
  void Execute() override {
    ::Sleep(50);  // the work
    if (log.GetLogLevel() >= 2) log.print(L"piece %d\n", number);
    isDone = true;  // at last: an exception before it ends the call, and nobody else would tell
  }
  bool IsDone() const { return isDone; }

 private:
  DebugLog& log;
  const int number;
  std::atomic<bool> isDone = false;
};

int Work(DebugLog& log, int count) {
  ThreadPool pool(4, 1, WorkerThread::ComNone);
  std::vector<RefPointer<Piece>> pieces;
  for (int number = 1; number <= count; ++number) {
    pieces.emplace_back(new Piece(&pool, log, number));
    pieces.back()->PostIt();
  }
  bool isStopped = false;
  int done = 0;
  for (const auto& piece : pieces) {
    while (!isStopped && (pool.IsThreadCallQueued(piece) || pool.IsThreadCallExecuting(piece))) {
      isStopped = ::WaitForSingleObject(stopRequested, 1) == WAIT_OBJECT_0;
    }
    if (piece->IsDone()) ++done;
  }
  log.print(L"%d of %d pieces done\n", done, count);
  std::printf("%d of %d pieces done\n", done, count);
  if (isStopped) return 2;
  // The pool drops the pieces that wait still, and gives those in hand 15 seconds.
  return done == count ? 0 : 1;
}

int main(int argc, char** argv) {
  if (!stopRequested) return 1;
  StringResourceMgr messages;
  LogFileFactory factory(messages, 1);  // 1: UTF-16
  std::unique_ptr<DebugLog> log(factory.CreateDebugLog(nullptr, L"agent.log"));
  SettingsMonitor* const monitor = SettingsMonitor::GetInstance();
  const void* const cookie = monitor->EngineRegisterDebugLevel(&OnLevel, log.get());
  ::SetConsoleCtrlHandler(&OnControl, TRUE);
  int code = Work(*log, argc > 1 ? std::atoi(argv[1]) : 20);
  ::SetConsoleCtrlHandler(&OnControl, FALSE);

  // What follows the monitor goes before it, in the reverse order.
  if (cookie) monitor->UnRegisterSetting(cookie);
  const unsigned long long lost = log->GetLostLines();
  if (lost != 0) {
    std::printf("%llu lines of the trace are lost: %lu\n", lost, log->GetErrorCode());
    if (code == 0) code = 1;
  }
  log.reset();
  SettingsMonitor::DestroyInstance();
  ::CloseHandle(stopRequested);
  return code;
}
