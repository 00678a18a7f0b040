#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <process.h>

#include <algorithm>
#include <array>
#include <compare>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/import_hook.h"
#include "threads/all_interleavings.h"
#include "vtclass/threads.h"

namespace {

using vtclass::test::VisitAll;

constexpr unsigned kCalls = 3;
constexpr int kWorkers = 2;
constexpr int kPosts = 6;
constexpr int kNobody = -1;

enum class What { post, finish, drop, stop };
constexpr const char* kNames[] = {"post", "finish", "drop", "stop"};
struct Step {
  What what;
  unsigned call;
};

/* What the pool promises, in short. Workers are numbered in the order of their start. */
struct Model {
  std::array<int, kCalls> workerOf{kNobody, kNobody, kNobody};  // that has the call in hand
  std::vector<unsigned> pending;
  std::vector<int> idle;
  int workers = 0;
  auto operator<=>(const Model&) const = default;

  bool InHand(unsigned call) const { return workerOf[call] != kNobody; }
  auto Pending(unsigned call) const { return std::ranges::count(pending, call); }
  auto Busy() const { return kCalls - std::ranges::count(workerOf, kNobody); }
  auto NextPending() {
    return std::ranges::find_if(pending, [this](unsigned c) { return !InHand(c); });
  }

  /* No call that could run waits for a worker that could be had. */
  bool WorksOnAllItCan() const {
    Model copy = *this;
    return Busy() == kWorkers || copy.NextPending() == copy.pending.end();
  }

  void Take(Step step, bool keep) {
    switch (step.what) {
      case What::post:
        Post(step.call, keep);
        break;
      case What::finish:
        Finish(step.call, keep);
        break;
      case What::drop:
        pending.clear();
        break;
      case What::stop:
        pending.clear();
        workerOf.fill(kNobody);
        break;
    }
  }

  void Post(unsigned call, bool keep) {
    if (InHand(call)) {
      if (Pending(call) == 0) pending.push_back(call);
    } else if (keep && !idle.empty()) {
      workerOf[call] = idle.back();
      idle.pop_back();
    } else if (Busy() < kWorkers) {
      workerOf[call] = workers++;
    } else {
      pending.push_back(call);
    }
  }

  void Finish(unsigned call, bool keep) {
    const int worker = std::exchange(workerOf[call], kNobody);
    const auto next = NextPending();
    if (next != pending.end()) {
      workerOf[*next] = worker;
      pending.erase(next);
    } else if (keep) {
      idle.push_back(worker);
    }
  }
};

uintptr_t NoThread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) {
  return 0;
}

/* A call that its worker never gets to see. */
class HeldCall : public ThreadPoolCall {
 public:
  explicit HeldCall(ThreadPool* pool) : ThreadPoolCall(pool) { ++alive; }
  ~HeldCall() override { --alive; }
  void Execute() override {}
  void PostItToThread() override {
    EXPECT_FALSE(inHand) << "executing twice at once";
    inHand = true;
    AddRef();
  }
  void Finish() {
    inHand = false;
    ThreadExecute();
  }
  void Drop() {
    inHand = false;
    thread = nullptr;
    Release();
  }
  const WorkerThread* Worker() const { return thread; }
  long References() {
    AddRef();
    return Release();
  }

  bool inHand = false;
  static inline int alive = 0;
};

/*
 * The real pool with the real steps of posting, finishing and stopping. Each of them works on the
 * pool's state under its lock, so that one after the other, in any order, is all that can happen.
 * No thread is started: a call is in the hands of its worker until the scheduler lets it finish.
 */
class Real {
 public:
  explicit Real(bool keep) : pool(new ThreadPool(kWorkers, keep, WorkerThread::ComNone)) {
    for (auto& call : calls) call = new HeldCall(pool.get());
  }

  void Take(Step step) {
    switch (step.what) {
      case What::post:
        calls[step.call]->PostIt();
        break;
      case What::finish:
        calls[step.call]->Finish();
        break;
      case What::drop:
        pool->DeleteOutstandingCalls();
        break;
      case What::stop:
        Stop();
        break;
    }
  }

  void Compare(const Model& model) {
    std::set<const WorkerThread*> inHand;
    for (unsigned i = 0; i < kCalls; ++i) {
      HeldCall& call = *calls[i];
      const bool held = model.InHand(i);
      EXPECT_EQ(call.inHand, held);
      EXPECT_EQ(pool->IsThreadCallExecuting(&call), held);
      EXPECT_EQ(pool->IsThreadCallQueued(&call), model.Pending(i) > 0);
      EXPECT_EQ(call.References(), 1 + model.Pending(i) + (held ? 2 : 0));
      EXPECT_EQ(call.Worker() != nullptr, held);
      if (!held) continue;
      EXPECT_TRUE(inHand.insert(call.Worker()).second) << "two calls on one worker";
      const auto [known, first] = workers.emplace(model.workerOf[i], call.Worker());
      EXPECT_EQ(known->second, call.Worker()) << "on another worker than promised";
    }
  }

  /* Destroys the pool as it stands: all is dropped, but for what a dead worker had in hand. */
  void End() {
    pool.reset();
    for (const auto& call : calls) {
      EXPECT_EQ(call->References(), call->inHand ? 2 : 1);
      if (call->inHand) call->Release();
    }
  }

 private:
  void Stop() {
    pool->StopAllThreads(0);
    // The workers are gone; the host cleans up behind what they had in hand.
    for (const auto& call : calls) {
      if (!call->inHand) continue;
      pool->ThreadCallStopExecuting(call);
      call->Drop();
    }
  }

  std::unique_ptr<ThreadPool> pool;
  std::array<RefPointer<HeldCall>, kCalls> calls;
  std::map<int, const WorkerThread*> workers;  // by the model's number
};

struct State {
  Model model;
  int posts = 0;
  int stops = 0;
  std::vector<Step> path;  // one that leads here; the pools at the ends of all are the same
  bool operator<(const State& other) const {
    return std::tie(model, posts, stops) < std::tie(other.model, other.posts, other.stops);
  }
};

void Expand(const State& state, bool keep, std::vector<State>& next) {
  const auto add = [&](What what, unsigned call, int posts, int stops) {
    State after = state;
    after.model.Take({what, call}, keep);
    after.path.push_back({what, call});
    after.posts += posts;
    after.stops += stops;
    next.push_back(after);
  };
  for (unsigned i = 0; i < kCalls; ++i) {
    if (state.posts < kPosts) add(What::post, i, 1, 0);
    if (state.model.InHand(i)) add(What::finish, i, 0, 0);
  }
  if (state.stops == 0) add(What::drop, 0, 0, 1);
  if (state.stops == 0) add(What::stop, 0, 0, 1);
}

TEST(ThreadPoolModel, EveryOrderOfPostFinishAndStop_IsAsPromised) {
  const vtclass::test::ImportHook<decltype(::_beginthreadex)> hook("msvcrt.dll", "_beginthreadex",
                                                                   &NoThread);
  for (const bool keep : {false, true}) {
    const std::size_t states = VisitAll(State(), [keep](const State& state, auto& next) {
      EXPECT_TRUE(state.model.WorksOnAllItCan());
      Model model;
      Real real(keep);
      std::string trace;
      for (const Step step : state.path) {
        trace += " " + std::string(kNames[static_cast<int>(step.what)]) + std::to_string(step.call);
        SCOPED_TRACE((keep ? "keep:" : "retire:") + trace);
        model.Take(step, keep);
        real.Take(step);
        real.Compare(model);
      }
      real.End();
      Expand(state, keep, next);
    });
    EXPECT_GT(states, 1000u);
    std::cout << states << " states of a pool\n";
  }
  EXPECT_EQ(HeldCall::alive, 0);
}

}  // namespace
