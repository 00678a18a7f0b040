// The commands on what this machine really has: what they say must agree with itself.
#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/owned.h"
#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
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

// What a command of this process prints, and its exit code before that.
std::string Printed(AddCommand add, const std::string& line) {
  const vtclass::test::ScratchFolder folder;
  const std::wstring path = folder / L"output";
  std::istringstream parts(line);
  std::vector<std::string> words;
  for (std::string word; parts >> word;) words.push_back(word);
  const HANDLE before = ::GetStdHandle(STD_OUTPUT_HANDLE);
  const vtclass::platform::OwnedFile file(
      ::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, 0, nullptr));
  EXPECT_TRUE(file) << ::GetLastError();
  ::SetStdHandle(STD_OUTPUT_HANDLE, file.Get());
  const int code = RunCommandLine({"vtctl", "", "", ""}, {&add, 1}, words);
  ::SetStdHandle(STD_OUTPUT_HANDLE, before);
  return std::to_string(code) + " " + vtclass::test::FileBytes(path);
}

DWORD playedState;  // 0: there is no service, for the reason below
DWORD playedError;

SC_HANDLE WINAPI PlayedService(SC_HANDLE manager, LPCWSTR, DWORD access) {
  if (playedState != 0) return ::OpenServiceW(manager, L"RpcSs", access);
  ::SetLastError(playedError);
  return nullptr;
}

BOOL WINAPI PlayedStatus(SC_HANDLE, SERVICE_STATUS* status) {
  status->dwCurrentState = playedState;
  return TRUE;
}

TEST(ClusterCommands, Apps_SayWhatTheServicesAre) {
  const vtclass::test::ImportHook<decltype(::OpenServiceW)> open("ADVAPI32.dll", "OpenServiceW",
                                                                 &PlayedService);
  const vtclass::test::ImportHook<decltype(::QueryServiceStatus)> status(
      "ADVAPI32.dll", "QueryServiceStatus", &PlayedStatus);
  const struct {
    DWORD state;
    DWORD error;
    const char* word;
    const char* sentence;
  } rows[] = {{SERVICE_STOPPED, 0, "stopped", "not running (its service does not run there)"},
              {SERVICE_START_PENDING, 0, "starting", "does not run there"},
              {SERVICE_STOP_PENDING, 0, "stopping", "does not run there"},
              {SERVICE_RUNNING, 0, "running", "running (its service runs there)"},
              {SERVICE_CONTINUE_PENDING, 0, "paused", "does not run there"},
              {SERVICE_PAUSED, 0, "paused", "does not run there"},
              {0, ERROR_SERVICE_DOES_NOT_EXIST, "not installed", "MSExchangeSA is not installed"},
              {0, ERROR_INVALID_NAME, "not installed", "MSSQLServer is not installed there"},
              {0, ERROR_ACCESS_DENIED, "not visible: ", "does not run there"}};
  for (const auto& row : rows) {
    playedState = row.state;
    playedError = row.error;
    const std::string text = Printed(&AddAppsCommand, "apps " + ToUtf8(ThisComputer()));
    EXPECT_NE(text.find(std::string("  MSExchangeKMS  ") + row.word), std::string::npos) << text;
    EXPECT_NE(text.find(row.sentence), std::string::npos) << text;
  }
}

TEST(ClusterCommands, Apps_AnswersAsTheServicesAre) {
  const std::wstring computer = ThisComputer();
  VtctlRun run({L"apps", computer, L"--json", L"--instance", L"INST"});
  const int instanceCode = run.ExitCode();
  const auto json = nlohmann::json::parse(run.Output());
  EXPECT_EQ(json["server"], ToUtf8(computer));
  EXPECT_EQ(json["sqlServer"]["services"].size(), 2u);
  EXPECT_EQ(json["exchange"]["services"].size(), 5u);
  if (!json["cluster"].is_null()) GTEST_SKIP() << "this machine belongs to a cluster";
  EXPECT_EQ(json["exchange"]["running"], json["exchange"]["services"]["MSExchangeSA"] == "running");
  EXPECT_EQ(json["instance"]["state"], "not-clustered");
  EXPECT_EQ(instanceCode, kExitWarnings) << "the instance does not run in a cluster";
  const bool sql = json["sqlServer"]["running"];
  const bool exchange = json["exchange"]["running"];
  const struct {
    const wchar_t* need;
    bool isRunning;
  } needs[] = {{L"sqlserver", sql}, {L"exchange", exchange}};
  for (const auto& row : needs) {
    EXPECT_EQ(VtctlRun({L"apps", computer, L"--need", row.need}).ExitCode(),
              row.isRunning ? kExitClean : kExitWarnings);
  }
  VtctlRun text({L"apps", computer});
  EXPECT_EQ(text.ExitCode(), sql || exchange ? kExitClean : kExitWarnings);
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
  bool isAnyKnown = false;
  for (const auto& row : databases) {
    isAnyKnown = isAnyKnown || row["known"];
    EXPECT_EQ(row["server"].is_null(), !row["known"]);
    // Why it is not known.
    if (!row["known"]) EXPECT_EQ(row["status"], ERROR_FILE_NOT_FOUND) << row;
  }
  EXPECT_EQ(code, isAnyKnown ? kExitClean : kExitNoInput);
}

TEST(ClusterCommands, InACluster_SayWhatCannotBeTold) {
  FakeCluster fake(vtclass::test::TwoNodes());
  fake.table.reachedBy.emplace_back(L"STRANGER");
  struct Row {
    AddCommand add;
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
          {&AddAppsCommand, "apps SQLTWO --instance INST2", "Instance INST2: running"},
          {&AddAppsCommand, "apps SQLTWO --instance INST2 --json", "0 {"}});
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
