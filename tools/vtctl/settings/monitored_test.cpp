#include "tools/vtctl/settings/monitored.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/private_registry.h"
#include "tools/vtctl/settings/watch_settings.h"
#include "tools/vtctl/shared/interrupt.h"
#include "vtclass/product.h"

namespace vtctl {
namespace {

class SettingsTest : public testing::Test {
 protected:
  SettingsTest() { vtclass::test::MakeKey(L"Software"); }
  ~SettingsTest() override { CMS_SetProd(0); }
  vtclass::test::PrivateRegistry registry;
};

TEST_F(SettingsTest, Store_ChecksTypeAndRange_AndReadsBack) {
  const struct {
    const wchar_t* name;
    std::optional<SettingsKey> key;
    const wchar_t* text;
    bool fits;
  } rows[] = {{L"engine ndmp debug level", {}, L"2", true},
              {L"Engine NDMP Debug Level", {}, L"3", false},
              {L"MaxDebugFile Append", {}, L"2", false},
              {L"MaxDebugFile Count", SettingsKey::debug, L"4294967295", true},
              // They would switch the limits off.
              {L"MaxDebugFile Count", SettingsKey::logging, L"201", false},
              {L"MaxDebugFile Count", SettingsKey::logging, L"0", false},
              {L"CreateDebugLog", {}, L"4294967296", false},
              {L"CreateDebugLog", {}, L"", false},
              {L"VTMSDKLevel", {}, L"15", true},
              {L"Path", {}, L"C:\\Logs", true}};
  for (const auto& row : rows) {
    const auto setting = FindSetting(row.name, row.key);
    ASSERT_TRUE(setting) << testing::PrintToString(row.name);
    const StoreResult result = Store(*setting, row.text);
    EXPECT_EQ(result.problem.empty(), row.fits) << testing::PrintToString(row.text);
    EXPECT_EQ(result.status, 0);
    if (row.fits) EXPECT_EQ(ReadStored(*setting).value, row.text);
  }
  EXPECT_FALSE(FindSetting(L"Path", SettingsKey::logging));
  const auto count = FindSetting(L"MaxDebugFile Count", SettingsKey::logging);
  for (const bool isStored : {false, true}) {
    if (isStored) vtclass::test::StoreValue(count->value.key, count->value.name, REG_SZ, L"5", 4);
    EXPECT_FALSE(ReadStored(*count).value);
    EXPECT_EQ(ReadStored(*count).hasOtherType, isStored);
  }
  for (int i = 0; i < 2; ++i) EXPECT_EQ(Unset(*count), 0U);
  EXPECT_FALSE(ReadStored(*count).hasOtherType);
}

TEST_F(SettingsTest, Remark_TellsOfValuesThatDoNotCount) {
  const auto level = FindSetting(L"Engine NDMP Debug Level", {});
  const auto size = FindSetting(L"MaxDebugFile Size In MB", SettingsKey::logging);
  const auto sdkSize = FindSetting(L"MaxDebugFile Size In MB", SettingsKey::debug);
  EXPECT_EQ(Remark(*level, L"2"), L"");
  EXPECT_EQ(Remark(*level, std::nullopt), L"");
  EXPECT_EQ(Remark(*level, L"3"), L"Out of its range 0 to 2.");
  EXPECT_EQ(ToJson(*level, L"3")["outOfRange"], true);
  ASSERT_TRUE(
      Store(*FindSetting(L"MaxDebugFile Enabled", SettingsKey::logging), L"1").problem.empty());
  ASSERT_TRUE(Store(*size, L"0").problem.empty()) << "it does not switch the limits off";
  EXPECT_TRUE(
      Remark(*size, L"0").starts_with(L"\"MaxDebugFile Size In MB\" is 0, which is no size"));
  EXPECT_EQ(Remark(*sdkSize, L"0"), L"");
  const auto count = FindSetting(L"MaxDebugFile Count", SettingsKey::logging);
  EXPECT_TRUE(Store(*count, L"200").problem.empty()) << "the most that a log takes";
  EXPECT_EQ(ToJson(*size, L"0")["outOfRange"], false);
  EXPECT_EQ(ToJson(*size, L"0")["minimum"], nullptr);
}

TEST_F(SettingsTest, SiblingProduct_OneSettingIsNotWatched) {
  for (const unsigned long product : {0ul, 1ul}) {
    CMS_SetProd(product);
    const auto settings = MonitoredSettings();
    const auto isWatched = [](const MonitoredSetting& setting) { return setting.isWatched; };
    EXPECT_EQ(settings.size(), 17u);
    EXPECT_EQ(std::count_if(settings.begin(), settings.end(), isWatched), 17 - int(product));
  }
}

TEST_F(SettingsTest, Watch_TellsTheChangeWithTheValueBefore) {
  const auto level = FindSetting(L"Engine NDMP Debug Level", {});
  const auto path = FindSetting(L"Path", {});
  ASSERT_TRUE(Store(*level, L"1").problem.empty());
  static const bool isCaught = (CatchInterrupts(), true);
  ASSERT_TRUE(isCaught);
  ASSERT_TRUE(::ResetEvent(InterruptEvent()));
  int seen = 0;
  const auto end = WatchSettings(
      MonitoredSettings(), 20, [&] { Store(*level, L"2"); },
      [&](const MonitoredSetting& setting, const auto& before, const std::wstring& now) {
        if (++seen == 1) {
          EXPECT_EQ(setting.value.name, std::wstring(L"Engine NDMP Debug Level"));
          EXPECT_EQ(before, L"1");
          EXPECT_EQ(now, L"2");
          Store(*path, L"C:\\Logs");
        } else {
          EXPECT_FALSE(before);
          EXPECT_EQ(now, L"C:\\Logs");
          ::SetEvent(InterruptEvent());
        }
      });
  EXPECT_EQ(end, WaitEnd::interrupted);
  EXPECT_EQ(seen, 2);
}

}  // namespace
}  // namespace vtctl
