#include <vtclass/threads.h>

#include <atomic>
#include <cstdio>
#include <vector>

// Adds the numbers up to a thousand on a pool, a hundred to a call, and lets the last call tell a
// worker thread of its own, which prints the sum.
class Print : public RefThreadCall {
 public:
  Print(WorkerThread* printer, long sum, HANDLE done)
      : RefThreadCall(printer), sum(sum), done(done) {}
  void Execute() override {
    std::printf("sum %ld\n", sum);
    ::SetEvent(done);
  }

 private:
  long sum;
  HANDLE done;
};

struct Job {
  WorkerThread printer{WorkerThread::ComNone, "Printer"};
  std::atomic<long> sum = 0;
  std::atomic<int> left = 10;
  HANDLE done = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

class Part : public ThreadPoolCall {
 public:
  Part(ThreadPool* pool, Job& job, long first) : ThreadPoolCall(pool), job(job), first(first) {}
  void Execute() override {
    long part = 0;
    for (long number = first; number < first + 100; ++number) part += number;
    job.sum += part;
    if (--job.left == 0) (new Print(&job.printer, job.sum, job.done))->PostIt();
  }

 private:
  Job& job;
  long first;
};

int main() {
  Job job;
  bool isPrinted = false;
  if (job.done && job.printer.StartThread(0)) {
    ThreadPool pool(4, 1, WorkerThread::ComNone);
    std::vector<RefPointer<ThreadPoolCall>> parts;
    for (long first = 1; first < 1000; first += 100) {
      parts.emplace_back(new Part(&pool, job, first));
      parts.back()->PostIt();
    }
    Waitable done(job.done);
    WaitableGroup group;
    group.Add(&done);
    isPrinted = group.Wait(20000) != nullptr;
    // The pool's destructor drops what waits and gives calls in hand 15 seconds. So wait until none
    // is left, but not for ever: a pool that gets no thread from the system runs none.
    int pauses = 10000;
    for (const auto& part : parts) {
      while (--pauses > 0 && (pool.IsThreadCallQueued(part) || pool.IsThreadCallExecuting(part))) {
        ::Sleep(1);
      }
    }
  }
  job.printer.StopThread();
  if (job.done) ::CloseHandle(job.done);
  return isPrinted && job.sum == 500500 ? 0 : 1;
}
