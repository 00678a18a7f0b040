#ifndef VTCLASS_LOG_JOB_DIRECTORY_DEPTH_H
#define VTCLASS_LOG_JOB_DIRECTORY_DEPTH_H

#include "strings/wide_text.h"

namespace vtclass::log {

/*
 * The number of components of a directory path, counted by its separators (backslash and slash). A
 * path that starts with two backslashes names a share; the two do not count, and "\\" alone is 0.
 */
int CountComponents(WideView path);

/* What must be written to go from an open depth to a path: closing tags, then opening tags, then
 * (unless the path is empty) the directory's own entry. `depth` is the new open depth. */
struct DirectorySteps {
  int closings = 0;
  int openings = 0;
  int depth = 0;
};

DirectorySteps PlanDirectory(int depth, int components);

}  // namespace vtclass::log

#endif
