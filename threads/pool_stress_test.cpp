#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <random>
#include <thread>

#include "tests/support/thread_calls.h"

namespace vtclass::test {
namespace {

constexpr unsigned kProducers = 8;
constexpr long kCallsOfProducer = 20000;

std::atomic<long> posted, runs, outOfOrder, twiceAtOnce;

// The last of each producer's calls that this thread ran. A worker's thread lives in one pool only.
thread_local std::array<long, kProducers> lastOf;

// A call that everybody posts all the time.
struct Shared {
  explicit Shared(ThreadPool* pool)
      : call(new PoolCall(pool, [this] {
          twiceAtOnce += running.exchange(true);
          seen = asked.load();
          running = false;
        })) {}

  std::atomic<long> asked{0}, seen{0};
  std::atomic<bool> running{false};
  const RefPointer<PoolCall> call;
};

// Eight threads post new calls, which run once, and now and then one of the shared.
template <typename Target>
void Produce(Target& target, std::deque<Shared>& shared) {
  std::deque<std::jthread> producers;
  for (unsigned producer = 0; producer < kProducers; ++producer) {
    producers.emplace_back([&, producer] {
      std::minstd_rand random(producer + 1);
      for (long number = 1; number <= kCallsOfProducer; ++number) {
        const auto dice = random() % 16;
        if (dice < shared.size()) {
          ++shared[dice].asked, shared[dice].call->PostIt();
        } else {
          ++posted;
          Post(target, [producer, number] {
            ++runs;
            outOfOrder += std::exchange(lastOf[producer], number) >= number;
          });
        }
        if (random() % 512 == 0) ::Sleep(0);
      }
    });
  }
}

TEST(Stress, EveryPostRuns_InOrder_NeverTwiceAtOnce_AndNothingIsLeft) {
  for (const auto& [workers, keep] : {std::pair(1, 0), {1, 1}, {3, 0}, {3, 1}, {64, 0}, {64, 1}}) {
    SCOPED_TRACE(::testing::Message() << workers << " workers, keep " << keep);
    ThreadPool pool(workers, keep, WorkerThread::ComNone);
    std::deque<Shared> shared;
    while (shared.size() < 5) shared.emplace_back(&pool);
    Produce(pool, shared);
    EXPECT_TRUE(Eventually([] { return PoolCall::alive == 5; }));
    for (const Shared& each : shared) {
      EXPECT_TRUE(Eventually([&] { return !pool.IsThreadCallExecuting(each.call); }));
      EXPECT_EQ(each.seen, each.asked) << "the last post did not run";
      EXPECT_EQ(each.call->AddRef(), 2);
      each.call->Release();
    }
  }
  WorkerThread worker(WorkerThread::ComNone, "Stress");
  worker.StartThread(0);
  std::deque<Shared> none;
  Produce(worker, none);
  worker.StopThread();
  EXPECT_EQ(worker.NumberOfOutstandingCalls() + PoolCall::alive + WorkerCall::alive, 0);
  EXPECT_EQ(runs, posted);
  EXPECT_EQ(outOfOrder + twiceAtOnce, 0);
}

}  // namespace
}  // namespace vtclass::test
