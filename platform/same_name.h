#ifndef VTCLASS_PLATFORM_SAME_NAME_H
#define VTCLASS_PLATFORM_SAME_NAME_H

#include <vtclass/win32.h>

#include <string_view>

#include "platform/checked_cast.h"

namespace vtclass::platform {

/* The same name whatever the case, as the system compares names of objects: no locale. Zeros inside
 * count, so the whole lengths are compared. */
inline bool IsSameName(std::wstring_view a, std::wstring_view b) noexcept {
  const auto size = CheckedCast<int>(a.size());
  if (!size || a.size() != b.size()) return false;
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the sizes go with the texts
  return *size == 0 || ::CompareStringOrdinal(a.data(), *size, b.data(), *size, TRUE) == CSTR_EQUAL;
}

}  // namespace vtclass::platform

#endif
