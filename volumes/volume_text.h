#ifndef VTCLASS_VOLUMES_VOLUME_TEXT_H
#define VTCLASS_VOLUMES_VOLUME_TEXT_H

#include <cstddef>
#include <string_view>

#include "strings/wide_text.h"

/* What the texts of volumes look like. Nothing here asks the system. */
namespace vtclass::volumes {

/*
 * True for the shape of a volume name: 48 characters, or 49 with a backslash at the end, such as
 * \\?\Volume{26a21bda-a627-11d7-9931-806e6f6e6963}, or with "\??\" at the beginning. What stands in
 * the places of the digits does not matter.
 */
template <typename Unit>
constexpr bool HasVolumeNameShape(std::basic_string_view<Unit> text) noexcept {
  // 'x' for what may be anything; the second character is looked at apart.
  constexpr char kShape[] = R"(\x?\Volume{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}\)";
  constexpr std::size_t kLongest = sizeof(kShape) - 1;
  if (text.size() != kLongest && text.size() != kLongest - 1) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (kShape[i] != 'x' && text[i] != static_cast<Unit>(kShape[i])) return false;
  }
  return text[1] == Unit{'\\'} || text[1] == Unit{'?'};
}

/* What stands for a volume on a system without volume names: "C:" with a backslash behind it, the
 * root of a longer text that begins with one, every other text as it is. */
WideText DriveText(WideView text);

}  // namespace vtclass::volumes

#endif
