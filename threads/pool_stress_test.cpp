#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "threads/threads_test_support.h"
#include "vtclass/threads.h"

namespace {

constexpr int kProducers = 8;

unsigned long FromEnvironment(const char* name, unsigned long otherwise) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing changes the environment
  const char* const text = std::getenv(name);
  return text ? std::strtoul(text, nullptr, 10) : otherwise;
}

unsigned long Handles() {
  DWORD count = 0;
  EXPECT_TRUE(::GetProcessHandleCount(::GetCurrentProcess(), &count));
  return count;
}

// The last of each producer's calls that this thread ran. A pool's thread lives in one pool only.
thread_local std::array<long, kProducers> lastOf;

std::atomic<long> alive, runs, outOfOrder, twiceAtOnce;

/* A call that is posted once. Base is RefThreadCall or ThreadPoolCall. */
template <typename Base>
class OneRun : public Base {
 public:
  template <typename Target>
  OneRun(Target* target, unsigned producer, long number)
      : Base(target), producer(producer), number(number) {
    ++alive;
  }
  ~OneRun() override { --alive; }
  void Execute() override {
    ++runs;
    outOfOrder += std::exchange(lastOf[producer], number) >= number;
  }

 private:
  const unsigned producer;
  const long number;
};

/* A call that everybody posts all the time. */
class Shared : public ThreadPoolCall {
 public:
  using ThreadPoolCall::ThreadPoolCall;
  void PostIt() override {
    ++asked;
    ThreadPoolCall::PostIt();
  }
  void Execute() override {
    twiceAtOnce += running.exchange(true);
    seen = asked.load();
    running = false;
  }
  bool IsUpToDate() const { return seen == asked; }

 private:
  std::atomic<long> asked{0}, seen{0};
  std::atomic<bool> running{false};
};

// Runs `produce(producer, random)` on eight threads.
template <typename Produce>
void Together(unsigned long seed, Produce produce) {
  std::vector<std::thread> producers;
  producers.reserve(kProducers);
  for (unsigned i = 0; i < kProducers; ++i) {
    producers.emplace_back([=] { produce(i, std::minstd_rand(seed + i)); });
  }
  for (std::thread& producer : producers) producer.join();
}

void Settle(const std::function<bool()>& settled) {
  const DWORD begin = ::GetTickCount();
  while (!settled() && ::GetTickCount() - begin < vtclass::test::kLimit) ::Sleep(1);
  EXPECT_TRUE(settled()) << alive << " calls alive";
}

/* VTCLASS_STRESS_CALLS and VTCLASS_STRESS_SEED in the environment choose another run. */
class Stress : public ::testing::Test {
 protected:
  Stress()
      : calls(static_cast<long>(FromEnvironment("VTCLASS_STRESS_CALLS", 1000000))),
        seed(FromEnvironment("VTCLASS_STRESS_SEED", std::random_device()())) {
    std::cout << calls << " calls, VTCLASS_STRESS_SEED=" << seed << "\n";
    runs = outOfOrder = twiceAtOnce = 0;
    Together(0, [](unsigned, std::minstd_rand) {});  // what the first threads leave open for good
    handles = Handles();
  }
  ~Stress() override {
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(outOfOrder, 0);
    EXPECT_EQ(twiceAtOnce, 0);
    EXPECT_EQ(Handles(), handles);
  }

  const long calls;
  const unsigned long seed;

 private:
  unsigned long handles = 0;
};

/* Posts shared calls and new ones that run once; returns how many were new. */
long PostAtRandom(ThreadPool& pool, const std::vector<RefPointer<Shared>>& shared, long count,
                  unsigned producer, std::minstd_rand random) {
  long once = 0;
  for (long i = 1; i <= count; ++i) {
    const auto dice = random() % 16;
    if (dice < shared.size()) {
      shared[dice]->PostIt();
    } else {
      ++once;
      (new OneRun<ThreadPoolCall>(&pool, producer, i))->PostIt();
    }
    if (random() % 512 == 0) ::Sleep(0);
  }
  return once;
}

TEST_F(Stress, Pools_RunEveryPost_NoCallTwiceAtOnce_InOrder) {
  constexpr int kWorkers[] = {1, 2, 3, 16, 64};
  const long each = calls / (2 * static_cast<long>(std::size(kWorkers)) * kProducers);
  long posted = 0;
  for (const int keep : {0, 1}) {
    for (const int workers : kWorkers) {
      SCOPED_TRACE(::testing::Message() << workers << " workers, keep " << keep);
      ThreadPool pool(workers, keep, WorkerThread::ComNone);
      std::vector<RefPointer<Shared>> shared;
      shared.reserve(5);
      for (int i = 0; i < 5; ++i) shared.push_back(new Shared(&pool));
      std::atomic<long> once = 0;
      Together(seed + static_cast<unsigned long>(workers * 2 + keep),
               [&](unsigned producer, std::minstd_rand random) {
                 once += PostAtRandom(pool, shared, each, producer, random);
               });
      posted += once;
      Settle([&] {
        bool settled = alive == 0;
        for (const auto& call : shared) settled &= !pool.IsThreadCallExecuting(call);
        return settled;
      });
      for (const auto& call : shared) {
        EXPECT_TRUE(call->IsUpToDate()) << "the last post did not run";
        EXPECT_EQ(call->AddRef(), 2);
        call->Release();
      }
    }
  }
  EXPECT_EQ(runs, posted);
}

TEST_F(Stress, Worker_RunsEveryCallInQueueOrder_AndSleepsAndWakes) {
  const long each = calls / kProducers;
  WorkerThread worker(WorkerThread::ComNone, "Stress");
  worker.StartThread(0);
  Together(seed, [&](unsigned producer, std::minstd_rand random) {
    for (long i = 1; i <= each; ++i) {
      (new OneRun<RefThreadCall>(&worker, producer, i))->PostIt();
      // Waits until the worker runs dry, so that it sleeps at times.
      if (random() % 1024 == 0)
        while (worker.NumberOfOutstandingCalls() > 0) ::Sleep(0);
    }
  });
  worker.StopThread();
  EXPECT_EQ(runs, each * kProducers);
  EXPECT_EQ(worker.NumberOfOutstandingCalls(), 0);
}

}  // namespace
