#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/eventually.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/test_service.h"
#include "tools/vtctl/adv/agent_state.h"
#include "tools/vtctl/shared/console.h"
#include "vtclass/agent.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using Words = std::vector<std::wstring>;

TEST(Adv, Explanation_SaysWhatToDo) {
  using Adv = AgentAdvConfig;
  const struct {
    AgentState state;
    const char* word;
    const wchar_t* sentence;
    int codeClosed;  // while the settings are not open
  } rows[] = {
      {{Adv::accessDenied, 5, L""}, "access-denied", L"Run vtctl as an administrator", 66},
      {{Adv::accessDenied, 1326, L"\\\\SRV\\x"}, "access-denied", L"SRV does not let you in", 66},
      {{Adv::accessDenied, 1219, L"SRV"}, "access-denied", L"net use \\\\SRV\\IPC$ /delete", 66},
      {{Adv::notReachable, 53, L"SRV"}, "not-reachable", L"SRV cannot be reached.", 69},
      {{Adv::notReachable, 87, L"\\\\"}, "not-reachable", L"\\\\ cannot be reached.", 69},
      {{Adv::notReachable, 1722, L""}, "not-reachable", L"service manager does not answer", 69},
      {{Adv::notInstalled, 2, L""}, "not-installed", L"No complete agent is installed on this", 66},
      {{Adv::notInstalled, 5, L"SRV"},
       "not-installed",
       L"You may not open the agent's settings on SRV",
       66},
      {{Adv::notInstalled, 1060, L""}, "not-installed", L"Repair the agent's installation", 66},
      {{Adv::notInstalled, 123, L""}, "not-installed", L"Repair the agent's installation", 66},
      {{Adv::notInstalled, 53, L"SRV"},
       "not-installed",
       L"Does its Remote Registry service run",
       66},
      {{Adv::notInstalled, 13, L""}, "not-installed", L"this machine cannot be opened.", 66},
      {{Adv::olderVersion, Adv::olderVersion, L""}, "older-version", L"older version", 66},
      {{Adv::otherVersion, Adv::otherVersion, L""}, "other-version", L"newer version", 66},
      {{Adv::otherVersion, 2, L""}, "other-version", L"older generation", 66},
      {{Adv::notRunning, Adv::notRunning, L"SRV"}, "not-running", L"is advertised. Start it", 66},
      {{Adv::notRunning, 5, L"SRV"}, "not-running", L"(5) Start it", 66},
      {{8, 8, L""}, "failed", L"cannot be opened: ", 70}};
  for (const auto& row : rows) {
    const std::wstring text = Explanation(row.state);
    SCOPED_TRACE(ToUtf8(text));
    EXPECT_STREQ(StateWord(row.state), row.word);
    EXPECT_NE(text.find(row.sentence), std::wstring::npos) << ToUtf8(row.sentence);
    EXPECT_EQ(ExitCodeOf(row.state, false), row.codeClosed);
    EXPECT_EQ(ExitCodeOf(row.state, true), kExitWarnings);
  }
  EXPECT_EQ(Explanation({}), L"");
  EXPECT_EQ(SystemStatus({}), 0U);
  EXPECT_EQ(SystemStatus({Adv::notRunning, Adv::notRunning, L""}), 0U) << "a state of our own";
  EXPECT_EQ(SystemStatus({Adv::notRunning, 5, L""}), 5U);
  EXPECT_EQ(SystemStatus({8, 8, L""}), 8U);
  EXPECT_EQ(ExitCodeOf({}, true), kExitClean);
}

const std::wstring kRoot = L"HKLM\\Software\\Norvane\\Vantorel For Windows\\Vantorel";

int Set(const std::wstring& key, const std::wstring& name, const std::wstring& number) {
  return VtctlRun({L"registry", L"set", kRoot + key, name, number, L"--type", L"dword"}).ExitCode();
}

nlohmann::json Shown(int exitCode) {
  VtctlRun run({L"adv", L"show", L"--json"});
  EXPECT_EQ(run.ExitCode(), exitCode) << run.ErrorOutput();
  return nlohmann::json::parse(run.Output());
}

// Leaves nothing in the registry that all runs of vtctl share.
class AdvCommands : public testing::Test {
 protected:
  ~AdvCommands() override {
    wchar_t root[MAX_PATH] = {};
    ::GetEnvironmentVariableW(test::kRegistryVariable, root, MAX_PATH);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, (root + std::wstring(L"\\Software\\Norvane")).c_str());
  }
};

// One after the other: an agent that is missing, stopped, running.
TEST_F(AdvCommands, AskAndChangeTheSettings) {
  EXPECT_EQ(Set(L"\\Engine\\Agents", L"Advertise Now", L"0"), kExitClean);
  EXPECT_EQ(Shown(kExitWarnings)["state"], "not-installed");
  VtctlRun absent({L"adv", L"show", L"--product", L"1"});
  EXPECT_EQ(absent.ExitCode(), kExitNoInput);
  EXPECT_EQ(absent.Output(), "");
  EXPECT_NE(absent.ErrorOutput().find("No complete agent"), std::string::npos);

  EXPECT_EQ(Set(L"\\13.0\\Install", L"Major Version", L"13"), kExitClean);
  vtclass::test::TestService service(L"VantorelAgentSprintel");
  if (!service.Usable()) GTEST_SKIP() << vtclass::test::kNoService;
  VtctlRun stopped({L"adv", L"show"});
  EXPECT_EQ(stopped.ExitCode(), kExitWarnings);
  EXPECT_NE(stopped.Output().find("this machine, stopped\nAdvertising      on\n"),
            std::string::npos)
      << stopped.Output();
  EXPECT_EQ(VtctlRun({L"adv", L"interval", L"240"}).ExitCode(), kExitWarnings);

  service.Start();
  const struct {
    Words words;
    int code;
    const char* told;
    const char* pointer;  // into the settings, which then have `value`
    nlohmann::json value;
  } rows[] = {
      {{L"add", L"MS1"}, 0, "MS1 is among", "/mediaServers", {"MS1"}},
      {{L"show"}, 0, "this machine, runs\n", "/advertiseNowPending", true},
      {{L"show"}, 0, "\nInterval         240 min\n", "/intervalMinutes", 240},
      {{L"add", L"ms1"}, 0, "ms1 was among", "/mediaServers", {"MS1"}},
      {{L"purge", L"MS2"}, 1, "nothing was changed", "/purgeServers", nlohmann::json::array()},
      {{L"purge", L"MS2", L"--force", L"--later"}, 0, "MS2 is to forget", "/purgeServers", {"MS2"}},
      {{L"purge", L"MS2"}, 0, "was to be purged already", "/purgePending", true},
      {{L"purge", L"MS1"}, 0, "MS1 is to forget", "/purgeServers", {"MS2", "MS1"}},
      {{L"publish", L"SRV1"}, 0, "SRV1 is published now", "/publishedNames", {"SRV1"}},
      {{L"publish", L"srv1"}, 0, "was published already", "/publishedNames", {"SRV1"}},
      {{L"unpublish", L"SRV1"},
       0,
       "not published any more",
       "/publishedNames",
       nlohmann::json::array()},
      {{L"unpublish", L"SRV1"}, 0, "was not published", "/publishedNames", nlohmann::json::array()},
      {{L"publish", L""}, kExitUsage, "name is empty", "/publishedNames", nlohmann::json::array()},
      {{L"discovery", L"off"}, 0, "Discovery is off", "/autoDiscovery", false},
      {{L"discovery", L"on"}, 0, "Discovery is on", "/autoDiscovery", true},
      {{L"disable"}, 0, "Advertising is off", "/advertising", false},
      {{L"now"}, kExitCannotWrite, "Switch it on first", "/advertising", false},
      {{L"add", L"MS3"},
       kExitCannotWrite,
       "Switch it on first",
       "/mediaServers",
       nlohmann::json::array()},
      {{L"enable"}, 0, "Advertising is on", "/advertising", true}};
  for (const auto& row : rows) {
    Words words = {L"adv"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    VtctlRun run(words);
    EXPECT_EQ(run.ExitCode(), row.code) << row.told;
    const std::string all = run.Output() + run.ErrorOutput();
    EXPECT_NE(all.find(row.told), std::string::npos) << all;
    const nlohmann::json json = Shown(kExitClean);
    EXPECT_EQ(json["settings"][nlohmann::json::json_pointer(row.pointer)], row.value) << json;
  }
  EXPECT_EQ(Set(L"\\Engine\\Agents", L"Advertise Now", L"0"), kExitClean);
  EXPECT_EQ(VtctlRun({L"adv", L"add", L"MS4", L"--later"}).ExitCode(), kExitClean);
  const nlohmann::json later = Shown(kExitClean)["settings"];
  EXPECT_EQ(later["advertiseNowPending"], false);
  EXPECT_EQ(later["purgePending"], true);
  EXPECT_EQ(VtctlRun({L"adv", L"now"}).ExitCode(), kExitClean);
  EXPECT_EQ(Shown(kExitClean)["settings"]["advertiseNowPending"], true);

  VtctlRun watch({L"adv", L"watch"});
  using vtclass::test::Eventually;
  const auto hasTold = [&](const char* text) {
    return Eventually([&] { return watch.Output().find(text) != std::string::npos; });
  };
  EXPECT_TRUE(hasTold("Watching"));
  for (const char* const name : {"W1", "W2"}) {
    EXPECT_EQ(VtctlRun({L"adv", L"publish", FromUtf8(name)}).ExitCode(), kExitClean);
    EXPECT_TRUE(hasTold(name)) << watch.Output();
  }
  EXPECT_NE(watch.Output().find("Published names: W1, W2\n"), std::string::npos) << watch.Output();
  watch.Kill();
  EXPECT_EQ(VtctlRun({L"adv", L"watch", L"--for", L"1"}).ExitCode(), kExitClean);
}

TEST(Adv, Password_ComesFromStandardInputAndIsNotTold) {
  const Words words = {L"adv", L"show", L"--server", L"\\\\vtclass-none.invalid", L"--user", L"u"};
  VtctlRun run(words, std::string("hunter2!\n"));
  EXPECT_EQ(run.ExitCode(), kExitNoAnswer) << run.ErrorOutput();
  EXPECT_NE(run.ErrorOutput().find("vtclass-none.invalid cannot be reached"), std::string::npos);
  EXPECT_EQ((run.Output() + run.ErrorOutput()).find("hunter2"), std::string::npos);
  EXPECT_EQ(VtctlRun(words).ExitCode(), kExitNoInput) << "without a password";
  VtctlRun alone({L"adv", L"enable", L"--user", L"u"});
  EXPECT_EQ(alone.ExitCode(), kExitUsage);
}

}  // namespace
}  // namespace vtctl
