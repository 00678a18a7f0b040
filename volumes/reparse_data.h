#ifndef VTCLASS_VOLUMES_REPARSE_DATA_H
#define VTCLASS_VOLUMES_REPARSE_DATA_H

#include <cstdint>
#include <span>

namespace vtclass::volumes {

/* What the reparse data of a file or directory says. */
struct ReparsePoint {
  std::uint32_t tag = 0;
  bool leadsToVolume = false; /* a mount point whose target is no path of a drive */
};

/* Reads reparse data as the file system gives it. Nothing outside `data` is looked at: without a
 * whole tag it is 0, and a mount point whose header or target is not whole leads nowhere. */
ReparsePoint ReadReparseData(std::span<const unsigned char> data) noexcept;

}  // namespace vtclass::volumes

#endif
