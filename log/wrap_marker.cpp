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

}  // namespace vtclass::log
