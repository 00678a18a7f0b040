#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/vtctl/run_vtctl.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "vtclass/date_time.h"

namespace vtctl {
namespace {

using Json = nlohmann::json;

/* Runs vtctl time --json; the object that it prints. */
Json Ask(std::vector<std::wstring> words, int exitCode) {
  words.insert(words.begin(), {L"time", L"--json"});
  test::VtctlRun run(words);
  EXPECT_EQ(run.ExitCode(), exitCode) << run.ErrorOutput();
  return exitCode > kExitErrors ? Json() : Json::parse(run.Output());
}

TEST(TimeCommand, AValue_InEveryForm) {
  const DateTime expected(2009, 11, 28, 14, 7, 9, 120);
  long long seconds = 0;
  wcstring text;
  expected.GetDateTime(seconds);
  for (const std::wstring word : {L"2009-11-28T14:07:09.12", L"2009-11-28 14:07:09.120",
                                  L"129038908291200000", L"0x1ca703412e6b400"}) {
    const Json json = Ask({word}, kExitClean);
    EXPECT_EQ(json["ticks"], std::to_string(expected.GetTicks()));
    EXPECT_EQ(json["fileTime"]["high"], expected.GetTicks() >> 32);
    EXPECT_EQ(json["systemTime"]["time"], "2009-11-28 14:07:09.120");
    EXPECT_EQ(json["cRunTime"]["time"], "2009-11-28 14:07:09");
    EXPECT_EQ(json["cRunTime"]["dayOfYear"], 331);
    EXPECT_EQ(json["record"]["dayOfWeek"], 6);
    EXPECT_EQ(json["secondsSince1970"], seconds);
    EXPECT_EQ(json["texts"]["longDate"], ToUtf8(expected.FormatDate(text, 1)));
    EXPECT_EQ(json["narrowTexts"]["timeOfDay"], ToUtf8(expected.FormatTime(text)));
  }
  // Seconds come back as they were given.
  EXPECT_EQ(Ask({L"@" + std::to_wstring(seconds)}, kExitClean)["secondsSince1970"], seconds);
  EXPECT_EQ(Ask({L"2009-11-28"}, kExitClean)["systemTime"]["time"], "2009-11-28 00:00:00.000");
}

TEST(TimeCommand, WithoutAValue_IsTheLocalClock) {
  const DateTime before(DateTime::CurrentTime);
  const Json json = Ask({}, kExitClean);
  const DateTime after(DateTime::CurrentTime);
  const unsigned long long ticks = std::stoull(json["ticks"].get<std::string>());
  EXPECT_GE(ticks, before.GetTicks());
  EXPECT_LE(ticks, after.GetTicks());
}

TEST(TimeCommand, WhatIsNoTime_IsTold) {
  for (const std::wstring word : {L"0", L"4294967295", L"0xffffffffffffffff"}) {
    const Json json = Ask({word}, kExitWarnings);
    EXPECT_EQ(json["systemTime"], nullptr);
    EXPECT_EQ(json["secondsSince1970"], nullptr);
    EXPECT_EQ(json["texts"]["shortDate"], nullptr);
  }
  EXPECT_EQ(Ask({L"1601-01-02"}, kExitClean)["secondsSince1970"], nullptr);
  for (const std::wstring word : {L"2009-13-01", L"2009-01-01T24:00", L"1600-12-31"}) {
    Ask({word}, kExitBadInput);
  }
  for (const std::wstring word :
       {L"", L"2009-11", L"2009-11-28T", L"2009-11-28T14", L"2009-11-28 14:07:09.", L"2009-11-28x",
        L"18446744073709551616", L"0x", L"12x", L"@", L"@x", L"@-1"}) {
    Ask({word}, kExitUsage);
  }
}

TEST(TimeCommand, ForPeople_OneLineAForm) {
  test::VtctlRun run({L"time", L"2009-11-28T14:07:09.120"});
  EXPECT_EQ(run.ExitCode(), kExitClean);
  for (const char* const line :
       {"\nTicks          129038908291200000 of 100 ns", "high 0x01CA7034, low 0x12E6B400",
        "\nSystem time    2009-11-28 14:07:09.120, weekday 6", "day of the year 331", " UTC\n",
        " ago\n"}) {
    EXPECT_NE(run.Output().find(line), std::string::npos) << run.Output();
  }
  test::VtctlRun none({L"time", L"0"});
  EXPECT_EQ(none.ExitCode(), kExitWarnings);
  EXPECT_NE(none.Output().find("none: a time has from"), std::string::npos);
}

}  // namespace
}  // namespace vtctl
