#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <random>
#include <thread>

#include "tests/support/thread_calls.h"

namespace vtclass::test {
namespace {

constexpr unsigned kProducers = 8;
constexpr long kCallsOfProducer = 100000;

unsigned seed = 0;
std::atomic<long> posted, runs, outOfOrder, twiceAtOnce;

// The last of each producer's calls that this thread ran. A worker's thread lives in one pool only.
thread_local std::array<long, kProducers> lastOf;

// Posts a call that runs once.
template <typename Target>
void PostNew(Target& target, unsigned producer, long number) {
  ++posted;
  Post(target, [producer, number] {
    ++runs;
    outOfOrder += std::exchange(lastOf[producer], number) >= number;
  });
}

// A call that everybody posts all the time.
struct Shared {
  explicit Shared(ThreadPool* pool)
      : call(new PoolCall(pool, [this] {
          twiceAtOnce += running.exchange(true);
          seen = asked.load();
          running = false;
        })) {}
  void PostIt() { ++asked, call->PostIt(); }

  std::atomic<long> asked{0}, seen{0};
  std::atomic<bool> running{false};
  const RefPointer<PoolCall> call;
};

// Runs `produce(producer, random)` on eight threads.
template <typename Produce>
void Together(Produce produce) {
  std::deque<std::jthread> producers;
  for (unsigned i = 0; i < kProducers; ++i) {
    producers.emplace_back(produce, i, std::minstd_rand(++seed));
  }
}

void StressPool(int workers, int keep) {
  SCOPED_TRACE(::testing::Message() << workers << " workers, keep " << keep);
  ThreadPool pool(workers, keep, WorkerThread::ComNone);
  std::deque<Shared> shared;
  while (shared.size() < 5) shared.emplace_back(&pool);
  Together([&](unsigned producer, std::minstd_rand random) {
    for (long i = 1; i <= kCallsOfProducer / 10; ++i) {
      const auto dice = random() % 16;
      dice < shared.size() ? shared[dice].PostIt() : PostNew(pool, producer, i);
      if (random() % 512 == 0) ::Sleep(0);
    }
  });
  EXPECT_TRUE(Eventually([&] {
    return PoolCall::alive == 5 && std::ranges::none_of(shared, [&pool](const Shared& each) {
             return pool.IsThreadCallExecuting(each.call);
           });
  }));
  for (const Shared& each : shared) {
    EXPECT_EQ(each.seen, each.asked) << "the last post did not run";
    EXPECT_EQ(each.call->AddRef(), 2);
    each.call->Release();
  }
}

void StressWorker() {
  WorkerThread worker(WorkerThread::ComNone, "Stress");
  worker.StartThread(0);
  Together([&](unsigned producer, std::minstd_rand random) {
    for (long i = 1; i <= kCallsOfProducer; ++i) {
      PostNew(worker, producer, i);
      // Waits until the worker runs dry, so that it sleeps at times.
      while (random() % 1024 == 0 && worker.NumberOfOutstandingCalls() > 0) ::Sleep(0);
    }
  });
  worker.StopThread();
  EXPECT_EQ(worker.NumberOfOutstandingCalls(), 0);
}

TEST(Stress, EveryPostRuns_InOrder_NeverTwiceAtOnce_AndNothingIsLeft) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing changes the environment
  const char* const given = std::getenv("VTCLASS_STRESS_SEED");
  seed = given ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  std::cout << "VTCLASS_STRESS_SEED=" << seed << "\n";
  const auto handles = [] {
    DWORD count = 0;
    EXPECT_TRUE(::GetProcessHandleCount(::GetCurrentProcess(), &count));
    return count;
  };
  Together([](unsigned, std::minstd_rand) {});  // what the first threads leave open for good
  const DWORD before = handles();
  for (const int workers : {1, 2, 3, 16, 64}) {
    for (const int keep : {0, 1}) StressPool(workers, keep);
  }
  StressWorker();
  EXPECT_EQ(runs, posted);
  EXPECT_EQ(outOfOrder, 0);
  EXPECT_EQ(twiceAtOnce, 0);
  EXPECT_EQ(PoolCall::alive + WorkerCall::alive, 0);
  EXPECT_EQ(handles(), before);
}

}  // namespace
}  // namespace vtclass::test
