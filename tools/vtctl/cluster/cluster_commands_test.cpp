/* The commands on what this machine really has: what they say must agree with itself. */
#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/vtctl/cluster/service_facts.h"
#include "tools/vtctl/command.h"
#include "tools/vtctl/console.h"
#include "tools/vtctl/run_vtctl.h"

namespace vtctl {
namespace {

using test::VtctlRun;

std::wstring ThisComputer() {
  wchar_t name[16];
  DWORD size = _countof(name);
  EXPECT_TRUE(::GetComputerNameW(name, &size));
  return name;
}

TEST(ServiceFacts, RunningStoppedAndMissing) {
  const ServiceFacts facts =
      LookAtServices(L"\\\\" + ThisComputer(), {L"RpcSs", L"no such service", L"a/b"});
  EXPECT_EQ(facts.problem, L"");
  ASSERT_EQ(facts.services.size(), 3u);
  EXPECT_TRUE(facts.services[0].isInstalled); /* and may still be starting */
  EXPECT_EQ(facts.services[0].isRunning, facts.services[0].state == L"running");
  for (const size_t missing : {1u, 2u}) {
    EXPECT_EQ(facts.services[missing].state, L"not installed");
    EXPECT_FALSE(facts.services[missing].isInstalled);
  }
}

TEST(ClusterCommands, Apps_AnswersAsTheServicesAre) {
  const std::wstring computer = ThisComputer();
  VtctlRun run({L"apps", computer, L"--json", L"--instance", L"INST"});
  EXPECT_EQ(run.ExitCode(), kExitClean) << run.ErrorOutput();
  const auto json = nlohmann::json::parse(run.Output());
  EXPECT_EQ(json["server"], ToUtf8(computer));
  EXPECT_EQ(json["sqlServer"]["services"].size(), 2u);
  EXPECT_EQ(json["exchange"]["services"].size(), 5u);
  if (!json["cluster"].is_null()) GTEST_SKIP() << "this machine belongs to a cluster";
  EXPECT_EQ(json["exchange"]["running"], json["exchange"]["services"]["MSExchangeSA"] == "running");
  EXPECT_EQ(json["instance"]["state"], "not known to a cluster");
  VtctlRun text({L"apps", computer});
  EXPECT_EQ(text.ExitCode(), kExitClean);
  EXPECT_NE(text.Output().find(", no cluster found"), std::string::npos) << text.Output();
  EXPECT_EQ(VtctlRun({L"apps", L"\\\\"}).ExitCode(), kExitUsage);
}

TEST(ClusterCommands, ClusterAndDatabase) {
  VtctlRun cluster({L"cluster", L"\\\\" + ThisComputer(), L"--json"});
  EXPECT_EQ(cluster.ExitCode(), kExitClean) << cluster.ErrorOutput();
  const auto json = nlohmann::json::parse(cluster.Output());
  EXPECT_EQ(json["computer"], ToUtf8(ThisComputer()));
  EXPECT_EQ(json["cluster"].is_null(), json["clusterType"].is_null());
  VtctlRun database({L"database", L"--json"});
  const int code = database.ExitCode();
  const auto databases = nlohmann::json::parse(database.Output());
  ASSERT_EQ(databases.size(), 3u);
  const bool none = databases["product"].is_null() && databases["server"].is_null();
  EXPECT_EQ(code, none ? kExitNoInput : kExitClean);
}

}  // namespace
}  // namespace vtctl
