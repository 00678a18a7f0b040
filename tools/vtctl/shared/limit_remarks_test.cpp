#include "tools/vtctl/shared/limit_remarks.h"

#include <gtest/gtest.h>

#include "tests/support/private_registry.h"

namespace vtctl {
namespace {

using namespace vtclass::config;
using vtclass::log::SizeSettings;

TEST(LimitRemarks, RemarksOn_WhatDoesNotCount) {
  const SizeSettings usual = {.enabled = 1};
  const auto with = [&](auto change) {
    SizeSettings settings = usual;
    change(settings);
    return settings;
  };
  const struct {
    SizeSettings settings;
    const RegistryValue* value;
    const wchar_t* part;
  } rows[] = {
      {usual, nullptr, L""},
      {with([](auto& s) { s.enabled = 0, s.count = 0; }), nullptr, L""},
      {with([](auto& s) { s.count = 0; }), &kMaxDebugFileCount, L"is 0, out of its range 1 to 200"},
      {with([](auto& s) { s.count = 201; }), &kMaxDebugFileCount, L"switches the limits off"},
      // A log that wraps has one file.
      {with([](auto& s) { s.count = 201, s.limitMode = 1; }), nullptr, L""},
      {with([](auto& s) { s.extension = L"\\x"; }), &kMaxDebugFileExt,
       L"is \"\\x\", which no file"},
      {with([](auto& s) { s.sizeMB = 0; }), &kMaxDebugFileSize, L"is 0, which is no size"},
      {with([](auto& s) { s.sizeMB = UINT32_MAX; }), &kMaxDebugFileSize, L"which is no size"},
      {with([](auto& s) { s.sizeMB = s.retentionMB = 9; }), &kMaxDebugFileSize,
       L"is 9, not above the retention size of 9: a size of 4 with a retention size of 1 counts."},
      {with([](auto& s) { s.sizeMB = 9, s.retentionMB = 8; }), nullptr, L""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const std::vector<LimitRemark> remarks = RemarksOn(row.settings);
    ASSERT_EQ(remarks.size(), row.value ? 1U : 0U);
    if (!row.value) continue;
    EXPECT_EQ(remarks[0].value, row.value);
    EXPECT_NE(remarks[0].text.find(row.part), std::wstring::npos)
        << testing::PrintToString(remarks[0].text);
  }
}

TEST(LimitRemarks, ReadSizeSettings_TakesTheStoredOnes) {
  const vtclass::test::PrivateRegistry registry;
  EXPECT_EQ(ReadSizeSettings().sizeMB, kMaxDebugFileSize.number);
  const RegistryValue* const numbers[] = {&kMaxDebugFileEnabled, &kMaxDebugFileSize,
                                          &kMaxDebugFileRetentionSize, &kMaxDebugFileCount,
                                          &kMaxDebugFileLimitMode};
  DWORD number = 10;
  for (const RegistryValue* const value : numbers) {
    vtclass::test::StoreValue(value->key.Path(), value->name, REG_DWORD, &++number, sizeof number);
  }
  vtclass::test::StoreValue(kLoggingKey.Path(), kMaxDebugFileExt.name, REG_SZ, L".old",
                            sizeof L".old");
  const SizeSettings stored = ReadSizeSettings();
  EXPECT_EQ(stored.enabled, 11U);
  EXPECT_EQ(stored.sizeMB, 12U);
  EXPECT_EQ(stored.retentionMB, 13U);
  EXPECT_EQ(stored.count, 14U);
  EXPECT_EQ(stored.limitMode, 15U);
  EXPECT_EQ(stored.extension, L".old");
}

}  // namespace
}  // namespace vtctl
