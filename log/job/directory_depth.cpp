#include "log/job/directory_depth.h"

#include <algorithm>

namespace vtclass::log {

namespace {

bool IsSeparator(WideUnit unit) { return unit == '\\' || unit == '/'; }

}  // namespace

int CountComponents(WideView path) {
  if (path.empty()) return 0;
  const int separators = static_cast<int>(std::count_if(path.begin(), path.end(), IsSeparator));
  const bool closed = IsSeparator(path.back());
  if (path.starts_with(VTCLASS_WIDE("\\\\"))) {
    return std::max(0, separators - (closed ? 3 : 2));
  }
  return closed ? separators : separators + 1;
}

DirectorySteps PlanDirectory(int depth, int components) {
  if (components == 0) return {.closings = depth, .openings = 0, .depth = 0};
  if (components < depth) {
    return {.closings = depth - components + 1, .openings = 1, .depth = components};
  }
  if (components > depth) {
    if (depth == 0) return {.closings = 0, .openings = components, .depth = components};
    // The directory that is open counts once more: its own level is opened again beneath it.
    return {.closings = 0, .openings = components - depth + 1, .depth = components + 1};
  }
  if (depth > 1) return {.closings = 1, .openings = 1, .depth = depth};
  return {.closings = 0, .openings = 1, .depth = depth + 1};
}

}  // namespace vtclass::log
