#ifndef VTCLASS_THREADS_CALL_COUNT_H
#define VTCLASS_THREADS_CALL_COUNT_H

#include <atomic>
#include <cstdint>

namespace vtclass::threads {

/*
 * The count of a semaphore, in front of the kernel object, which is touched only for a waiter that
 * sleeps. Three numbers in one word, so that each operation is one atomic step: the calls that
 * nobody has taken, the waiters that have announced their sleep, and the wake-ups that are known to
 * be on their way to them.
 *
 *   post:  if (Post()) release the kernel semaphore by one, then Released()
 *   wait:  if (TakeOrAnnounce()) done
 *          sleep on the kernel semaphore; woken: if (TakeWoken()) done, else once more
 *          timed out: TakeOrGiveUp() tells whether a call came after all
 *
 * A waiter takes its own announcement down, and a poster enters a wake-up only once it is done. So
 * whoever is killed between two steps leaves a sleeper that looks as if nobody had woken it, and
 * the next post wakes it.
 *
 * Why no wake-up is lost. Let L be the living sleepers that no token (a release of the semaphore,
 * not yet consumed) has woken, D those that were killed there, W the waiters between waking and
 * TakeWoken, dead or alive, and R the posters between release and Released, dead or alive. Then
 *   sleepers = L + D + W    and    wakeUps = tokens + W - R
 * hold at the start, and every step keeps them. A post that finds sleepers <= wakeUps therefore
 * finds L + D + R <= tokens: every living sleeper has a token, and whoever wakes takes a call if
 * there is one. Any other post releases a token of its own, unless its thread is killed before; the
 * next post then does so in its place, as it finds the same numbers.
 *
 * Tokens may be more than the sleepers: two posters may wake the same one, a waiter may give up
 * while its token is under way, a sleeper may be dead. Such a token costs a later sleeper one round
 * of its loop. There is at most one for each poster that was in Post at the time, for each waiter
 * that gave up and for each kill.
 */
class CallCount {
 public:
  CallCount() noexcept = default;
  /* At a state that Value() gave. */
  explicit CallCount(std::uint64_t value) noexcept : word(value) {}
  std::uint64_t Value() const noexcept { return word.load(); }

  static std::uint32_t Calls(std::uint64_t value) noexcept {
    return static_cast<std::uint32_t>(value);
  }
  static int Sleepers(std::uint64_t value) noexcept {
    return static_cast<std::uint16_t>(value >> 32);
  }
  static int WakeUps(std::uint64_t value) noexcept {
    return static_cast<std::int16_t>(value >> 48);
  }

  /* Counts one call. True: the caller owes one release of the kernel semaphore and a Released. */
  bool Post() noexcept {
    const std::uint64_t before = word.fetch_add(kCall);
    return Sleepers(before) > 0 && Sleepers(before) > WakeUps(before);
  }
  void Released() noexcept { word.fetch_add(kWakeUp); }

  /* A hint: at this moment a call can be taken. */
  bool HasCall() const noexcept { return Calls(word.load(std::memory_order_relaxed)) > 0; }

  /* Takes one call, or announces a sleeper. True: taken. */
  bool TakeOrAnnounce() noexcept { return TakeOr(kSleeper, 0); }

  /* After a sleep that a token ended: takes the announcement down, and one call if there is one. */
  bool TakeWoken() noexcept { return TakeOr(0, kSleeper + kWakeUp); }

  /* After a sleep that ended without a token: the same. */
  bool TakeOrGiveUp() noexcept { return TakeOr(0, kSleeper); }

 private:
  // The wake-ups stand at the top: below zero they borrow from nobody.
  static constexpr std::uint64_t kCall = 1;
  static constexpr std::uint64_t kSleeper = std::uint64_t{1} << 32;
  static constexpr std::uint64_t kWakeUp = std::uint64_t{1} << 48;

  bool TakeOr(std::uint64_t announced, std::uint64_t takenDown) noexcept {
    std::uint64_t before = word.load();
    while (!word.compare_exchange_weak(
        before, before - takenDown + (Calls(before) > 0 ? 0 - kCall : announced))) {
    }
    return Calls(before) > 0;
  }

  std::atomic<std::uint64_t> word{0};
};

}  // namespace vtclass::threads

#endif
