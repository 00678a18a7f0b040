#ifndef VTCLASS_TOOLS_VTCTL_SHARED_VOLUME_H
#define VTCLASS_TOOLS_VTCTL_SHARED_VOLUME_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vtctl {

/* A volume as it was found. Sizes are in bytes; of one that cannot be reached nothing is known but
 * the members in front of `error`. */
struct Volume {
  std::wstring name;               /* "\\?\Volume{...}\"; an old system gives "C:\" */
  std::vector<std::wstring> paths; /* where it is reached: drive roots and folders */
  enum Type { unknown, removable, fixed, network, cdRom, ramDisk } type = unknown;
  bool isClusterShared = false;
  unsigned long error = 0; /* why it cannot be reached */

  std::wstring fileSystem;
  std::wstring label;
  uint64_t totalSpace = 0;
  uint64_t freeSpace = 0;
  uint64_t freeSpaceToUser = 0; /* less than the free space where a quota says so */
  uint64_t occupiedSpace = 0;
  unsigned long clusterSize = 0;
  unsigned long sectorSize = 0;
  std::optional<bool> isWritable; /* nothing when nobody tried */
  unsigned long writeError = 0;   /* why it is not writable */

  bool IsReached() const { return error == 0; }
};

/* A volume that should be there and is not: an empty drive for media is nothing to warn of. */
bool IsMissed(const Volume& volume);

struct VolumeList {
  std::vector<Volume> volumes;
  unsigned long error = 0; /* why the list ends early or never began */
};

/* Of a volume with so much of it occupied the end is near. */
inline constexpr double kNearlyFull = 0.9;
/* 0 to 1; 0 where nothing is known. */
double OccupiedPart(const Volume& volume);

/* With less than that for it, a job log may end early: each folder takes some 500 bytes of it, each
 * warning as much, so that this is enough for 200,000 of them. */
inline constexpr uint64_t kLeastLogSpace = 100 << 20;

/* What is tried to find out whether a volume can be written. */
enum class WriteTest {
  none, /* only what the file system says of itself */
  file  /* a small file is made in its root and deleted */
};

/* All volumes, ordered by where they are reached; those that nothing leads to come last. No drive
 * without a medium asks anybody for one. */
VolumeList ListVolumes(WriteTest test);

}  // namespace vtctl

#endif
