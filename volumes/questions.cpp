#include <vtclass/win32.h>

#include <limits>

#include "vtclass/volumes.h"

namespace vtclass {

namespace {

struct Space {
  ULARGE_INTEGER freeToUser;
  ULARGE_INTEGER total;
  ULARGE_INTEGER free;
};

// All 0 when the system refuses, whatever it has stored until then.
Space SpaceOf(const wcstring& root) noexcept {
  Space space{};
  return ::GetDiskFreeSpaceExW(root.c_str(), &space.freeToUser, &space.total, &space.free)
             ? space
             : Space{};
}

struct Sizes {
  DWORD sectorsPerCluster;
  DWORD bytesPerSector;
};

Sizes SizesOf(const wcstring& root) noexcept {
  Sizes sizes{};
  DWORD freeClusters = 0;
  DWORD clusters = 0;
  return ::GetDiskFreeSpaceW(root.c_str(), &sizes.sectorsPerCluster, &sizes.bytesPerSector,
                             &freeClusters, &clusters)
             ? sizes
             : Sizes{};
}

}  // namespace

ULARGE_INTEGER free_space::of(const wcstring& root) noexcept { return SpaceOf(root).free; }

ULARGE_INTEGER free_space_to_usr::of(const wcstring& root) noexcept {
  return SpaceOf(root).freeToUser;
}

ULARGE_INTEGER total_space::of(const wcstring& root) noexcept { return SpaceOf(root).total; }

ULARGE_INTEGER occupied_space::of(const wcstring& root) noexcept {
  const Space space = SpaceOf(root);
  ULARGE_INTEGER occupied{};
  // The total is the caller's quota, the free bytes are the volume's.
  if (space.total.QuadPart > space.free.QuadPart) {
    occupied.QuadPart = space.total.QuadPart - space.free.QuadPart;
  }
  return occupied;
}

unsigned long cluster_size::of(const wcstring& root) noexcept {
  const Sizes sizes = SizesOf(root);
  const unsigned long long bytes =
      static_cast<unsigned long long>(sizes.sectorsPerCluster) * sizes.bytesPerSector;
  return bytes <= std::numeric_limits<unsigned long>::max() ? static_cast<unsigned long>(bytes) : 0;
}

unsigned long sector_size::of(const wcstring& root) noexcept {
  return SizesOf(root).bytesPerSector;
}

bool less_free_space::operator()(const wcstring& a, const wcstring& b) const noexcept {
  return free_space::of(a).QuadPart < free_space::of(b).QuadPart;
}

bool more_free_space::operator()(const wcstring& a, const wcstring& b) const noexcept {
  return !less_free_space()(a, b);
}

bool non_fixed_drive::operator()(const wcstring& volume) const noexcept {
  return ::GetDriveTypeW(volume.c_str()) != DRIVE_FIXED;
}

bool unrecognized_fs::operator()(const wcstring& volume) const noexcept {
  return !::GetVolumeInformationW(volume.c_str(), nullptr, 0, nullptr, nullptr, nullptr, nullptr,
                                  0) &&
         ::GetLastError() == ERROR_UNRECOGNIZED_VOLUME;
}

}  // namespace vtclass
