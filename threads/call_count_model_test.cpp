#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "threads/all_interleavings.h"
#include "threads/call_count.h"

namespace vtclass::test {
namespace {

using threads::CallCount;

enum class Kind : char { poster = 'p', waiter = 'w', timed = 't', victim = 'v' };
enum class At : char { start, owesRelease, sleeps, killed, done };

struct Thread {
  Kind kind = Kind::poster;
  int left = 0;  // posts or waits to go
  At at = At::done;
  auto operator<=>(const Thread&) const = default;
};

struct State {
  std::array<Thread, 5> threads;
  long count = 0;   // of the CallCount
  long tokens = 0;  // of the kernel semaphore
  long posted = 0;
  long taken = 0;
  auto operator<=>(const State&) const = default;

  auto Standing(At place) const { return std::ranges::count(threads, place, &Thread::at); }
};

// Does one operation of a real CallCount that stands at `value`, which then is what it stands at.
bool Do(long& value, bool (CallCount::*operation)() noexcept) {
  CallCount count;
  for (; value > 0; --value) count.Post();
  for (; value < 0; ++value) count.TakeOrAnnounce();
  const bool result = (count.*operation)();
  while (count.TakeBack()) --value;
  while (count.TakeOrAnnounce()) ++value;
  return result;
}

// Appends what each possible next step of thread `i` makes of the state.
void Step(const State& state, std::size_t i, std::vector<State>& next) {
  State after = state;
  Thread& thread = after.threads[i];
  const auto end = [&](bool taken) {
    after.taken += taken;
    thread.at = --thread.left > 0 ? At::start : At::done;
    next.push_back(after);
  };
  const auto go = [&](At place) { thread.at = place, next.push_back(after); };
  if (thread.at == At::start && thread.kind == Kind::poster) {
    ++after.posted;
    Do(after.count, &CallCount::Post) ? go(At::owesRelease) : end(false);
  } else if (thread.at == At::start) {
    Do(after.count, &CallCount::TakeOrAnnounce) ? end(true) : go(At::sleeps);
  } else if (thread.at == At::owesRelease) {
    ++after.tokens;
    end(false);
  } else if (thread.at == At::sleeps) {
    if (thread.kind == Kind::victim) go(At::killed);
    // At the worst moment, and once more after a refusal, which leaves all as it is.
    if (thread.kind == Kind::timed && Do(after.count, &CallCount::TakeBack)) end(false);
    after = state;
    if (after.tokens-- > 0) end(true);
  }
}

// The sum of CallCount's comment, and what follows from it at the end.
void Check(const State& state, bool isEnd) {
  const auto claimed = state.tokens + state.Standing(At::owesRelease);
  const auto sleeping = state.Standing(At::sleeps), killed = state.Standing(At::killed);
  EXPECT_EQ(sleeping + killed, claimed + std::max(0L, -state.count));
  EXPECT_EQ(state.posted - state.taken, claimed + std::max(0L, state.count)) << "calls not taken";
  if (!isEnd) return;
  EXPECT_TRUE(sleeping == 0 || state.posted == state.taken) << "a wake-up is lost";
  EXPECT_LE(state.tokens, killed) << "a token is astray";
}

TEST(CallCount, EveryInterleaving_LosesNoWakeUpAndLeavesNoToken) {
  // The kind of each thread, and how often it posts or waits.
  for (const std::string_view row : {"p4w4", "p3p3w3w3", "p2p2w2t3t3", "p3p2t3t3t3", "p4w3t2t2t2",
                                     "p2p2v1t2t2", "p4v1v2w2t2", "p4v2v1t2t2"}) {
    SCOPED_TRACE(row);
    State start;
    for (std::size_t i = 0; i < row.size(); i += 2) {
      start.threads[i / 2] = {static_cast<Kind>(row[i]), row[i + 1] - '0', At::start};
    }
    const auto visit = [](const State& state, std::vector<State>& next) {
      for (std::size_t i = 0; i < state.threads.size(); ++i) Step(state, i, next);
      Check(state, next.empty());
    };
    EXPECT_GT(VisitAll(start, visit), 30u);
  }
}

}  // namespace
}  // namespace vtclass::test
