#include "log/wrap_marker.h"

#include <algorithm>
#include <string_view>

namespace vtclass::log {

void MarkWrapped(std::span<char> chunk) {
  constexpr std::string_view kMarker = "This file has wrapped.";
  const std::size_t marked = kMarker.copy(chunk.data(), chunk.size());
  const auto rest = chunk.subspan(marked);
  const auto lineEnd = std::ranges::find(rest, '\r');
  if (lineEnd != rest.end()) std::ranges::fill(rest.begin(), lineEnd + 1, ' ');
}

std::size_t LengthOfFirstLine(std::span<const char> bytes, bool utf16) {
  const std::size_t unit = utf16 ? 2 : 1;
  for (std::size_t at = 0; at + unit <= bytes.size(); at += unit) {
    if (bytes[at] == '\n' && (!utf16 || bytes[at + 1] == 0)) return at + unit;
  }
  return 0;
}

}  // namespace vtclass::log
