#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/owned.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "vtclass/date_time.h"

namespace vtctl {
namespace {

using Json = nlohmann::json;

// Runs vtctl time --json; the object that it prints.
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
  for (const std::wstring word : {L"2009-11-28T14:07:09.12", L"2009-11-28T14:07:09.120",
                                  L"129038908291200000", L"0x1ca703412e6b400"}) {
    const Json json = Ask({word}, kExitClean);
    EXPECT_EQ(json["ticks"], std::to_string(expected.GetTicks()));
    EXPECT_EQ(json["fileTime"]["high"], expected.GetTicks() >> 32);
    EXPECT_EQ(json["systemTime"]["time"], "2009-11-28T14:07:09.120");
    EXPECT_EQ(json["cRunTime"]["time"], "2009-11-28T14:07:09");
    EXPECT_EQ(json["cRunTime"]["dayOfYear"], 331);
    EXPECT_EQ(json["record"]["dayOfWeek"], 6);
    EXPECT_EQ(json["secondsSince1970"], seconds);
    EXPECT_EQ(json["texts"]["longDate"], ToUtf8(expected.FormatDate(text, 1)));
    EXPECT_EQ(json["narrowTexts"]["timeOfDay"], ToUtf8(expected.FormatTime(text)));
  }
  // Seconds come back as they were given.
  EXPECT_EQ(Ask({L"@" + std::to_wstring(seconds)}, kExitClean)["secondsSince1970"], seconds);
  EXPECT_EQ(Ask({L"2009-11-28"}, kExitClean)["systemTime"]["time"], "2009-11-28T00:00:00.000");
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
  for (const std::wstring word :
       {L"0", L"4294967295", L"0xffffffffffffffff", L"1601-01-01", L"1601-01-01 00:07:09"}) {
    const Json json = Ask({word}, kExitWarnings);
    EXPECT_EQ(json["systemTime"], nullptr);
    EXPECT_EQ(json["secondsSince1970"], nullptr);
    EXPECT_EQ(json["texts"]["shortDate"], nullptr);
  }
  EXPECT_EQ(Ask({L"1601-01-02"}, kExitClean)["secondsSince1970"], nullptr);
  for (const std::wstring word :
       {L"2009-13-01", L"2009-01-01T24:00", L"1600-12-31", L"@-1", L"@253402300799"}) {
    Ask({word}, kExitBadInput);
  }
  for (const std::wstring word :
       {L"", L"2009-11", L"2009-11-28T", L"2009-11-28T14", L"2009-11-28 14:07:09.", L"2009-11-28x",
        L"18446744073709551616", L"0x", L"12x", L"@", L"@x", L"@9223372036854775808"}) {
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
  EXPECT_NE(none.Output().find("\nShort date     none\n"), std::string::npos);
  EXPECT_NE(none.Output().find("\nSince 1970     none: "), std::string::npos);
}

// Two of these hours bear the same local time.
TEST(TimeCommand, SecondsOfAnHourThatComesTwice_StayAsTheyWereGiven) {
  ASSERT_EQ(::_putenv_s("TZ", "EST5EDT"), 0);
  for (const int seconds : {1257049800, 1257053400, 1257057000, 1257060600}) {
    EXPECT_EQ(Ask({L"@" + std::to_wstring(seconds)}, kExitClean)["secondsSince1970"], seconds);
  }
  ASSERT_EQ(::_putenv_s("TZ", ""), 0);
}

TEST(TimeCommand, LostOutput_IsAnErrorOfItsOwn) {
  const vtclass::test::ScratchFolder scratch;
  vtclass::test::MakeFile(scratch / L"file", "");
  SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
  const vtclass::platform::OwnedFile readOnly(
      ::CreateFileW((scratch / L"file").c_str(), GENERIC_READ, FILE_SHARE_READ, &inheritable,
                    OPEN_EXISTING, 0, nullptr));
  for (const std::wstring word : {L"2009-11-28", L"0"}) {
    test::VtctlRun run({L"time", word}, readOnly.Get());
    EXPECT_EQ(run.ExitCode(), kExitCannotWrite);
    EXPECT_EQ(run.ErrorOutput(), "vtctl: Standard output cannot be written.\n");
  }
  EXPECT_EQ(test::VtctlRun({L"time", L"--quiet"}, readOnly.Get()).ExitCode(), kExitClean);
}

}  // namespace
}  // namespace vtctl
