#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "tests/support/all_interleavings.h"
#include "threads/call_count.h"

namespace vtclass::test {
namespace {

using threads::CallCount;

// A killer may strike the last two at every step.
enum class Kind : char { poster = 'p', waiter = 'w', timed = 't', deadPoster = 'k', victim = 'v' };
enum class At : char { start, owesRelease, owesReleased, sleeps, woken, killed, done };

struct Thread {
  Kind kind = Kind::poster;
  int left = 0;  // posts or waits to go
  At at = At::done;
  At killedAt = At::start;
  auto operator<=>(const Thread&) const = default;
};

struct State {
  std::array<Thread, 5> threads;
  std::uint64_t count = 0;  // of the CallCount
  long tokens = 0;          // of the kernel semaphore
  long posted = 0;
  long taken = 0;
  long gaveUp = 0;  // waiters whose time was over
  auto operator<=>(const State&) const = default;

  auto Standing(At place) const { return std::ranges::count(threads, place, &Thread::at); }
  auto Killed(At place) const {
    return std::ranges::count_if(threads, [place](const Thread& thread) {
      return thread.at == At::killed && thread.killedAt == place;
    });
  }
};

// Does one operation of a real CallCount.
bool Do(std::uint64_t& value, bool (CallCount::*operation)() noexcept) {
  CallCount count(value);
  const bool result = (count.*operation)();
  value = count.Value();
  return result;
}

// Appends what each possible next step of thread `i` makes of the state.
void Step(const State& state, std::size_t i, std::vector<State>& next) {
  State after = state;
  Thread& thread = after.threads[i];
  const auto go = [&](At place) { thread.at = place, next.push_back(after); };
  const auto end = [&](bool taken) {
    after.taken += taken;
    go(--thread.left > 0 ? At::start : At::done);
  };
  if ((thread.kind == Kind::deadPoster || thread.kind == Kind::victim) && thread.at != At::start &&
      thread.at != At::done && thread.at != At::killed) {
    thread.killedAt = thread.at;
    go(At::killed);
    after = state;
  }
  switch (thread.at) {
    case At::start:
      if (thread.kind == Kind::poster || thread.kind == Kind::deadPoster) {
        ++after.posted;
        Do(after.count, &CallCount::Post) ? go(At::owesRelease) : end(false);
      } else {
        Do(after.count, &CallCount::TakeOrAnnounce) ? end(true) : go(At::sleeps);
      }
      break;
    case At::owesRelease:
      ++after.tokens;
      go(At::owesReleased);
      break;
    case At::owesReleased: {
      CallCount count(after.count);
      count.Released();
      after.count = count.Value();
      end(false);
      break;
    }
    case At::sleeps:
      if (thread.kind == Kind::timed) {  // at the worst moment
        ++after.gaveUp;
        end(Do(after.count, &CallCount::TakeOrGiveUp));
        after = state;
      }
      if (after.tokens-- > 0) go(At::woken);
      break;
    case At::woken:
      Do(after.count, &CallCount::TakeWoken) ? end(true) : go(At::start);
      break;
    default:
      break;
  }
}

// The two sums of CallCount's comment, and what follows from them at the end.
void Check(const State& state, bool isEnd) {
  const auto woken = state.Standing(At::woken) + state.Killed(At::woken);
  const auto owing = state.Standing(At::owesReleased) + state.Killed(At::owesReleased);
  const auto asleep = state.Standing(At::sleeps), dead = state.Killed(At::sleeps);
  EXPECT_EQ(CallCount::Sleepers(state.count), asleep + dead + woken);
  EXPECT_EQ(CallCount::WakeUps(state.count), state.tokens + woken - owing);
  EXPECT_EQ(CallCount::Calls(state.count), state.posted - state.taken) << "calls not taken";
  if (!isEnd) return;
  const auto cutOff = state.Killed(At::owesRelease), robbed = state.Killed(At::woken);
  EXPECT_TRUE(asleep == 0 || state.posted - state.taken <= cutOff + robbed) << "a wake-up is lost";
  const auto posters = std::ranges::count_if(state.threads, [](const Thread& thread) {
    return thread.kind == Kind::poster || thread.kind == Kind::deadPoster;
  });
  EXPECT_LE(state.tokens, posters + state.gaveUp + state.Standing(At::killed)) << "astray";
}

TEST(CallCount, EveryInterleavingAndKill_LosesNoWakeUpAndHoardsNoToken) {
  // The kind of each thread, and how often it posts or waits.
  for (const std::string_view row :
       {"p4w4", "p2p2w2w2", "p2p1w1t2t1", "p3t2t1t1", "p2p1v1t2", "p3v1w2t1", "p2v2v1t1", "k3p3w4",
        "k1k1p2w3", "k2p2v1w2", "k2p1v2t2"}) {
    SCOPED_TRACE(row);
    State start;
    for (std::size_t i = 0; i < row.size(); i += 2) {
      start.threads[i / 2] = {static_cast<Kind>(row[i]), row[i + 1] - '0', At::start, At::start};
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
