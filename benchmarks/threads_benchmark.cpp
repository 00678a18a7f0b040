#include <vtclass/win32.h>
#include <winsock2.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "vtclass/threads.h"

// Handing calls over to other threads. Every way runs the same work: a batch of calls is posted by
// one or more threads, and the last call that runs says so.
namespace {

constexpr int kBatch = 1024;

// Opens when the ordered number of calls has run.
class Finish {
 public:
  Finish() : event(::CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
  ~Finish() { ::CloseHandle(event); }
  Finish(const Finish&) = delete;
  Finish& operator=(const Finish&) = delete;
  void Order(int calls) { left = calls; }
  void One() {
    if (--left == 0) ::SetEvent(event);
  }
  void Wait() { ::WaitForSingleObject(event, INFINITE); }

 private:
  HANDLE event;
  std::atomic<int> left{0};
};

template <typename Base>
class Call : public Base {
 public:
  template <typename Target>
  Call(Target* target, Finish& finish) : Base(target), finish(finish) {}
  void Execute() override { finish.One(); }

 private:
  Finish& finish;
};

// Calls of ours are objects that a host keeps and posts again.
template <typename Base>
class OurCalls {
 public:
  template <typename Target>
  OurCalls(Target* target, Finish& finish) {
    for (int i = 0; i < kBatch; ++i) calls.emplace_back(new Call<Base>(target, finish));
  }
  void Post(int i) { calls[static_cast<std::size_t>(i)]->PostIt(); }

 private:
  std::vector<RefPointer<Call<Base>>> calls;
};

class OurWorker {
 public:
  OurWorker(int, Finish& finish) : calls(&worker, finish) { worker.StartThread(0); }
  ~OurWorker() { worker.StopThread(); }
  OurWorker(const OurWorker&) = delete;
  OurWorker& operator=(const OurWorker&) = delete;
  void Post(int i) { calls.Post(i); }

 private:
  WorkerThread worker{WorkerThread::ComNone, "benchmark"};
  OurCalls<RefThreadCall> calls;
};

class OurPool {
 public:
  OurPool(int workers, Finish& finish)
      : pool(workers, 1, WorkerThread::ComNone), calls(&pool, finish) {}
  void Post(int i) { calls.Post(i); }

 private:
  ThreadPool pool;
  OurCalls<ThreadPoolCall> calls;
};

class SystemPool {
 public:
  SystemPool(int workers, Finish& finish) : pool(::CreateThreadpool(nullptr)) {
    ::SetThreadpoolThreadMaximum(pool, static_cast<DWORD>(workers));
    ::SetThreadpoolThreadMinimum(pool, static_cast<DWORD>(workers));
    ::InitializeThreadpoolEnvironment(&environment);
    ::SetThreadpoolCallbackPool(&environment, pool);
    work = ::CreateThreadpoolWork(&Run, &finish, &environment);
  }
  ~SystemPool() {
    ::WaitForThreadpoolWorkCallbacks(work, FALSE);
    ::CloseThreadpoolWork(work);
    ::CloseThreadpool(pool);
  }
  SystemPool(const SystemPool&) = delete;
  SystemPool& operator=(const SystemPool&) = delete;
  void Post(int) { ::SubmitThreadpoolWork(work); }

 private:
  static void CALLBACK Run(PTP_CALLBACK_INSTANCE, void* finish, PTP_WORK) {
    static_cast<Finish*>(finish)->One();
  }

  PTP_POOL pool;
  TP_CALLBACK_ENVIRON environment = {};
  PTP_WORK work = nullptr;
};

class Asio {
 public:
  Asio(int workers, Finish& finish) : finish(finish), pool(static_cast<std::size_t>(workers)) {}
  ~Asio() { pool.join(); }
  Asio(const Asio&) = delete;
  Asio& operator=(const Asio&) = delete;
  void Post(int) {
    boost::asio::post(pool, [this] { finish.One(); });
  }

 private:
  Finish& finish;
  boost::asio::thread_pool pool;
};

// What one writes oneself: a queue with a lock and something to sleep on, which stands in Sleeper.
template <typename Sleeper>
class PlainQueue {
 public:
  PlainQueue(int workers, Finish& finish) : finish(finish) {
    for (int i = 0; i < workers; ++i) threads.emplace_back([this] { Run(); });
  }
  ~PlainQueue() {
    for (std::size_t i = 0; i < threads.size(); ++i) sleeper.Push(queue, nullptr);
    for (std::thread& thread : threads) thread.join();
  }
  PlainQueue(const PlainQueue&) = delete;
  PlainQueue& operator=(const PlainQueue&) = delete;
  void Post(int) { sleeper.Push(queue, &finish); }

 private:
  void Run() {
    while (Finish* const call = sleeper.Pop(queue)) call->One();
  }

  Finish& finish;
  Sleeper sleeper;
  std::deque<Finish*> queue;
  std::vector<std::thread> threads;
};

class CondVar {
 public:
  void Push(std::deque<Finish*>& queue, Finish* call) {
    ::AcquireSRWLockExclusive(&lock);
    queue.push_back(call);
    ::ReleaseSRWLockExclusive(&lock);
    ::WakeConditionVariable(&filled);
  }
  Finish* Pop(std::deque<Finish*>& queue) {
    ::AcquireSRWLockExclusive(&lock);
    while (queue.empty()) ::SleepConditionVariableSRW(&filled, &lock, INFINITE, 0);
    Finish* const call = queue.front();
    queue.pop_front();
    ::ReleaseSRWLockExclusive(&lock);
    return call;
  }

 private:
  SRWLOCK lock = SRWLOCK_INIT;
  CONDITION_VARIABLE filled = CONDITION_VARIABLE_INIT;
};

class Semaphore {
 public:
  Semaphore() : count(::CreateSemaphoreW(nullptr, 0, 0x7fffffff, nullptr)) {}
  ~Semaphore() { ::CloseHandle(count); }
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;
  void Push(std::deque<Finish*>& queue, Finish* call) {
    ::AcquireSRWLockExclusive(&lock);
    queue.push_back(call);
    ::ReleaseSRWLockExclusive(&lock);
    ::ReleaseSemaphore(count, 1, nullptr);
  }
  Finish* Pop(std::deque<Finish*>& queue) {
    ::WaitForSingleObject(count, INFINITE);
    ::AcquireSRWLockExclusive(&lock);
    Finish* const call = queue.front();
    queue.pop_front();
    ::ReleaseSRWLockExclusive(&lock);
    return call;
  }

 private:
  SRWLOCK lock = SRWLOCK_INIT;
  HANDLE count;
};

// Threads that post a share of a batch whenever they are told to.
class Producers {
 public:
  template <typename Post>
  Producers(int count, Post post) : go(::CreateSemaphoreW(nullptr, 0, count, nullptr)) {
    for (int i = 0; i < count; ++i) {
      threads.emplace_back([this, i, count, post] {
        while (::WaitForSingleObject(go, INFINITE) == WAIT_OBJECT_0 && !stop) {
          for (int call = i; call < kBatch; call += count) post(call);
        }
      });
    }
  }
  ~Producers() {
    stop = true;
    Start();
    for (std::thread& thread : threads) thread.join();
    ::CloseHandle(go);
  }
  Producers(const Producers&) = delete;
  Producers& operator=(const Producers&) = delete;
  void Start() { ::ReleaseSemaphore(go, static_cast<LONG>(threads.size()), nullptr); }

 private:
  HANDLE go;
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
};

// One of ours or a peer's; a batch is `kBatch` posts and their runs.
template <typename Way>
void OneToOne(benchmark::State& state) {
  Finish finish;
  Way way(1, finish);
  while (state.KeepRunningBatch(kBatch)) {
    finish.Order(kBatch);
    for (int i = 0; i < kBatch; ++i) way.Post(i);
    finish.Wait();
  }
}

template <typename Way>
void FourToTwo(benchmark::State& state) {
  Finish finish;
  Way way(2, finish);
  Producers producers(4, [&way](int i) { way.Post(i); });
  while (state.KeepRunningBatch(kBatch)) {
    finish.Order(kBatch);
    producers.Start();
    finish.Wait();
  }
}

template <typename Way>
void RoundTrip(benchmark::State& state) {
  Finish finish;
  Way way(1, finish);
  for (auto _ : state) {
    finish.Order(1);
    way.Post(0);
    finish.Wait();
  }
}

void StartStopOurs(benchmark::State& state) {
  for (auto _ : state) {
    WorkerThread worker(WorkerThread::ComNone, "benchmark");
    worker.StartThread(0);
    worker.StopThread();
  }
}

DWORD WINAPI Nothing(void*) { return 0; }

void StartStopRaw(benchmark::State& state) {
  for (auto _ : state) {
    const HANDLE thread = ::CreateThread(nullptr, 0, &Nothing, nullptr, 0, nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
  }
}

std::size_t PrivateBytes() {
  std::size_t bytes = 0;
  MEMORY_BASIC_INFORMATION region;
  for (const char* at = nullptr; ::VirtualQuery(at, &region, sizeof region);
       at = static_cast<const char*>(region.BaseAddress) + region.RegionSize) {
    if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) bytes += region.RegionSize;
  }
  return bytes;
}

// Queues a million calls that nobody runs; the counter is the memory that each takes.
void QueueMillion(benchmark::State& state) {
  constexpr int kCalls = 1 << 20;
  Finish finish;
  double bytes = 0;
  for (auto _ : state) {
    WorkerThread worker(WorkerThread::ComNone, "benchmark");
    const RefPointer<Call<RefThreadCall>> call(new Call<RefThreadCall>(&worker, finish));
    const std::size_t before = PrivateBytes();
    for (int i = 0; i < kCalls; ++i) call->PostIt();
    bytes = static_cast<double>(PrivateBytes() - before) / kCalls;
    while (worker.RetrieveCall()) call->Release();
  }
  state.counters["bytes_a_queued_call"] = bytes;
}

}  // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names of templates and types.
#define VTCLASS_HAND_OVER(shape, ours)                                                           \
  BENCHMARK(shape<ours>)->Name("Threads/" #shape "/ours")->UseRealTime();                        \
  BENCHMARK(shape<SystemPool>)->Name("Threads/" #shape "/peer_system")->UseRealTime();           \
  BENCHMARK(shape<Asio>)->Name("Threads/" #shape "/peer_asio")->UseRealTime();                   \
  BENCHMARK(shape<PlainQueue<CondVar>>)->Name("Threads/" #shape "/peer_condvar")->UseRealTime(); \
  BENCHMARK(shape<PlainQueue<Semaphore>>)->Name("Threads/" #shape "/limit_semaphore")->UseRealTime()
// NOLINTEND(bugprone-macro-parentheses)

VTCLASS_HAND_OVER(OneToOne, OurWorker);
VTCLASS_HAND_OVER(FourToTwo, OurPool);
VTCLASS_HAND_OVER(RoundTrip, OurWorker);
BENCHMARK(OneToOne<OurPool>)->Name("Threads/PoolOneToOne/ours")->UseRealTime();
BENCHMARK(RoundTrip<OurPool>)->Name("Threads/PoolRoundTrip/ours")->UseRealTime();
BENCHMARK(StartStopOurs)->Name("Threads/StartStop/ours")->UseRealTime();
BENCHMARK(StartStopRaw)->Name("Threads/StartStop/limit_createthread")->UseRealTime();
BENCHMARK(QueueMillion)->Name("Threads/QueueMillion/ours")->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
