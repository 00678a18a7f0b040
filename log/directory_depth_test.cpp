#include "log/directory_depth.h"

#include <gtest/gtest.h>

#include <utility>

namespace vtclass::log {
namespace {

TEST(DirectoryDepth, CountComponents_FollowsTheSeparators) {
  const std::pair<const wchar_t*, int> cases[] = {{L"", 0},
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
                                                  {L"//s/h", 4}};
  for (const auto& [path, count] : cases) EXPECT_EQ(CountComponents(path), count) << path;
}

TEST(DirectoryDepth, PlanDirectory_ComparesDepthAndComponents) {
  // From depth, to components: closings, openings, new depth.
  const int cases[][5] = {{0, 0, 0, 0, 0}, {3, 0, 3, 0, 0}, {3, 1, 3, 1, 1}, {3, 2, 2, 1, 2},
                          {0, 1, 0, 1, 1}, {0, 3, 0, 3, 3}, {1, 2, 0, 2, 3}, {2, 5, 0, 4, 6},
                          {1, 1, 0, 1, 2}, {2, 2, 1, 1, 2}, {4, 4, 1, 1, 4}};
  for (const auto& [from, to, closings, openings, depth] : cases) {
    const DirectorySteps steps = PlanDirectory(from, to);
    EXPECT_EQ(steps.closings, closings) << from << " to " << to;
    EXPECT_EQ(steps.openings, openings) << from << " to " << to;
    EXPECT_EQ(steps.depth, depth) << from << " to " << to;
  }
}

}  // namespace
}  // namespace vtclass::log
