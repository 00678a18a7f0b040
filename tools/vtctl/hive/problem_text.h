#ifndef VTCLASS_TOOLS_VTCTL_HIVE_PROBLEM_TEXT_H
#define VTCLASS_TOOLS_VTCTL_HIVE_PROBLEM_TEXT_H

#include <cstddef>
#include <string>

#include "hive/problem.h"
#include "tools/vtctl/shared/json.h"

namespace vtctl {

/* "error    byte 0x1a30  The value's data lies beyond the bins, in \Sub" */
std::wstring ProblemLine(const vtclass::hive::Problem& problem);
Json ProblemJson(const vtclass::hive::Problem& problem);

/* A key's path below the hive's first key as people read it: "\" for that one, "\A\B". */
std::wstring ShownPath(const std::wstring& path);

/* How many problems are told one by one. */
inline constexpr std::size_t kMostProblems = 100;

}  // namespace vtctl

#endif
