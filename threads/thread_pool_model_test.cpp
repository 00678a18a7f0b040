#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <process.h>

#include <algorithm>
#include <array>
#include <compare>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/all_interleavings.h"
#include "tests/support/import_hook.h"
#include "tests/support/thread_calls.h"

namespace vtclass::test {
namespace {

constexpr unsigned kCalls = 3;
constexpr int kWorkers = 2, kPosts = 6, kNobody = -1;

// The steps: each call's post, each call's finish, dropping what is pending, stopping.
constexpr unsigned kPost = 0, kFinish = kPost + kCalls, kDrop = kFinish + kCalls, kStop = kDrop + 1;

// What the pool promises, in short. Workers are numbered in the order of their start.
struct Model {
  std::array<int, kCalls> workerOf{kNobody, kNobody, kNobody};  // that has the call in hand
  std::vector<unsigned> pending;
  std::vector<int> idle;
  int workers = 0, posts = 0, stops = 0;
  auto operator<=>(const Model&) const = default;

  bool InHand(unsigned call) const { return workerOf[call] != kNobody; }
  auto Pending(unsigned call) const { return std::ranges::count(pending, call); }
  auto Busy() const { return kCalls - std::ranges::count(workerOf, kNobody); }
  auto Next() const {
    return std::ranges::find_if(pending, [this](unsigned call) { return !InHand(call); });
  }

  // False when this cannot be the next step.
  bool Take(unsigned step, bool keep) {
    const unsigned call = step % kCalls;
    if (step < kFinish) {
      Post(call, keep);
      return ++posts <= kPosts;
    }
    if (step < kDrop) return InHand(call) && (Finish(call, keep), true);
    pending.clear();
    if (step == kStop) workerOf.fill(kNobody);
    return ++stops == 1;
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
    const auto next = Next();
    if (next != pending.end()) {
      workerOf[*next] = worker;
      pending.erase(next);
    } else if (keep) {
      idle.push_back(worker);
    }
  }
};

// A call that its worker never gets to see.
struct HeldCall : ThreadPoolCall {
  using ThreadPoolCall::ThreadPoolCall;
  void Execute() override {}
  void PostItToThread() override {
    EXPECT_FALSE(std::exchange(inHand, true)) << "executing twice at once";
    AddRef();
  }
  void Finish() { inHand = false, ThreadExecute(); }
  void Drop() { inHand = false, thread = nullptr, Release(); }
  const WorkerThread* Worker() const { return thread; }
  long References() { return AddRef(), Release(); }

  bool inHand = false;
};

// The real pool with the real steps of posting, finishing and stopping. Each of them works on the
// pool's state under its lock, so that one after the other, in any order, is all that can happen.
// No thread is started: a call is in the hands of its worker until the scheduler lets it finish.
struct Real {
  explicit Real(bool keep) : pool(new ThreadPool(kWorkers, keep, WorkerThread::ComNone)) {
    for (auto& call : calls) call = new HeldCall(pool.get());
  }

  void Take(unsigned step) {
    if (step < kFinish) calls[step]->PostIt();
    if (step >= kFinish && step < kDrop) calls[step % kCalls]->Finish();
    if (step == kDrop) pool->DeleteOutstandingCalls();
    if (step != kStop) return;
    pool->StopAllThreads(0);
    // The workers are gone; the host cleans up behind what they had in hand.
    for (const auto& call : calls) {
      if (!call->inHand) continue;
      pool->ThreadCallStopExecuting(call);
      call->Drop();
    }
  }

  void Compare(const Model& model) {
    if (model.Next() == model.pending.end()) EXPECT_EQ(pool->GetNextCall(), nullptr);
    std::set<const WorkerThread*> inHand;
    for (unsigned i = 0; i < kCalls; ++i) {
      HeldCall& call = *calls[i];
      const bool held = model.InHand(i);
      EXPECT_EQ(call.inHand, held);
      EXPECT_EQ(pool->IsThreadCallExecuting(&call), held);
      EXPECT_EQ(pool->IsThreadCallQueued(&call), model.Pending(i) > 0);
      EXPECT_EQ(call.References(), 1 + model.Pending(i) + (held ? 2 : 0));
      EXPECT_TRUE(!held || inHand.insert(call.Worker()).second) << "two calls on one worker";
      const auto* const promised =
          held ? workers.emplace(model.workerOf[i], call.Worker()).first->second : nullptr;
      EXPECT_EQ(call.Worker(), promised);
    }
  }

  // Destroys the pool as it stands: all is dropped, but for what a dead worker had in hand.
  ~Real() {
    pool.reset();
    for (const auto& call : calls) {
      EXPECT_EQ(call->References(), call->inHand ? 2 : 1);
      if (call->inHand) call->Release();
    }
  }

  std::unique_ptr<ThreadPool> pool;
  std::array<RefPointer<HeldCall>, kCalls> calls;
  std::map<int, const WorkerThread*> workers;  // by the model's number
};

struct State {
  Model model;
  std::string path;  // of steps that lead here; the pools at the ends of all paths are the same
  bool operator<(const State& other) const { return model < other.model; }
};

TEST(ThreadPoolModel, EveryOrderOfPostFinishAndStop_IsAsPromised) {
  const ImportHook<decltype(::_beginthreadex)> hook(nullptr, "_beginthreadex", &RefuseThread);
  for (const bool keep : {false, true}) {
    const auto visit = [keep](const State& state, std::vector<State>& next) {
      SCOPED_TRACE((keep ? "keep: " : "retire: ") + state.path);
      EXPECT_TRUE(state.model.Busy() == kWorkers || state.model.Next() == state.model.pending.end())
          << "a call waits for a worker that could be had";
      Model model;
      Real real(keep);
      for (const char step : state.path) {
        model.Take(static_cast<unsigned>(step - '0'), keep);
        real.Take(static_cast<unsigned>(step - '0'));
        real.Compare(model);
      }
      for (unsigned step = kPost; step <= kStop; ++step) {
        State after{state.model, state.path + std::to_string(step)};
        if (after.model.Take(step, keep)) next.push_back(after);
      }
    };
    EXPECT_GT(VisitAll(State(), visit), 1000u);
  }
}

}  // namespace
}  // namespace vtclass::test
