#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "vtcluster/vtcluster.h"

namespace {

using vtclass::test::FakeCluster;
using vtclass::test::FakeClusterTable;
using vtclass::test::ImportHook;
using vtclass::test::TwoNodes;

// NOLINTNEXTLINE(cert-err58-cpp): what throws here ends the test program, as it should
[[maybe_unused]] auto* const clusters = FakeCluster::AnswerLookUps();

std::shared_ptr<Cluster> Opened(const wchar_t* name = nullptr) {
  auto cluster = Cluster::GetInstance(name);
  EXPECT_TRUE(cluster->Open());
  return cluster;
}

std::wstring NodeOf(Cluster& cluster, const std::wstring& name) {
  std::wstring node = L"as before";
  return cluster.NetworkNameToNodeName(name, node) || node != L"as before" ? node : L"";
}

std::wstring VirtualNameOf(Cluster& cluster, const char* nameOrAddress) {
  std::wstring name = L"as before";
  return cluster.GetVirtualNameFromIp(name, nameOrAddress) || name != L"as before" ? name : L"";
}

std::wstring ActiveNode(const wchar_t* name = nullptr) {
  std::wstring node;
  return Opened(name)->GetBeActiveNodeName(node) ? node : L"";
}

BOOL WINAPI CorpExample(COMPUTER_NAME_FORMAT format, LPWSTR text, DWORD* size) {
  EXPECT_EQ(format, ComputerNameDnsDomain);
  EXPECT_GE(*size, 13u);
  *size = static_cast<DWORD>(std::wstring(L"corp.example").copy(text, 12));
  text[*size] = L'\0';
  return TRUE;
}

TEST(WindowsCluster, NoCluster_EveryAnswerIsNo) {
  EXPECT_FALSE(Cluster::IsCluster());
  EXPECT_FALSE(Cluster::IsVtClustered());
  EXPECT_EQ(Cluster::GetVtVirtualServerName(), L"");
  EXPECT_EQ(XCSCluster::GetInstance(), nullptr);
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L"", L"\\\\SQLV"}) {
    const auto cluster = Cluster::GetInstance(name);
    EXPECT_FALSE(cluster->Open());
    EXPECT_EQ(cluster->GetClusterType(), 0);
    EXPECT_EQ(cluster->GetClusterName(), L"");
    EXPECT_EQ(NodeOf(*cluster, L"SQLV"), L"");
    EXPECT_EQ(VirtualNameOf(*cluster, "10.1.1.30"), L"");
    std::wstring text = L"as before";
    EXPECT_FALSE(cluster->GetBeActiveNodeName(text));
    EXPECT_FALSE(cluster->GetVtVirtualServerName(L"SQLV", text));
    EXPECT_EQ(text, L"as before");
    bool own = true;
    EXPECT_EQ(cluster->IsServerRunningSQL(L"SQLV", &own), 4);
    EXPECT_FALSE(own);
    EXPECT_EQ(cluster->IsServerRunningExchange(L"EXCHV", nullptr), 4);
  }
}

TEST(WindowsCluster, Open_FindsTheClusterByItsMembers) {
  const FakeCluster fake(TwoNodes());
  EXPECT_TRUE(Cluster::IsCluster());
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L"nodeb", L"\\\\SQLV"}) {
    const auto cluster = Opened(name);
    EXPECT_TRUE(cluster->Open());
    EXPECT_EQ(cluster->GetClusterType(), 1);
    EXPECT_EQ(cluster->GetClusterName(), L"CLU1");
  }
  EXPECT_FALSE(Cluster::GetInstance(L"STRANGER")->Open());
}

TEST(WindowsCluster, NetworkNameToNodeName_OnlyNetworkNames) {
  FakeClusterTable table = TwoNodes();
  // A DNS name outgrows its short name; names outgrow the first buffers.
  table.Resource(L"EXCHV").readOnlyProperties[L"Name"] = L"EXCHANGE-OF-THE";
  table.Resource(L"EXCHV").properties[L"DnsName"] = L"exchange-of-the-house";
  table.groups[L"SQL"] = std::wstring(2000, L'n');
  table.Resource(L"SQLV").state = ClusterResourceOffline;
  const FakeCluster fake(table);
  const ImportHook<decltype(::GetComputerNameExW)> domain(
      "KERNEL32.dll", "GetComputerNameExW", &CorpExample, ::GetModuleHandleW(L"vtcluster.dll"));
  const auto cluster = Opened();
  const struct {
    std::wstring name;
    std::wstring node;
  } rows[] = {{L"VTBACKUP", L"NODEB"},
              {L"clu1", L"NODEA"},
              {L"sqlv", std::wstring(2000, L'n')},
              {L"vtbackup.CORP.example", L"NODEB"},
              {L"VTBACKUP.elsewhere.example", L""},
              {L"VTBACKUP.corp.example.", L""},
              {L"VTBACKUP.", L""},
              {L"exchange-of-THE", L"NODEB"},
              {L"Exchange-of-the-House", L"NODEB"},
              {L"exchange-of-the-hous", L""},
              {L"NODEA", L""},
              {L"Address1", L""},
              {L"", L""}};
  for (const auto& row : rows) EXPECT_EQ(NodeOf(*cluster, row.name), row.node) << row.name;
  std::wstring inPlace = L"VTBACKUP";
  EXPECT_TRUE(cluster->NetworkNameToNodeName(inPlace, inPlace));
  EXPECT_EQ(inPlace, L"NODEB");
}

TEST(WindowsCluster, GetVirtualNameFromIp_ByNameAndByAnySpellingOfAnAddress) {
  FakeClusterTable table = TwoNodes();
  // A second client access point in the group of the first.
  auto& other = table.resources.emplace_back(table.Resource(L"VTBACKUP"));
  other.name = other.properties[L"DnsName"] = other.readOnlyProperties[L"Name"] = L"FILES";
  other.dependsOn = {L"Address4"};
  auto& address = table.resources.emplace_back(table.Resource(L"Address2"));
  address.name = L"Address4";
  address.properties[L"Address"] = L"10.1.1.40";
  const FakeCluster fake(table);
  const auto cluster = Opened();
  const struct {
    const char* text;
    std::wstring name;
  } rows[] = {{"10.1.1.20", L"VTBACKUP"},
              {"10.1.1.40", L"FILES"},
              {"FD00:0:0::0020%3", L"VTBACKUP"},
              {"\\\\sqlv", L"SQLV"},
              {"10.1.1.2", L""},
              {"NODEB", L""},
              {"", L""},
              {nullptr, L""}};
  for (const auto& row : rows) {
    EXPECT_EQ(VirtualNameOf(*cluster, row.text), row.name) << (row.text ? row.text : "null");
  }
}

TEST(WindowsCluster, Product_ActiveNodeAndVirtualServer) {
  FakeClusterTable table = TwoNodes();
  {
    const FakeCluster fake(table);
    EXPECT_TRUE(Cluster::IsVtClustered());
    EXPECT_EQ(Cluster::GetVtVirtualServerName(), L"VTBACKUP");
    EXPECT_EQ(ActiveNode(), L"NODEB");
  }
  // A second group with the product: the name decides, a node's or a virtual server's.
  table.resources.push_back(
      {L"E2", L"Generic Service", L"SQL", {{L"ServiceName", L"VANTOREL2"}}, {}, {}});
  {
    const FakeCluster fake(table);
    const struct {
      const wchar_t* server;
      const wchar_t* node;
      const wchar_t* name;
    } rows[] = {{L"SQLV", L"NODEA", L"SQLV"},
                {L"nodea", L"NODEA", L"SQLV"},
                {L"VTBACKUP", L"NODEB", L"VTBACKUP"},
                {L"EXCHV", L"NODEB", L"VTBACKUP"}};
    for (const auto& row : rows) {
      std::wstring name;
      EXPECT_EQ(ActiveNode(row.server), row.node) << row.server;
      EXPECT_TRUE(Opened()->GetVtVirtualServerName(row.server, name));
      EXPECT_EQ(name, row.name) << row.server;
    }
  }
  for (const wchar_t* service : {L"Engine", L"E2"}) {
    table.Resource(service).properties[L"ServiceName"] = L"Vantore";
  }
  const FakeCluster fake(table);
  EXPECT_FALSE(Cluster::IsVtClustered());
  EXPECT_EQ(Cluster::GetVtVirtualServerName(), L"");
  EXPECT_EQ(ActiveNode(), L"");
}

TEST(WindowsCluster, Applications_VirtualServersAndNodes) {
  FakeClusterTable table = TwoNodes();
  const struct {
    const wchar_t* server;
    CLUSTER_RESOURCE_STATE state; /* of all applications */
    int sql;
    bool sqlOwn;
    int exchange;
    bool exchangeOwn;
  } rows[] = {{L"SQLV", ClusterResourceOnline, 0, false, 2, false},
              {L"10.1.1.30", ClusterResourceFailed, 2, false, 2, false},
              {L"SQLTWO", ClusterResourceOnlinePending, 1, false, 2, false},
              {L"LISTEN", ClusterResourceOnline, 0, false, 2, false},
              {L"\\\\EXCHV", ClusterResourceOnline, 2, false, 0, false},
              {L"NODEA", ClusterResourceOnline, 3, false, 3, true},
              {L"nodeb.example.test", ClusterResourceOnline, 3, true, 3, false},
              {L"", ClusterResourceOnline, 4, false, 4, false}};
  for (const auto& row : rows) {
    for (const wchar_t* name : {L"SQL1", L"SQL2", L"Group1", L"Store"}) {
      table.Resource(name).state = row.state;
    }
    const FakeCluster fake(table);
    bool sqlOwn = !row.sqlOwn;
    bool exchangeOwn = !row.exchangeOwn;
    EXPECT_EQ(Opened()->IsServerRunningSQL(row.server, &sqlOwn), row.sql) << row.server;
    EXPECT_EQ(Opened()->IsServerRunningExchange(row.server, &exchangeOwn), row.exchange);
    EXPECT_EQ(sqlOwn, row.sqlOwn) << row.server;
    EXPECT_EQ(exchangeOwn, row.exchangeOwn) << row.server;
  }
}

TEST(XCSCluster, Instances) {
  FakeClusterTable table = TwoNodes();
  table.Resource(L"SQL2").state = ClusterResourceOffline;
  const FakeCluster fake(table);
  const struct {
    const wchar_t* server;
    const wchar_t* instance;
    int state;
  } rows[] = {{L"SQLV", nullptr, 0},  {L"SQLV", L"mssqlserver", 0}, {L"SQLV", L"INST2", 4},
              {L"SQLTWO", L"", 4},    {L"sqltwo", L"inst2", 2},     {L"NODEA", L"", 0},
              {L"NODEB", L"", 2},     {L"NODEB", L"INST3", 4},      {nullptr, L"", 4},
              {L"EXCHV", L"INST2", 4}};
  for (const auto& row : rows) {
    bool own = true;
    EXPECT_EQ(
        XCSCluster::GetInstance()->IsServerRunningSQL2KInstance(row.server, row.instance, &own),
        row.state)
        << row.server;
    EXPECT_FALSE(own);
  }
  EXPECT_EQ(XCSCluster::GetInstance(L"STRANGER"), nullptr);
}

// Half of a cluster would turn a virtual server into a physical one: an answer is right or "no".
TEST(WindowsCluster, EachCallFailing_NoWrongAnswerAndNoLeak) {
  for (long n = 1;; ++n) {
    FakeCluster fake(TwoNodes());
    fake.FailAt(n);
    const auto cluster = Cluster::GetInstance();
    cluster->Open();
    const std::wstring node = NodeOf(*cluster, L"EXCHV");
    EXPECT_TRUE(node == L"NODEB" || node.empty()) << "call " << n;
    const std::wstring name = VirtualNameOf(*cluster, "fd00::20");
    EXPECT_TRUE(name == L"VTBACKUP" || name.empty()) << "call " << n;
    bool own = false;
    const auto state = cluster->IsServerRunningSQL(L"SQLV", &own);
    EXPECT_TRUE(state == Cluster::running || state == Cluster::noAnswer) << "call " << n;
    if (fake.Failed()) continue;
    EXPECT_GT(n, 200);
    break;
  }
}

TEST(WindowsCluster, BuffersThatNeverSuffice_AreGivenUp) {
  FakeCluster fake(TwoNodes());
  const auto cluster = Opened();
  fake.table.neverFits = true;
  EXPECT_EQ(cluster->GetClusterName(), L"");
  EXPECT_EQ(NodeOf(*cluster, L"SQLV"), L"");
}

TEST(ResourceGlue, PathsOnSharedVolumes) {
  ResourceGlue& glue = *ResourceGlue::GetInstance();
  const wchar_t* const path = L"C:\\ClusterStorage\\Volume1\\a\\b";
  wchar_t volume[64] = L"as before";
  EXPECT_FALSE(glue.ClusterIsPathOnSharedVolume(path));
  EXPECT_FALSE(glue.ClusterGetVolumePathName(path, volume, _countof(volume)));
  EXPECT_STREQ(volume, L"");
  const FakeCluster fake(TwoNodes());
  EXPECT_TRUE(glue.ClusterIsPathOnSharedVolume(path));
  EXPECT_TRUE(glue.ClusterGetVolumePathName(path, volume, _countof(volume)));
  EXPECT_STREQ(volume, L"C:\\ClusterStorage\\Volume1");
  EXPECT_FALSE(glue.ClusterGetVolumePathName(path, volume, 4));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MORE_DATA));
  EXPECT_FALSE(glue.ClusterGetVolumePathName(path, nullptr, 4));
  EXPECT_FALSE(glue.ClusterIsPathOnSharedVolume(L"D:\\a"));
  EXPECT_FALSE(glue.ClusterIsPathOnSharedVolume(L""));
  EXPECT_FALSE(glue.ClusterIsPathOnSharedVolume(nullptr));
}

TEST(VTGetComputerName, IsTheSystemsName) {
  wchar_t expected[64];
  DWORD length = _countof(expected);
  ASSERT_TRUE(::GetComputerNameW(expected, &length)) << ::GetLastError();
  for (const auto call : {&VTGetComputerName, &VTGetComputerNameW}) {
    wchar_t name[16];
    DWORD size = _countof(name);
    EXPECT_NE(call(name, &size), 0);
    EXPECT_STREQ(name, expected);
    EXPECT_EQ(size, length);
    size = length;
    EXPECT_EQ(call(name, &size), 0);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_BUFFER_OVERFLOW));
    EXPECT_EQ(size, length + 1);
  }
}

}  // namespace
