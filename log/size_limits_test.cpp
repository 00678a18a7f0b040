#include "log/size_limits.h"

#include <gtest/gtest.h>

#include "log/log_names.h"

namespace vtclass::log {
namespace {

TEST(LogNames, SplitAtExtension_LooksAtTheFileNameOnly) {
  const struct {
    const wchar_t *path, *base, *extension;
  } rows[] = {{L"C:\\a\\trace.log", L"C:\\a\\trace", L".log"},
              {L"C:\\a.b\\trace", L"C:\\a.b\\trace", L""},
              {L"C:/a.b/trace", L"C:/a.b/trace", L""},
              {L"a.b.c", L"a.b", L".c"},
              {L".log", L"", L".log"},
              {L"trace.", L"trace", L"."},
              {L"", L"", L""}};
  for (const auto& row : rows) {
    const SplitName split = SplitAtExtension(row.path);
    EXPECT_EQ(split.base, row.base);
    EXPECT_EQ(split.extension, row.extension);
  }
  EXPECT_EQ(RolledName(L"C:\\a\\trace", 4294967295u, L".log"), L"C:\\a\\trace-4294967295.log");
  EXPECT_EQ(RotatedName(L"trace.log", L".bak", 10), L"trace.log.bak10");
}

TEST(SizeLimits, LimitsFrom_DefaultsAndRefusals) {
  constexpr std::uint64_t kMB = 1 << 20;
  const struct {
    SizeSettings settings;
    bool usable = false;
    LimitMode mode = LimitMode::simpleRoll;
    std::uint64_t threshold = 0, retention = 0;
  } rows[] = {
      {{.enabled = 0, .count = 0}, true, LimitMode::simpleRoll, 20 * kMB, 0},
      {{.enabled = 1}, true, LimitMode::rename, 4 * kMB, kMB},
      {{.enabled = 1, .sizeMB = 6, .retentionMB = 0, .count = 3},
       true,
       LimitMode::rename,
       2 * kMB,
       0},
      {{.enabled = 1, .sizeMB = 0}, true, LimitMode::rename, 4 * kMB, kMB},
      {{.enabled = 1, .sizeMB = 0xFFFFFFFF}, true, LimitMode::rename, 4 * kMB, kMB},
      {{.enabled = 1, .sizeMB = 9, .retentionMB = 9}, true, LimitMode::rename, 4 * kMB, kMB},
      {{.enabled = 1, .sizeMB = 8192, .retentionMB = 5000, .limitMode = 1},
       true,
       LimitMode::wrap,
       8192 * kMB,
       5000 * kMB},
      {{.enabled = 1, .count = 0, .limitMode = 1}, true, LimitMode::wrap, 4 * kMB, kMB},
      {{.enabled = 1, .count = 200, .limitMode = 7}, true, LimitMode::rename, 4 * kMB / 200, kMB},
      {{.enabled = 1, .count = 0}, false, LimitMode::simpleRoll, 20 * kMB, 0},
      {{.enabled = 1, .count = 201}, false, LimitMode::simpleRoll, 20 * kMB, 0},
      {{.enabled = 1, .extension = L"\\x"}, false, LimitMode::simpleRoll, 20 * kMB, 0},
      {{.enabled = 1, .extension = L"../x"}, false, LimitMode::simpleRoll, 20 * kMB, 0},
      {{.enabled = 1, .extension = L":x"}, false, LimitMode::simpleRoll, 20 * kMB, 0}};
  for (const auto& row : rows) {
    SizeLimits limits;
    EXPECT_EQ(LimitsFrom(row.settings, &limits), row.usable) << &row - rows;
    EXPECT_EQ(limits.mode, row.mode) << &row - rows;
    EXPECT_EQ(limits.Threshold(), row.threshold) << &row - rows;
    EXPECT_EQ(limits.retention, row.retention) << &row - rows;
  }
}

}  // namespace
}  // namespace vtclass::log
