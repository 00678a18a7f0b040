#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/network/network_names.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"

namespace vtctl {
namespace {

using vtclass::test::NetworkName;
using vtclass::test::ScratchFolder;
using Words = std::vector<std::wstring>;

class SessionInNetwork : public vtclass::test::NetworkTest {
 protected:
  void SetUp() override {
    NetworkTest::SetUp();
    if (IsSkipped()) return;
    // The network has a registry of its own.
    test::VtctlRun set({L"registry", L"set",
                        L"HKLM\\Software\\Norvane\\Vantorel For Windows\\Vantorel\\Network\\TcpIp",
                        L"DnsQueryTimeOut", L"2000", L"--type", L"dword"});
    ASSERT_EQ(set.ExitCode(), kExitClean) << set.ErrorOutput();
    vtclass::test::MakeFile(scratch / L"file.txt", "data");
  }

  ScratchFolder scratch;
  ScratchFolder out;
};

// What an agent does with a job: first it asks whether the job is its own.
TEST_F(SessionInNetwork, Server_IsAskedForFirst) {
  const struct {
    std::string server;
    int exitCode;
    const char* sentence;
  } rows[] = {{NetworkName("HOST"), kExitClean, " is this machine.\n"},
              {"SRV7", kExitClean, " is this machine.\n"},
              {NetworkName("ALIAS"), kExitClean, " is this machine.\n"},
              {NetworkName("ADDRESS"), kExitClean, " is this machine.\n"},
              {NetworkName("FOREIGN"), kExitNotThisMachine, " is not this machine."},
              {"nobody.corp.example", kExitNotThisMachine, " is not this machine."},
              // The limit of two seconds: the resolver itself would go on and give another code.
              {NetworkName("NEVER"), kExitNoAnswer, "no answer came in time (10060)"},
              {NetworkName("BROKEN"), kExitNoAnswer, "(11002)"}};
  for (const auto& row : rows) {
    const std::wstring path = L"\\\\" + FromUtf8(row.server) + L"\\share";
    test::VtctlRun run({L"session", path, L"--root", scratch.Path(), L"--out",
                        out / FromUtf8(row.server), L"--language", L"EN"});
    EXPECT_EQ(run.ExitCode(), row.exitCode) << row.server;
    const bool isMe = row.exitCode == kExitClean;
    const std::string said = isMe ? run.Output() : run.ErrorOutput();
    EXPECT_NE(said.find(ToUtf8(path)), std::string::npos) << said;
    EXPECT_NE(said.find(row.sentence), std::string::npos) << said;
    EXPECT_EQ(run.Output().find("Files: 1") != std::string::npos, isMe) << run.Output();
  }
}

TEST_F(SessionInNetwork, Identity_NamesTheStepThatDecides) {
  const struct {
    const char* role;
    const char* decides;
    const char* found;
  } rows[] = {{"HOST", "This machine's names", "one of them"},
              {"ALIAS", "Aliases in DNS", "an alias: DNS calls it srv7.corp.example"},
              {"LOOP_ALIAS", "Aliases in DNS", "127.0.0.1 (this machine, loopback)"},
              {"NEVER", "Aliases in DNS", "10060"}};
  for (const auto& row : rows) {
    test::VtctlRun run(
        {L"identity", FromUtf8(NetworkName(row.role)), L"--timeout", L"2", L"--json"});
    run.ExitCode();
    const auto json = nlohmann::json::parse(run.Output());
    EXPECT_EQ(json["thisMachine"].is_null(), row.role == std::string("NEVER"));
    const auto& step = json["steps"].back();
    EXPECT_EQ(step["step"], row.decides);
    EXPECT_EQ(step["decides"], true);
    EXPECT_NE(step["found"].get<std::string>().find(row.found), std::string::npos) << step;
    EXPECT_EQ(!step["warning"].is_null(), std::string(row.role).ends_with("ALIAS"));
  }
}

TEST_F(SessionInNetwork, Resolve_NotesWhatTheAddressesAre) {
  test::VtctlRun run({L"resolve", FromUtf8(NetworkName("HOST"))});
  EXPECT_EQ(run.ExitCode(), kExitClean);
  EXPECT_NE(run.Output().find("Canonical name  srv7.corp.example\n"), std::string::npos);
  EXPECT_NE(run.Output().find("10.9.8.7 (this machine)\n"), std::string::npos) << run.Output();
  // The second would be "loop" to the resolver, which takes no such letter.
  for (const wchar_t* name : {L"nobody.corp.example", L"\xFF4Coop.corp.example"}) {
    EXPECT_EQ(test::VtctlRun({L"resolve", name}).ExitCode(), kExitNoInput);
  }
  EXPECT_EQ(
      test::VtctlRun({L"resolve", FromUtf8(NetworkName("NEVER")), L"--timeout", L"1"}).ExitCode(),
      kExitNoAnswer);
}

}  // namespace
}  // namespace vtctl
