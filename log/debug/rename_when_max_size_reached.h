#ifndef VTCLASS_LOG_DEBUG_RENAME_WHEN_MAX_SIZE_REACHED_H
#define VTCLASS_LOG_DEBUG_RENAME_WHEN_MAX_SIZE_REACHED_H

#include <cstdint>

#include "log/debug/size_limit_policy.h"

namespace vtclass::log {

/*
 * Makes the live file the newest of `count` rotated files, moves the others down by one number, and
 * begins a fresh one.
 *
 * A roll that fails in the middle is taken up where it stopped: beginning anew, each try would
 * delete one more rotated file and gain nothing.
 */
class RenameWhenMaxSizeReached : public SizeLimitPolicy {
 public:
  /* Requires: the count is 1 to 200. */
  RenameWhenMaxSizeReached(std::uint32_t count, WideText extension);

  long MakeRoom(LiveFile& live) override;

 private:
  WideText Rotated(const wchar_t* path, std::uint32_t number) const;
  void CleanUp(const wchar_t* path);
  long RenameFiles(const wchar_t* path, std::uint32_t last, std::uint32_t* next);
  long RollingRename(const wchar_t* path);
  long Report(DWORD failure, const wchar_t* text);

  const std::uint32_t count;
  const WideText extension;
  bool cleanedUp = false;
  bool reported = false;        /* since the last roll that succeeded */
  std::uint32_t nextToFree = 1; /* the rotated file with which an unfinished roll goes on */
};

}  // namespace vtclass::log

#endif
