#ifndef VTCLASS_TOOLS_VTCTL_VOLUMES_WATCH_VOLUMES_H
#define VTCLASS_TOOLS_VTCTL_VOLUMES_WATCH_VOLUMES_H

#include <cstdint>
#include <optional>
#include <vector>

#include "tools/vtctl/shared/volume.h"

namespace vtctl {

struct WatchOptions {
  unsigned seconds = 0; /* 0: until the operator interrupts */
  uint64_t step = 0;    /* bytes by which the free space has to change to be told */
  bool json = false;
  unsigned pause = 1000; /* milliseconds between two looks: nobody signals free space */
};

struct VolumeChange {
  enum Kind { arrived, left, changed, freeSpace } kind = changed;
  Volume volume;                /* as it is now; of one that has left, as it was */
  uint64_t freeSpaceBefore = 0; /* when that was told last */
};

/* What makes `now` of what is known, which follows: its free space only where that is told, so that
 * a slow change is told as well. A write test is no change. */
std::vector<VolumeChange> Update(std::vector<Volume>& known, const std::vector<Volume>& now,
                                 uint64_t step);

/* Prints changes until the time is over or the operator interrupts; the exit code. */
int WatchVolumes(const WatchOptions& options);

}  // namespace vtctl

#endif
