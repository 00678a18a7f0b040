// The services are real: a small service program is registered under the names that the library
// looks for, and removed again.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "tests/support/test_service.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;
using test::FakeCluster;
using test::FakeClusterTable;
using test::ImportHook;
using test::TestService;

// NOLINTNEXTLINE(cert-err58-cpp): what throws here ends the test program, as it should
[[maybe_unused]] auto* const clusters = FakeCluster::AnswerLookUps();

std::wstring asked;
int open;

// Every computer is this one.
SC_HANDLE WINAPI LocalManager(LPCWSTR computer, LPCWSTR, DWORD access) {
  asked = computer ? computer : L"(this machine)";
  EXPECT_EQ(access, DWORD{SC_MANAGER_CONNECT});
  ++open;
  return ::OpenSCManagerW(nullptr, nullptr, access);
}

SC_HANDLE WINAPI CountedService(SC_HANDLE manager, LPCWSTR name, DWORD access) {
  EXPECT_EQ(access, DWORD{SERVICE_QUERY_STATUS});
  const SC_HANDLE service = ::OpenServiceW(manager, name, access);
  if (service) ++open;
  return service;
}

BOOL WINAPI CountedClose(SC_HANDLE handle) {
  --open;
  return ::CloseServiceHandle(handle);
}

// A service manager that knows every service but one, all in one state; 0 is a state that cannot be
// asked for.
DWORD playedState;
const wchar_t* missing;

template <typename... Arguments>
SC_HANDLE Played(const Arguments&...) {
  ++open;
  return reinterpret_cast<SC_HANDLE>(&playedState);
}
SC_HANDLE WINAPI PlayedManager(LPCWSTR name, LPCWSTR, DWORD) { return Played(name); }
SC_HANDLE WINAPI PlayedService(SC_HANDLE, LPCWSTR name, DWORD) {
  return missing && std::wstring(name) == missing ? nullptr : Played(name);
}
BOOL WINAPI PlayedClose(SC_HANDLE) {
  --open;
  return TRUE;
}
BOOL WINAPI PlayedStatus(SC_HANDLE, SERVICE_STATUS* status) {
  status->dwCurrentState = playedState;
  return playedState != 0;
}

class Applications : public ::testing::Test {
 protected:
  Applications() {
    open = 0;
    EXPECT_NE(GetComputerNodeName(node), 0);
    for (auto& [group, owner] : table.groups) owner = node;
    table.reachedBy.push_back(node);
  }
  ~Applications() override { EXPECT_EQ(open, 0) << "service handles are still open"; }

  // "no", "runs", or "clustered" where the flag says so.
  static std::string Sql(const std::wstring& server) {
    bool clustered = true;
    const bool running = ServerIsRunningSQL(server.c_str(), &clustered);
    EXPECT_EQ(ServerIsRunningSQL(server.c_str(), nullptr), running);
    return clustered ? "clustered" : running ? "runs" : "no";
  }

  // "is ds srs kms" as digits, after "+" for yes and "-" for no.
  static std::string Exchange(std::wstring server, bool requireRunning) {
    bool flags[4] = {true, true, true, true};
    const bool running = ServerIsRunningExchange(server.data(), &flags[0], &flags[1], &flags[2],
                                                 &flags[3], requireRunning);
    std::string text = running ? "+" : "-";
    for (const bool flag : flags) text += flag ? '1' : '0';
    return text;
  }

  wcstring node;                              // this machine
  FakeClusterTable table = test::TwoNodes();  // with all groups on this machine
  ImportHook<decltype(::OpenSCManagerW)> a{"ADVAPI32.dll", "OpenSCManagerW", &LocalManager};
  ImportHook<decltype(::OpenServiceW)> b{"ADVAPI32.dll", "OpenServiceW", &CountedService};
  ImportHook<decltype(::CloseServiceHandle)> c{"ADVAPI32.dll", "CloseServiceHandle", &CountedClose};
};

TEST_F(Applications, Sql_ServiceAndCluster) {
  std::optional<TestService> named(L"MSSQLServer$" + node);
  TestService sql(L"MSSQLServer");
  if (!sql.Usable() || !named->Usable()) GTEST_SKIP() << test::kNoService;
  EXPECT_EQ(Sql(node), "no");
  named->Start();
  EXPECT_EQ(Sql(node), "runs");
  EXPECT_EQ(asked, L"\\\\" + node);
  EXPECT_EQ(Sql(L"\\\\" + node), "no") << "no service is called MSSQLServer$\\\\name";
  named.reset();
  sql.Start();
  EXPECT_EQ(Sql(L"\\\\" + node), "runs");
  EXPECT_FALSE(ServerIsRunningSQL(L"", nullptr));
  EXPECT_FALSE(ServerIsRunningSQL(nullptr, nullptr));

  FakeCluster fake(table);
  EXPECT_EQ(Sql(L"\\\\sqlv"), "clustered");
  EXPECT_EQ(asked, node);
  EXPECT_EQ(Sql(node), "no") << "the service is the virtual server's";
  fake.table.Resource(L"SQL1").state = ClusterResourceOffline;
  fake.table.groups[L"SQL"] = L"NODEB";
  EXPECT_EQ(Sql(L"SQLV"), "no");
  EXPECT_EQ(Sql(node), "runs") << "the service is the node's own";
}

TEST_F(Applications, Exchange_ServicesAndCluster) {
  TestService attendant(L"MSExchangeSA"), store(L"MSExchangeIS"), directory(L"MSExchangeDS");
  if (!attendant.Usable() || !store.Usable() || !directory.Usable())
    GTEST_SKIP() << test::kNoService;
  store.Start();
  EXPECT_EQ(Exchange(node, false), "-0000") << "the system attendant does not run";
  attendant.Start();
  EXPECT_EQ(Exchange(node, false), "+1100");
  EXPECT_EQ(asked, L"(this machine)");
  EXPECT_EQ(Exchange(node, true), "+1000");
  EXPECT_FALSE(ServerIsRunningExchange(nullptr, nullptr, nullptr, nullptr, nullptr, false));

  FakeCluster fake(table);
  EXPECT_EQ(Exchange(L"EXCHV", true), "+1000");
  EXPECT_EQ(asked, L"\\\\EXCHV");
  EXPECT_EQ(Exchange(node, true), "-0000") << "it is the virtual server's";
  fake.table.groups[L"Exchange"] = L"NODEB";
  EXPECT_EQ(Exchange(node, true), "+1000");
}

TEST_F(Applications, OnlyARunningServiceRuns) {
  const ImportHook<decltype(::OpenSCManagerW)> manager("ADVAPI32.dll", "OpenSCManagerW",
                                                       &PlayedManager);
  const ImportHook<decltype(::OpenServiceW)> service("ADVAPI32.dll", "OpenServiceW",
                                                     &PlayedService);
  const ImportHook<decltype(::CloseServiceHandle)> close("ADVAPI32.dll", "CloseServiceHandle",
                                                         &PlayedClose);
  const ImportHook<decltype(::QueryServiceStatus)> status("ADVAPI32.dll", "QueryServiceStatus",
                                                          &PlayedStatus);
  for (playedState = 0; playedState <= SERVICE_PAUSED; ++playedState) {
    const bool runs = playedState == SERVICE_RUNNING;
    EXPECT_EQ(Sql(node), runs ? "runs" : "no") << playedState;
    EXPECT_EQ(Exchange(node, true), runs ? "+1111" : "-0000") << playedState;
    // All of them are looked at where the caller wants to see them.
    std::vector<Step> services(9);
    EXPECT_EQ(ServerIsRunningSQLWithServices(node.c_str(), nullptr, services), runs);
    ASSERT_EQ(services.size(), 2u);
    EXPECT_EQ(services[1].text, L"MSSQLServer$" + node);
    EXPECT_EQ(services[1].answer, playedState);
    EXPECT_EQ(ServerIsRunningExchangeWithServices(node.data(), nullptr, nullptr, nullptr, nullptr,
                                                  false, services),
              runs);
    EXPECT_EQ(services.size(), 5u);
  }
  playedState = SERVICE_RUNNING;
  const std::pair<const wchar_t*, const char*> rows[] = {{L"MSExchangeIS", "+0111"},
                                                         {L"MSExchangeDS", "+1011"},
                                                         {L"MSExchangeSRS", "+1101"},
                                                         {L"MSExchangeKMS", "+1110"},
                                                         {L"MSExchangeSA", "-0000"}};
  for (const auto& [name, answer] : rows) {
    missing = name;
    EXPECT_EQ(Exchange(node, false), answer);
  }
  missing = nullptr;
  // In a cluster that opens but does not tell, nothing counts as running, and the caller hears why.
  FakeCluster fake(table);
  fake.table.Resource(L"SQL1").factsError = RPC_S_CALL_FAILED;
  fake.table.Resource(L"Store").factsError = RPC_S_CALL_FAILED;
  EXPECT_EQ(Sql(L"SQLV"), "no");
  EXPECT_EQ(::GetLastError(), DWORD{RPC_S_CALL_FAILED});
  EXPECT_EQ(Exchange(L"EXCHV", false), "-0000");
  EXPECT_EQ(::GetLastError(), DWORD{RPC_S_CALL_FAILED});
  fake.table.Resource(L"SQL1").factsError = fake.table.Resource(L"Store").factsError = 0;
  EXPECT_EQ(Sql(L"SQLV"), "clustered");
  EXPECT_EQ(::GetLastError(), 0u);
}

TEST_F(Applications, Instance_StatesPassThrough) {
  EXPECT_EQ(ServerIsRunningSQL2KInstance(L"SQLTWO", L"INST2"), clusAppNoAnswer);
  FakeCluster fake(table);
  EXPECT_EQ(ServerIsRunningSQL2KInstance(L"SQLTWO", wcstring()), clusAppNoAnswer);
  EXPECT_EQ(ServerIsRunningSQL2KInstance(L"SQLV", wcstring()), clusAppRunning);
  fake.table.Resource(L"SQL2").state = ClusterResourceOnlinePending;
  EXPECT_EQ(ServerIsRunningSQL2KInstance(L"SQLTWO", L"INST2"), clusAppUnknown);
  fake.table.Resource(L"SQL2").state = ClusterResourceOffline;
  EXPECT_EQ(ServerIsRunningSQL2KInstance(L"SQLTWO", L"INST2"), clusAppNotRunning);
  EXPECT_EQ(::GetLastError(), 0u);
  fake.table.Resource(L"SQL2").typeError = RPC_S_CALL_FAILED;
  EXPECT_EQ(ServerIsRunningSQL2KInstance(L"SQLTWO", L"INST2"), clusAppNoAnswer);
  EXPECT_EQ(::GetLastError(), DWORD{RPC_S_CALL_FAILED});
  fake.table.isOld = fake.table.isReadOnly = true;
  EXPECT_EQ(ServerIsRunningSQL2KInstance(L"SQLTWO", L"INST2"), clusAppNoAnswer);
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

}  // namespace
