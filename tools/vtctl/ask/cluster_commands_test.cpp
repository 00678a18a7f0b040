/* The commands on what this machine really has: what they say must agree with itself. */
#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "platform/owned.h"
#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/ask/service_facts.h"
#include "tools/vtctl/run_vtctl.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::test::FakeCluster;

// NOLINTNEXTLINE(cert-err58-cpp): what throws here ends the test program, as it should
[[maybe_unused]] auto* const clusters = FakeCluster::AnswerLookUps();

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

DWORD playedState;

BOOL WINAPI PlayedStatus(SC_HANDLE, SERVICE_STATUS* status) {
  status->dwCurrentState = playedState;
  return TRUE;
}

TEST(ServiceFacts, OnlyRunningRuns) {
  const vtclass::test::ImportHook<decltype(::QueryServiceStatus)> hook(
      "ADVAPI32.dll", "QueryServiceStatus", &PlayedStatus, ::GetModuleHandleW(nullptr));
  const std::pair<DWORD, const wchar_t*> rows[] = {
      {SERVICE_STOPPED, L"stopped"},         {SERVICE_START_PENDING, L"starting"},
      {SERVICE_STOP_PENDING, L"stopping"},   {SERVICE_RUNNING, L"running"},
      {SERVICE_CONTINUE_PENDING, L"paused"}, {SERVICE_PAUSED, L"paused"}};
  for (const auto& [state, word] : rows) {
    playedState = state;
    const ServiceFacts facts = LookAtServices(L"\\\\" + ThisComputer(), {L"RpcSs"});
    ASSERT_EQ(facts.services.size(), 1u);
    EXPECT_EQ(facts.services[0].state, word);
    EXPECT_EQ(facts.services[0].isRunning, state == SERVICE_RUNNING);
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

/* What a command of this process prints, and its exit code before that. */
std::string Printed(void (*add)(CLI::App&, ChosenCommand&), const std::string& line) {
  const vtclass::test::ScratchFolder folder;
  const std::wstring path = folder / L"output";
  CLI::App app;
  ChosenCommand chosen;
  add(app, chosen);
  app.parse(line, false);
  const HANDLE before = ::GetStdHandle(STD_OUTPUT_HANDLE);
  const vtclass::platform::OwnedFile file(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                                        0, nullptr, CREATE_NEW, 0, nullptr));
  EXPECT_TRUE(file) << ::GetLastError();
  ::SetStdHandle(STD_OUTPUT_HANDLE, file.Get());
  std::string text = std::to_string(chosen.run()) + " ";
  ::SetStdHandle(STD_OUTPUT_HANDLE, before);
  char buffer[4096];
  DWORD size = 0;
  ::SetFilePointer(file.Get(), 0, nullptr, FILE_BEGIN);
  while (::ReadFile(file.Get(), buffer, sizeof buffer, &size, nullptr) && size > 0) {
    text.append(buffer, size);
  }
  return text;
}

TEST(ClusterCommands, InACluster_SayWhatCannotBeTold) {
  FakeCluster fake(vtclass::test::TwoNodes());
  fake.table.reachedBy.emplace_back(L"STRANGER");
  struct Row {
    void (*add)(CLI::App&, ChosenCommand&);
    const char* line;
    const char* part;
  };
  const auto expect = [](const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      const std::string text = Printed(row.add, row.line);
      EXPECT_NE(text.find(row.part), std::string::npos) << row.line << ":\n" << text;
    }
  };
  expect({{&AddClusterCommand, "cluster SQLV", "0 This machine"},
          {&AddClusterCommand, "cluster SQLV", "SQLV is a virtual server; its node is NODEA"},
          {&AddClusterCommand, "cluster SQLV", "CLU1 (Windows failover cluster)\n"},
          {&AddClusterCommand, "cluster", "active on NODEB, reached as VTBACKUP"},
          {&AddClusterCommand, "cluster SQLV --json", "\"error\": null"},
          {&AddAppsCommand, "apps SQLTWO --instance INST2", "Instance INST2: running"}});
  fake.table.Resource(L"SQLV").factsError = RPC_S_CALL_FAILED;
  fake.table.Resource(L"Engine").factsError = RPC_S_CALL_FAILED;
  fake.table.Resource(L"SQL2").factsError = RPC_S_CALL_FAILED;
  expect({{&AddClusterCommand, "cluster STRANGER", "69 This machine"},
          {&AddClusterCommand, "cluster STRANGER", "whether STRANGER is a virtual server"},
          {&AddClusterCommand, "cluster STRANGER", "Product:       cannot be told"},
          {&AddClusterCommand, "cluster STRANGER", "it cannot be read: "},
          {&AddClusterCommand, "cluster --json", "(1726)\""},
          {&AddAppsCommand, "apps STRANGER --json", "69 {"},
          {&AddAppsCommand, "apps SQLTWO --instance INST2", "Instance INST2: cannot be told: "}});
  fake.table.isOld = fake.table.isReadOnly = true;
  expect({{&AddClusterCommand, "cluster", "69 This machine"},
          {&AddClusterCommand, "cluster", "its service runs, but it cannot be opened: "},
          {&AddClusterCommand, "cluster", "not clustered; no cluster was found"}});
}

}  // namespace
}  // namespace vtctl
