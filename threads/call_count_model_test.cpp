#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <compare>
#include <vector>

#include "threads/all_interleavings.h"
#include "threads/call_count.h"

namespace {

using vtclass::test::VisitAll;
using vtclass::threads::CallCount;

enum class Kind : char { none, poster, waiter, timedWaiter, zeroWaiter, victim };
enum class At : char { start, owesRelease, sleeps, timedOut, sleepsAgain, killed, done };

struct Thread {
  Kind kind = Kind::none;
  int left = 0;  // posts or waits to go
  At at = At::start;
  auto operator<=>(const Thread&) const = default;
};

constexpr std::size_t kThreads = 5;
struct State {
  std::array<Thread, kThreads> threads;
  long count = 0;   // of the CallCount
  long tokens = 0;  // of the kernel semaphore
  long posted = 0;
  long taken = 0;
  auto operator<=>(const State&) const = default;
};

// Does one operation of a real CallCount that stands at `value`, which then is what it stands at.
template <typename Operation>
bool Do(long& value, Operation operation) {
  CallCount count;
  for (long i = 0; i < value; ++i) count.Post();
  for (long i = 0; i > value; --i) count.TakeOrAnnounce();
  const bool result = (count.*operation)();
  value = 0;
  while (count.TakeBack()) --value;
  if (value == 0) {
    while (count.TakeOrAnnounce()) ++value;
  }
  return result;
}

void EndWait(State& state, Thread& thread, bool taken) {
  state.taken += taken;
  thread.at = --thread.left > 0 ? At::start : At::done;
}

// The next step of a thread that can always go on; false when it sleeps, is dead or done.
bool Step(State& state, Thread& thread) {
  if (thread.at == At::start && thread.kind == Kind::poster) {
    ++state.posted;
    const bool owes = Do(state.count, &CallCount::Post);
    if (owes) {
      thread.at = At::owesRelease;
    } else if (--thread.left == 0) {
      thread.at = At::done;
    }
  } else if (thread.at == At::owesRelease) {
    ++state.tokens;
    thread.at = --thread.left > 0 ? At::start : At::done;
  } else if (thread.at == At::start) {
    if (Do(state.count, &CallCount::TakeOrAnnounce)) {
      EndWait(state, thread, true);
    } else {
      thread.at = At::sleeps;
    }
  } else if (thread.at == At::timedOut) {
    if (Do(state.count, &CallCount::TakeBack)) {
      EndWait(state, thread, false);
    } else {
      thread.at = At::sleepsAgain;
    }
  } else {
    return false;
  }
  return true;
}

long long CountAt(const State& state, std::initializer_list<At> places) {
  return std::ranges::count_if(state.threads, [&](const Thread& t) {
    return std::ranges::find(places, t.at) != places.end();
  });
}

void Expand(const State& state, std::vector<State>& next) {
  for (std::size_t i = 0; i < kThreads; ++i) {
    State after = state;
    Thread& thread = after.threads[i];
    if (thread.kind == Kind::none) continue;
    if (Step(after, thread)) {
      next.push_back(after);
      continue;
    }
    const bool sleeps = thread.at == At::sleeps;
    const bool sleepsAgain = thread.at == At::sleepsAgain;
    if ((sleeps || sleepsAgain) && state.tokens > 0) {
      --after.tokens;
      EndWait(after, thread, true);
      next.push_back(after);
    }
    after = state;
    // A wait of no time takes a token that is there. Others may time out at the worst moment.
    if (sleepsAgain || (sleeps && thread.kind == Kind::timedWaiter) ||
        (sleeps && thread.kind == Kind::zeroWaiter && state.tokens == 0)) {
      thread.at = At::timedOut;
      next.push_back(after);
    } else if (sleeps && thread.kind == Kind::victim) {
      thread.at = At::killed;
      next.push_back(after);
    }
  }
}

void CheckStep(const State& state) {
  const long long announced =
      CountAt(state, {At::sleeps, At::timedOut, At::sleepsAgain, At::killed});
  const long long due = CountAt(state, {At::owesRelease});
  const long long claimed = state.tokens + due;
  EXPECT_EQ(announced, claimed + std::max(0L, -state.count));
  EXPECT_EQ(state.posted - state.taken, claimed + std::max(0L, state.count))
      << "a call is counted once";
  if (state.count >= 0 && due == 0) {
    EXPECT_GE(state.tokens, CountAt(state, {At::sleeps, At::sleepsAgain}))
        << "somebody sleeps beside a call";
  }
  if (CountAt(state, {At::sleepsAgain, At::timedOut}) > 0 && claimed == 0) {
    EXPECT_LT(state.count, 0) << "a wait that timed out does not end";
  }
}

void CheckEnd(State state) {
  const bool sleeps = CountAt(state, {At::sleeps}) > 0;
  const long long killed = CountAt(state, {At::killed});
  EXPECT_FALSE(sleeps && state.posted > state.taken) << "a wake-up is lost";
  EXPECT_LE(state.tokens, killed) << "a token is astray";
  // What is left can be taken by waits of no time, as a stop does it.
  while (!sleeps && state.taken < state.posted) {
    if (!Do(state.count, &CallCount::TakeOrAnnounce)) {
      ASSERT_GT(state.tokens, 0) << "a call is lost";
      --state.tokens;
    }
    ++state.taken;
  }
}

TEST(CallCount, EveryInterleaving_LosesNoWakeUpAndLeavesNoToken) {
  constexpr Kind none = Kind::none, poster = Kind::poster, waiter = Kind::waiter,
                 timed = Kind::timedWaiter, zero = Kind::zeroWaiter, victim = Kind::victim;
  struct {
    std::array<Kind, kThreads> kinds;
    std::array<int, kThreads> times;
  } const cases[] = {{{poster, waiter, none, none, none}, {4, 4}},
                     {{poster, poster, waiter, waiter, none}, {3, 3, 3, 3}},
                     {{poster, poster, waiter, timed, timed}, {2, 2, 2, 3, 3}},
                     {{poster, poster, timed, timed, zero}, {3, 2, 3, 3, 3}},
                     {{poster, waiter, timed, zero, zero}, {4, 3, 2, 2, 2}},
                     {{poster, poster, victim, timed, zero}, {2, 2, 1, 2, 2}},
                     {{poster, victim, victim, waiter, zero}, {4, 1, 2, 2, 2}},
                     {{poster, victim, victim, timed, timed}, {4, 2, 1, 2, 2}}};
  std::size_t states = 0;
  for (const auto& row : cases) {
    State start;
    for (std::size_t i = 0; i < kThreads; ++i) start.threads[i] = {row.kinds[i], row.times[i]};
    states += VisitAll(start, [](const State& state, std::vector<State>& next) {
      CheckStep(state);
      Expand(state, next);
      if (next.empty()) CheckEnd(state);
    });
  }
  EXPECT_FALSE(::testing::Test::HasFailure()) << "one of the first " << states << " states";
  RecordProperty("states", std::to_string(states));
}

}  // namespace
