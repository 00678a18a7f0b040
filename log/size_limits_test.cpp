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
  EXPECT_EQ(RotatedName(L"trace.log", L".bak", 4294967295u), L"trace.log.bak4294967295");
}

TEST(SizeLimits, LimitsFrom_DefaultsAndRefusals) {
  using enum LimitMode;
  constexpr std::uint32_t kNone = 0xFFFFFFFF;
  constexpr std::uint64_t kMB = 1 << 20;
  const struct {
    std::uint32_t enabled, sizeMB, retentionMB, count, limitMode;
    const wchar_t* extension;
    LimitMode mode;
    std::uint64_t threshold, keptMB;
    bool refused = false;
  } rows[] = {{0, 4, 1, 0, 0, L"", simpleRoll, 20 * kMB, 0},
              {7, 6, 0, 3, 0, L".bak", rename, 2 * kMB, 0},
              {1, 0, 1, 1, 0, L".bak", rename, 4 * kMB, 1},
              {1, kNone, 1, 1, 0, L".bak", rename, 4 * kMB, 1},
              {1, 9, 9, 1, 0, L".bak", rename, 4 * kMB, 1},
              {1, 4, 1, 200, 7, L".bak", rename, 4 * kMB / 200, 1},
              {1, 8192, 5000, 0, 1, L"\\", wrap, 8192 * kMB, 5000},
              {1, 4, 1, 0, 0, L".bak", simpleRoll, 20 * kMB, 0, true},
              {1, 4, 1, 201, 0, L".bak", simpleRoll, 20 * kMB, 0, true},
              {1, 4, 1, 1, 0, L"\\x", simpleRoll, 20 * kMB, 0, true},
              {1, 4, 1, 1, 0, L"../x", simpleRoll, 20 * kMB, 0, true},
              {1, 4, 1, 1, 0, L":x", simpleRoll, 20 * kMB, 0, true}};
  for (const auto& row : rows) {
    const SizeSettings settings = {.enabled = row.enabled,
                                   .sizeMB = row.sizeMB,
                                   .retentionMB = row.retentionMB,
                                   .count = row.count,
                                   .limitMode = row.limitMode,
                                   .extension = row.extension};
    SizeLimits limits;
    EXPECT_EQ(LimitsFrom(settings, &limits), !row.refused) << &row - rows;
    EXPECT_EQ(limits.mode, row.mode) << &row - rows;
    EXPECT_EQ(limits.Threshold(), row.threshold) << &row - rows;
    EXPECT_EQ(limits.retention, row.keptMB * kMB) << &row - rows;
  }
}

}  // namespace
}  // namespace vtclass::log
