#ifndef VTCLASS_CONFIG_GROWING_PAUSE_H
#define VTCLASS_CONFIG_GROWING_PAUSE_H

#include <vtclass/win32.h>

#include <algorithm>

namespace vtclass::config {

/* When to try again what the system refuses: soon at first, then after pauses that double up to a
 * minute. Belongs to one thread. */
class GrowingPause {
 public:
  /* Orders the next attempt; one that is ordered and not due yet stands. True when it is the first
   * of a series. */
  bool Order() noexcept {
    const bool isFirst = pause == 0;
    if (!isFirst && Left() != 0) return false;
    pause = isFirst ? kShortest : std::min(2 * pause, kLongest);
    due = ::GetTickCount64() + pause;
    return isFirst;
  }

  /* The attempt succeeded. */
  void End() noexcept { pause = 0; }

  /* Milliseconds until the attempt, INFINITE when none is ordered. */
  DWORD Left() const noexcept {
    if (pause == 0) return INFINITE;
    const ULONGLONG now = ::GetTickCount64();
    return now >= due ? 0 : static_cast<DWORD>(due - now);
  }

 private:
  static constexpr DWORD kShortest = 100;
  static constexpr DWORD kLongest = 60000;

  DWORD pause = 0;
  ULONGLONG due = 0;
};

}  // namespace vtclass::config

#endif
