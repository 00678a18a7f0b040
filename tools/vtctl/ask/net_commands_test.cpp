#include <gtest/gtest.h>

#include <string>

#include <nlohmann/json.hpp>

#include "tests/support/run_vtctl.h"
#include "tools/vtctl/shared/exit_code.h"

// identity, convert and resolve, as far as the machine's own tables answer them.
namespace vtctl {
namespace {

using Json = nlohmann::json;

TEST(NetCommands, Identity_NamesTheStepThatDecides) {
  const struct {
    std::vector<std::wstring> words;
    int exitCode;
    const char* step;
    const char* found;
    bool isWarned;
  } rows[] = {
      {{L"::1"}, kExitClean, "This machine's addresses", "one of them", false},
      {{L"\\\\127.0.0.1\\c$"}, kExitClean, "This machine's addresses", "one of them", false},
      {{L"localhost"}, kExitClean, "Aliases in DNS", "(this machine, loopback)", true},
      {{L"192.0.2.1"}, kExitNotThisMachine, "Aliases in DNS", "an address is no alias", false},
      {{L"RAC-X-1", L"--timeout", L"1"}, -1, "Aliases in DNS", "no", false},
      {{L"\x4E2D"}, kExitNotThisMachine, "Aliases in DNS", "cannot hold the name", false}};
  for (const auto& row : rows) {
    std::vector<std::wstring> words = {L"identity", L"--json"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    test::VtctlRun run(words);
    const int exitCode = run.ExitCode();
    if (row.exitCode != -1) EXPECT_EQ(exitCode, row.exitCode);
    const Json json = Json::parse(run.Output());
    if (row.exitCode != -1) EXPECT_EQ(json["thisMachine"], row.exitCode == kExitClean) << json;
    const Json& last = json["steps"].back();
    EXPECT_EQ(last["step"], row.step);
    EXPECT_EQ(last["decides"], true);
    EXPECT_NE(last["found"].get<std::string>().find(row.found), std::string::npos) << last;
    EXPECT_EQ(!last["warning"].is_null(), row.isWarned);
    EXPECT_EQ(json["steps"].front()["decides"], json["steps"].size() == 1);
  }
}

TEST(NetCommands, ConvertAndResolve) {
  const struct {
    std::vector<std::wstring> words;
    int exitCode;
    const char* output;
  } rows[] = {
      {{L"convert", L"\\\\far.away.invalid\\s", L"--to", L"netbios"}, 0, "\\\\far\\s\n"},
      {{L"convert", L"far.away.invalid", L"--to", L"dns"}, 0, "far\n"},
      {{L"convert", L"192.0.2.1", L"--to", L"ip", L"--json"}, 0, "\"thisMachine\":false"},
      {{L"convert", L"::1", L"--to", L"ip", L"--json"}, 0, "\"thisMachine\":true"},
      {{L"resolve", L"127.0.0.1"}, 0, "Address         127.0.0.1 (this machine, loopback)\n"},
      {{L"resolve", L"\\\\224.0.0.1\\s"}, 0, "Address         224.0.0.1 (multicast)\n"},
      {{L"resolve", L"192.0.2.1"}, 0, "Preferred       192.0.2.1\n"},
      {{L"resolve", L"\xFF4Cocalhost"}, kExitNoInput, ""}};
  for (const auto& row : rows) {
    test::VtctlRun run(row.words);
    EXPECT_EQ(run.ExitCode(), row.exitCode) << run.ErrorOutput();
    EXPECT_NE(run.Output().find(row.output), std::string::npos) << run.Output();
  }
}

}  // namespace
}  // namespace vtctl
