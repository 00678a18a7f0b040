#ifndef VTCLASS_LOG_DEBUG_WRAP_WHEN_MAX_SIZE_REACHED_H
#define VTCLASS_LOG_DEBUG_WRAP_WHEN_MAX_SIZE_REACHED_H

#include "log/debug/size_limit_policy.h"

namespace vtclass::log {

/*
 * Moves the newest lines of the file to its front, behind a line that says so, and cuts the rest
 * off. The file stays the same and stays open. Interrupted in the middle it begins with that line
 * and some of the newest lines, goes on with older ones, and still ends with the newest.
 */
class WrapWhenMaxSizeReached : public SizeLimitPolicy {
 public:
  /* `retention`: how many bytes move at most, whole lines. Requires: below the size at which
   * MakeRoom is called, by more than the marking line takes. */
  explicit WrapWhenMaxSizeReached(Position retention) : retention(retention) {}

  long MakeRoom(LiveFile& live) override;

 private:
  DWORD Wrap(LiveFile& live) const;

  const Position retention;
  bool reported = false; /* since the last wrap that succeeded */
};

}  // namespace vtclass::log

#endif
