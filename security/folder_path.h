#ifndef VTCLASS_SECURITY_FOLDER_PATH_H
#define VTCLASS_SECURITY_FOLDER_PATH_H

#include "strings/wide_text.h"

/* Paths of what is taken over. Nothing here asks the system. */
namespace vtclass::security {

/* True for a path that names nothing in particular: the empty one, and slashes of either kind
 * alone, which would be the root of whatever drive is current. */
constexpr bool NamesNothing(WideView path) noexcept {
  return path.find_first_not_of(VTCLASS_WIDE("\\/")) == WideView::npos;
}

/* An extended path ("\\?\...") without the backslashes at its end. That of a root stays: without it
 * the path would be the volume's device. */
constexpr WideView WithoutTrailingBackslashes(WideView path) noexcept {
  constexpr std::size_t kPrefix = 4;
  const std::size_t last = path.find_last_not_of(WideUnit{'\\'});
  const std::size_t length = last == WideView::npos ? 0 : last + 1;
  const WideView folder = path.substr(0, length);
  const bool isRoot = folder.find(WideUnit{'\\'}, kPrefix) == WideView::npos;
  return isRoot && length < path.size() ? path.substr(0, length + 1) : folder;
}

}  // namespace vtclass::security

#endif
