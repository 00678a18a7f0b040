#include "log/debug/size_limits.h"

#include <gtest/gtest.h>

#include "log/debug/log_names.h"

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
    SizeSettings settings;
    LimitMode mode;
    std::uint64_t threshold, keptMB;
    bool refused = false;
  } rows[] = {{{}, simpleRoll, 20 * kMB, 0},
              {{.enabled = 7}, rename, 4 * kMB, 1},
              {{1, 6, 0, 3, 0, 0, 0, L""}, rename, 2 * kMB, 0},
              {{1, 0, 1, 1, 0, 0, 0, L""}, rename, 4 * kMB, 1},
              {{1, kNone, 1, 1, 0, 0, 0, L""}, rename, 4 * kMB, 1},
              {{1, 9, 9, 1, 0, 0, 0, L""}, rename, 4 * kMB, 1},
              {{1, 4, 1, 200, 7, 0, 0, L""}, rename, 4 * kMB / 200, 1},
              {{1, 8192, 5000, 0, 1, 0, 0, L"\\"}, wrap, 8192 * kMB, 5000},
              {{.enabled = 1, .count = 0}, simpleRoll, 20 * kMB, 0, true},
              {{.enabled = 1, .count = 201}, simpleRoll, 20 * kMB, 0, true},
              {{.enabled = 1, .extension = L"\\x"}, simpleRoll, 20 * kMB, 0, true},
              {{.enabled = 1, .extension = L"../x"}, simpleRoll, 20 * kMB, 0, true},
              {{.enabled = 1, .extension = L":x"}, simpleRoll, 20 * kMB, 0, true}};
  for (const auto& row : rows) {
    SizeLimits limits;
    EXPECT_EQ(LimitsFrom(row.settings, &limits), !row.refused) << &row - rows;
    EXPECT_EQ(limits.mode, row.mode) << &row - rows;
    EXPECT_EQ(limits.Threshold(), row.threshold) << &row - rows;
    EXPECT_EQ(limits.retention, row.keptMB * kMB) << &row - rows;
  }
}

}  // namespace
}  // namespace vtclass::log
