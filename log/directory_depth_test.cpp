#include "log/directory_depth.h"

#include <gtest/gtest.h>

namespace vtclass::log {
namespace {

TEST(DirectoryDepth, CountComponents_FollowsTheSeparators) {
  struct Case {
    const wchar_t* path;
    int components;
  };
  const Case cases[] = {
      {L"", 0},
      {L"a", 1},
      {L"\\", 1},
      {L"/", 1},
      {L"C:", 1},
      {L"C:\\", 1},
      {L"C:\\a", 2},
      {L"C:\\a\\", 2},
      {L"C:/a/b", 3},
      {L"C:\\a/b\\", 3},
      {L"a\\\\b", 3},
      {L"\\a", 2},
      {L"\\\\", 0},
      {L"\\\\s", 0},
      {L"\\\\s\\", 0},
      {L"\\\\s\\h", 1},
      {L"\\\\s\\h\\", 1},
      {L"\\\\s/h/a", 2},
      {L"\\\\s\\h\\a\\", 2},
      {L"//s/h", 4},
  };
  for (const Case& row : cases) EXPECT_EQ(CountComponents(row.path), row.components) << row.path;
}

TEST(DirectoryDepth, PlanDirectory_ComparesDepthAndComponents) {
  struct Case {
    int depth, components;
    int closings, openings, newDepth;
  };
  const Case cases[] = {
      {0, 0, 0, 0, 0}, {3, 0, 3, 0, 0},  // an empty path closes everything
      {3, 1, 3, 1, 1}, {3, 2, 2, 1, 2},  // upwards
      {0, 1, 0, 1, 1}, {0, 3, 0, 3, 3},  // from nothing: all parents
      {1, 2, 0, 2, 3}, {2, 5, 0, 4, 6},  // downwards
      {1, 1, 0, 1, 2}, {2, 2, 1, 1, 2}, {4, 4, 1, 1, 4},
  };
  for (const Case& row : cases) {
    const DirectorySteps steps = PlanDirectory(row.depth, row.components);
    EXPECT_EQ(steps.closings, row.closings) << row.depth << " to " << row.components;
    EXPECT_EQ(steps.openings, row.openings) << row.depth << " to " << row.components;
    EXPECT_EQ(steps.depth, row.newDepth) << row.depth << " to " << row.components;
  }
}

}  // namespace
}  // namespace vtclass::log
