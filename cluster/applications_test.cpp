#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;
using test::FakeCluster;
using test::FakeClusterTable;
using test::ImportHook;

// NOLINTNEXTLINE(cert-err58-cpp): what throws here ends the test program, as it should
[[maybe_unused]] auto* const clusters = FakeCluster::AnswerLookUps();

// The service manager of every computer is played: a test may not register services under the names
// of products that a machine can have.
class Applications : public ::testing::Test {
 protected:
  Applications() {
    services.clear();
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

  static SC_HANDLE WINAPI OpenManager(LPCWSTR computer, LPCWSTR, DWORD access) {
    asked = computer ? computer : L"(this machine)";
    EXPECT_EQ(access, DWORD{SC_MANAGER_CONNECT});
    return ++open, reinterpret_cast<SC_HANDLE>(&services);
  }
  static SC_HANDLE WINAPI OpenService(SC_HANDLE, LPCWSTR name, DWORD access) {
    EXPECT_EQ(access, DWORD{SERVICE_QUERY_STATUS});
    const auto service = services.find(name);
    if (service == services.end()) return ::SetLastError(ERROR_SERVICE_DOES_NOT_EXIST), nullptr;
    return ++open, reinterpret_cast<SC_HANDLE>(&service->second);
  }
  static BOOL WINAPI Query(SC_HANDLE service, SERVICE_STATUS* status) {
    status->dwCurrentState = *reinterpret_cast<DWORD*>(service);
    return status->dwCurrentState != 0;
  }
  static BOOL WINAPI Close(SC_HANDLE) { return --open, TRUE; }

  static inline std::map<std::wstring, DWORD> services;  // their states; 0: it cannot be told
  static inline std::wstring asked;                      // the last computer
  static inline int open = 0;

  wcstring node;                              // this machine
  FakeClusterTable table = test::TwoNodes();  // with all groups on this machine
  ImportHook<decltype(OpenManager)> a{"ADVAPI32.dll", "OpenSCManagerW", &OpenManager};
  ImportHook<decltype(OpenService)> b{"ADVAPI32.dll", "OpenServiceW", &OpenService};
  ImportHook<decltype(Query)> c{"ADVAPI32.dll", "QueryServiceStatus", &Query};
  ImportHook<decltype(Close)> d{"ADVAPI32.dll", "CloseServiceHandle", &Close};
};

TEST_F(Applications, Sql_ServiceAndCluster) {
  const std::wstring named = L"MSSQLServer$" + node;
  services = {{L"MSSQLServer", SERVICE_STOPPED}, {named, SERVICE_RUNNING}};
  EXPECT_EQ(Sql(node), "runs");
  EXPECT_EQ(asked, L"\\\\" + node);
  EXPECT_EQ(Sql(L"\\\\" + node), "no") << "no service is called MSSQLServer$\\\\name";
  services = {{L"MSSQLServer", SERVICE_RUNNING}};
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
  services = {{L"MSExchangeIS", SERVICE_RUNNING}, {L"MSExchangeDS", SERVICE_STOPPED}};
  EXPECT_EQ(Exchange(node, false), "-0000") << "there is no system attendant";
  services[L"MSExchangeSA"] = SERVICE_RUNNING;
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
  const std::pair<const wchar_t*, const char*> withoutOne[] = {{L"MSExchangeIS", "+0111"},
                                                               {L"MSExchangeDS", "+1011"},
                                                               {L"MSExchangeSRS", "+1101"},
                                                               {L"MSExchangeKMS", "+1110"},
                                                               {L"MSExchangeSA", "-0000"}};
  for (DWORD state = 0; state <= SERVICE_PAUSED; ++state) {
    SCOPED_TRACE(state);
    const bool runs = state == SERVICE_RUNNING;
    services = {{L"MSSQLServer", state}, {L"MSSQLServer$" + node, state}};
    for (const auto& [name, answer] : withoutOne) services[name] = state;
    EXPECT_EQ(Sql(node), runs ? "runs" : "no");
    EXPECT_EQ(Exchange(node, true), runs ? "+1111" : "-0000");
    // All of them are looked at where the caller wants to see them.
    std::vector<Step> seen(9);
    EXPECT_EQ(ServerIsRunningSQLWithServices(node.c_str(), nullptr, seen), runs);
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[1].text, L"MSSQLServer$" + node);
    EXPECT_EQ(seen[1].answer, state);
    EXPECT_EQ(ServerIsRunningExchangeWithServices(node.data(), nullptr, nullptr, nullptr, nullptr,
                                                  false, seen),
              runs);
    EXPECT_EQ(seen.size(), 5u);
  }
  for (auto& [name, state] : services) state = SERVICE_RUNNING;
  for (const auto& [name, answer] : withoutOne) {
    auto missing = services.extract(name);
    EXPECT_EQ(Exchange(node, false), answer);
    services.insert(std::move(missing));
  }
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
