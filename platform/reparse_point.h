#ifndef VTCLASS_PLATFORM_REPARSE_POINT_H
#define VTCLASS_PLATFORM_REPARSE_POINT_H

#include <vtclass/win32.h>

namespace vtclass::platform {

inline bool IsReparsePoint(const WIN32_FIND_DATAW& entry) noexcept {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

/* Whether a listed entry stands for another place. Other reparse points, such as the folders of a
 * cloud's client, hold what they list. One of whose kind the system tells nothing may lead
 * anywhere. */
inline bool IsLink(const WIN32_FIND_DATAW& entry) noexcept {
  const DWORD tag = entry.dwReserved0;
  return IsReparsePoint(entry) &&
         (tag == IO_REPARSE_TAG_RESERVED_ZERO || IsReparseTagNameSurrogate(tag));
}

}  // namespace vtclass::platform

#endif
