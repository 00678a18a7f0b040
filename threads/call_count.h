#ifndef VTCLASS_THREADS_CALL_COUNT_H
#define VTCLASS_THREADS_CALL_COUNT_H

#include <atomic>

namespace vtclass::threads {

/*
 * The count of a semaphore, in front of the kernel object, which is touched only for a waiter that
 * sleeps. Positive: calls that nobody has claimed. Negative: waiters that have announced that they
 * go to sleep and that no poster has claimed. Each operation is one atomic step.
 *
 *   post:  if (Post()) release the kernel semaphore by one
 *   wait:  if (TakeOrAnnounce()) done
 *          sleep on the kernel semaphore; woken: done
 *          timed out: if (TakeBack()) nothing was taken
 *                     else sleep on for a moment; woken: done; timed out: once more
 *
 * Why no wake-up is lost and none is astray. Let S be the announced waiters that have neither been
 * woken nor taken their announcement back, and T the tokens: releases of the kernel semaphore that
 * are due or done, and not yet consumed. Then S = T + max(0, -count) holds always. It holds at the
 * start (all 0), and every step keeps it:
 *   Post at count >= 0           neither side changes
 *   Post at count < 0            -count falls by one, T rises by one: a release is due
 *   TakeOrAnnounce at count > 0  neither side changes
 *   TakeOrAnnounce at count <= 0 -count and S rise by one
 *   waking                       S and T fall by one
 *   TakeBack at count < 0        -count and S fall by one
 *   TakeBack at count >= 0       refused; nothing changes
 * With count >= 0 every sleeper has a token, so nobody sleeps while a call is unclaimed; and T
 * never exceeds S, so no token is left when nobody sleeps. A waiter whose TakeBack is refused is
 * one of S, so there is a token for it. Another waiter may announce itself and snatch that token;
 * the count is below 0 then, and the next TakeBack ends the wait. So a wait with a time-out never
 * waits for the next post.
 *
 * A waiter that is killed in its sleep stays in S. The next post makes a token for it, which any
 * later waiter consumes in its place, a wait of no time among them: it announces itself first.
 * A poster that is killed between its two steps takes one wake-up along; whoever kills threads
 * gives up what they were doing.
 */
class CallCount {
 public:
  /* Counts one call. True: the caller owes one release of the kernel semaphore. */
  bool Post() noexcept { return count.fetch_add(1) < 0; }

  /* A hint: at this moment a call can be taken. */
  bool HasCall() const noexcept { return count.load(std::memory_order_relaxed) > 0; }

  /* Takes one call, or announces a sleeper. True: taken. */
  bool TakeOrAnnounce() noexcept { return count.fetch_sub(1) > 0; }

  /* After a sleep that ended without a token. True: the announcement is taken back. False: a poster
   * has claimed it; the caller must take the token that is there or on its way. */
  bool TakeBack() noexcept {
    long seen = count.load();
    while (seen < 0) {
      if (count.compare_exchange_weak(seen, seen + 1)) return true;
    }
    return false;
  }

 private:
  std::atomic<long> count{0};
};

}  // namespace vtclass::threads

#endif
