#include "log/job/directory_depth.h"

#include <gtest/gtest.h>

#include <vector>

namespace vtclass::log {
namespace {

TEST(DirectoryDepth, CountComponents_FollowsTheSeparators) {
  const std::vector<const wchar_t*> byCount[] = {
      {L"", L"\\\\", L"\\\\s", L"\\\\s\\"},
      {L"a", L"\\", L"/", L"C:", L"C:\\", L"\\\\s\\h", L"\\\\s\\h\\"},
      {L"C:\\a", L"C:\\a\\", L"\\a", L"\\\\s/h/a", L"\\\\s\\h\\a\\"},
      {L"C:/a/b", L"C:\\a/b\\", L"a\\\\b"},
      {L"//s/h"}};
  for (int count = 0; count < 5; ++count) {
    for (const wchar_t* path : byCount[count]) EXPECT_EQ(CountComponents(path), count) << path;
  }
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
