#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "vtcluster/vtcluster.h"

namespace {

using vtclass::test::FakeCluster;
using vtclass::test::FakeResource;
using vtclass::test::ImportHook;
using vtclass::test::TwoNodes;

// NOLINTNEXTLINE(cert-err58-cpp): what throws here ends the test program, as it should
[[maybe_unused]] auto* const clusters = FakeCluster::AnswerLookUps();

// What the cluster of a server answers about it: its node and its virtual name, the active node and
// the virtual name of the product, the states of SQL Server and Exchange. "-" is no, "own" stands
// behind a state where the flag says so, and "?" behind what is not to be told.
std::wstring Answers(const std::wstring& server) {
  const auto cluster = Cluster::GetInstance(server.c_str());
  if (!cluster->Open()) return L"closed";
  std::wstring all;
  const auto certainty = [&] { return cluster->GetErrorCode() == 0 ? L"" : L"?"; };
  const auto add = [&](auto ask) {
    std::wstring text = L"as before";
    const bool answer = ask(text);
    if (!answer) EXPECT_EQ(text, L"as before");
    if (answer) EXPECT_EQ(cluster->GetErrorCode(), 0u);
    all += (answer ? text : L"-") + certainty() + L" ";
  };
  const std::string narrow(server.begin(), server.end());
  add([&](std::wstring& text) { return cluster->NetworkNameToNodeName(server, text); });
  add([&](std::wstring& text) { return cluster->GetVirtualNameFromIp(text, narrow.c_str()); });
  add([&](std::wstring& text) { return cluster->GetBeActiveNodeName(text); });
  add([&](std::wstring& text) { return cluster->GetVtVirtualServerName(server, text); });
  bool own = true;
  all += std::to_wstring(cluster->IsServerRunningSQL(server.c_str(), &own)) + certainty();
  all += std::exchange(own, true) ? L"own " : L" ";
  all += std::to_wstring(cluster->IsServerRunningExchange(server.c_str(), &own)) + certainty();
  return own ? all + L"own" : all;
}

BOOL WINAPI CorpExample(COMPUTER_NAME_FORMAT format, LPWSTR text, DWORD* size) {
  const bool isDomain = format == ComputerNameDnsDomain;
  EXPECT_TRUE(isDomain || format >= ComputerNamePhysicalNetBIOS);
  const std::wstring name = isDomain ? L"corp.example" : L"NODEA";
  *size = static_cast<DWORD>(name.copy(text, *size));
  return TRUE;
}

// Answers() of a node that knows itself and its domain.
std::wstring AnswersInCorp(const std::wstring& server) {
  const ImportHook<decltype(::GetComputerNameExW)> names(
      "KERNEL32.dll", "GetComputerNameExW", &CorpExample, ::GetModuleHandleW(L"vtcluster.dll"));
  return Answers(server);
}

TEST(WindowsCluster, NoCluster_EveryAnswerIsNo) {
  EXPECT_FALSE(Cluster::IsCluster());
  EXPECT_FALSE(Cluster::IsVtClustered());
  EXPECT_FALSE(XCSCluster::GetInstance());
  EXPECT_EQ(Cluster::GetVtVirtualServerName(), L"");
  EXPECT_FALSE(Cluster::GetInstance(L"SQLV")->Open());
  EXPECT_EQ(Cluster::GetInstance()->GetClusterType(), 0);
  EXPECT_EQ(Cluster::GetInstance()->GetClusterName(), L"");
  const auto cluster = Cluster::GetInstance(L"SQLV");
  std::wstring text = L"as before";
  EXPECT_FALSE(cluster->GetBeActiveNodeName(text));
  EXPECT_FALSE(cluster->NetworkNameToNodeName(text, text));
  EXPECT_FALSE(cluster->GetVirtualNameFromIp(text, "SQLV"));
  EXPECT_FALSE(cluster->GetVtVirtualServerName(L"SQLV", text));
  bool own = true;
  EXPECT_EQ(cluster->IsServerRunningSQL(L"SQLV", &own), Cluster::noAnswer);
  EXPECT_EQ(cluster->IsServerRunningExchange(L"SQLV", nullptr), Cluster::noAnswer);
  EXPECT_FALSE(own);
  EXPECT_EQ(text, L"as before");
  EXPECT_EQ(cluster->GetErrorCode(), 0u) << "no cluster is an answer";
}

TEST(WindowsCluster, Open_FindsTheClusterByItsMembers) {
  FakeCluster fake(TwoNodes());
  fake.table.groups[L"SQL"] = std::wstring(2000, L'n');  // outgrows the first buffers
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L"nodeb", L"\\\\SQLV"}) {
    const auto cluster = Cluster::GetInstance(name);
    EXPECT_TRUE(cluster->Open());
    EXPECT_TRUE(cluster->Open());
    EXPECT_EQ(cluster->GetClusterType(), 1);
    EXPECT_EQ(cluster->GetClusterName(), L"CLU1");
    std::wstring text = L"SQLV";
    EXPECT_TRUE(cluster->NetworkNameToNodeName(text, text));
    EXPECT_EQ(text, fake.table.groups[L"SQL"]);
    EXPECT_FALSE(cluster->GetVirtualNameFromIp(text, nullptr));
  }
  EXPECT_FALSE(Cluster::GetInstance(L"STRANGER")->Open());
  EXPECT_EQ(XCSCluster::GetInstance(L"STRANGER"), nullptr);
  fake.table.neverFits = true;
  EXPECT_EQ(Answers(L"SQLV"), L"-? -? -? -? 4? 4?") << "an end to buffers that never suffice";
}

TEST(WindowsCluster, AnswersAboutServers) {
  FakeCluster fake(TwoNodes());
  fake.table.Resource(L"EXCHV").properties[L"DnsName"] = L"exchange-of-the-house";
  fake.table.Resource(L"FILES").properties.clear();
  fake.table.Resource(L"FILES").state = ClusterResourceOffline;
  // A second group with the product: the name decides, a node's or a virtual server's.
  fake.table.resources.push_back(
      {L"E2", L"Generic Service", L"SQL", {{L"ServiceName", L"VANTOREL2"}}, {}, {L"SQLV"}});
  const wchar_t* const rows[][2] = {
      {L"SQLV", L"NODEA SQLV NODEA SQLV 0 2"},
      {L"10.1.1.30", L"- SQLV NODEA SQLV 0 2"},
      {L"10.1.1.3", L"- - NODEB VTBACKUP 3own 3own"},
      {L"files", L"NODEA FILES NODEA SQLV 2 2"},
      {L"nodea", L"- - NODEA SQLV 3 3own"},
      {L"nodeb.elsewhere.example", L"- - NODEB VTBACKUP 3own 3"},
      {L"vtbackup.CORP.example", L"NODEB VTBACKUP NODEB VTBACKUP 2 2"},
      {L"VTBACKUP.elsewhere.example", L"- - NODEB VTBACKUP 3own 3own"},
      {L"SQLV.", L"- - NODEB VTBACKUP 3own 3own"},
      {L"FD00:0:0::0020%3", L"- VTBACKUP NODEB VTBACKUP 2 2"},
      {L"fd00::21", L"- - NODEB VTBACKUP 3own 3own"},
      {L"LISTEN", L"NODEB LISTEN NODEB VTBACKUP 0 2"},
      {L"Address1", L"- - NODEB VTBACKUP 3own 3own"},
      {L"exchV", L"NODEB exchange-of-the-house NODEB VTBACKUP 2 0"},
      {L"Exchange-of-the-House", L"NODEB exchange-of-the-house NODEB VTBACKUP 2 0"},
      {L"\\\\EXCHV", L"- exchange-of-the-house NODEB VTBACKUP 2 0"},
      {L"", L"- - NODEB VTBACKUP 4 4"}};
  for (const auto& [server, answers] : rows) {
    fake.table.reachedBy.emplace_back(server);
    EXPECT_EQ(AnswersInCorp(server), answers) << server;
  }
  EXPECT_TRUE(Cluster::IsCluster());
  EXPECT_TRUE(Cluster::IsVtClustered());
  EXPECT_EQ(Cluster::GetVtVirtualServerName(), L"VTBACKUP");
  for (const wchar_t* service : {L"Engine", L"E2"}) {
    fake.table.Resource(service).properties[L"ServiceName"] = L"Vantore";
  }
  EXPECT_EQ(Answers(L"SQLV"), L"NODEA SQLV - - 0 2");
  EXPECT_FALSE(Cluster::IsVtClustered());
}

TEST(XCSCluster, StatesOfInstances) {
  FakeCluster fake(TwoNodes());
  fake.table.Resource(L"SQL1").state = ClusterResourceOnlinePending;
  fake.table.Resource(L"SQL2").state = ClusterResourceFailed;
  const std::tuple<const wchar_t*, const wchar_t*, int> instances[] = {
      {L"SQLV", nullptr, 1},   {L"SQLV", L"mssqlserver", 1},
      {L"SQLV", L"INST2", 4},  {L"sqltwo", L"inst2", 2},
      {L"NODEA", L"", 1},      {L"NODEB", L"", 2},
      {L"NODEB", L"INST3", 4}, {nullptr, L"", 4}};
  for (const auto& [server, instance, state] : instances) {
    bool own = true;
    const auto cluster = XCSCluster::GetInstance();
    EXPECT_EQ(cluster->IsServerRunningSQL2KInstance(server, instance, &own), state) << instance;
    EXPECT_FALSE(own);
    EXPECT_EQ(cluster->GetErrorCode(), 0u);
  }
  fake.table.Resource(L"SQL2").factsError = RPC_S_CALL_FAILED;
  const auto cluster = XCSCluster::GetInstance();
  EXPECT_EQ(cluster->IsServerRunningSQL2KInstance(L"NODEA", L"INST2", nullptr), Cluster::noAnswer);
  EXPECT_EQ(cluster->GetErrorCode(), DWORD{RPC_S_CALL_FAILED});
}

TEST(WindowsCluster, SeveralApplications_TheBestStateCounts) {
  FakeCluster fake(TwoNodes());
  fake.table.Resource(L"SQL1").state = ClusterResourceFailed;
  for (const auto& [name, state] :
       {std::pair{L"SQL3", ClusterResourceOffline}, std::pair{L"SQL4", ClusterResourcePending}}) {
    fake.table.resources.push_back({name, L"SQL Server", L"SQL", {}, {}, {L"SQLV"}, state});
  }
  const auto sql = [] {
    const auto cluster = Cluster::GetInstance();
    return cluster->Open() ? cluster->IsServerRunningSQL(L"SQLV", nullptr) : Cluster::noAnswer;
  };
  EXPECT_EQ(sql(), Cluster::unknown);
  fake.table.Resource(L"SQL3").state = ClusterResourceOnline;
  EXPECT_EQ(sql(), Cluster::running);
}

// A resource that cannot be read, by what fails of it, and the answers about servers then.
struct UnreadableRow {
  const wchar_t* resource;
  DWORD FakeResource::* error;
  DWORD code;
  const wchar_t* server;
  const wchar_t* answers;
};

TEST(WindowsCluster, UnreadableResources_SpoilWhatTheyMatterTo) {
  constexpr auto kOpen = &FakeResource::openError;
  constexpr auto kType = &FakeResource::typeError;
  constexpr auto kFacts = &FakeResource::factsError;
  constexpr DWORD kFailed = RPC_S_CALL_FAILED;
  const UnreadableRow rows[] = {
      // Another kind's facts are nobody's business; what is found is so.
      {L"Disk", kFacts, kFailed, L"SQLV", L"NODEA SQLV NODEB VTBACKUP 0 2"},
      {L"Disk", kFacts, kFailed, L"STRANGER", L"- - NODEB VTBACKUP 3own 3own"},
      {L"FILES", kFacts, kFailed, L"SQLV", L"NODEA SQLV NODEB -? 0 2"},
      {L"Disk", kOpen, kFailed, L"SQLV", L"NODEA SQLV -? -? 0 4?"},
      {L"Disk", kType, kFailed, L"VTBACKUP", L"NODEB VTBACKUP NODEB -? 4? 4?"},
      // What may be anything may be the name that is asked for.
      {L"Disk", kType, kFailed, L"STRANGER", L"-? -? -? -? 4? 4?"},
      {L"SQLV", kFacts, kFailed, L"SQLV", L"-? -? -? -? 4? 4?"},
      {L"SQLV", kFacts, kFailed, L"10.1.1.30", L"-? -? -? -? 4? 4?"},
      {L"Address3", kFacts, kFailed, L"10.1.1.30", L"- -? -? -? 4? 4?"},
      {L"Address3", kFacts, kFailed, L"SQLV", L"NODEA SQLV NODEB VTBACKUP 0 2"},
      {L"Engine", kFacts, kFailed, L"VTBACKUP", L"NODEB VTBACKUP -? -? 2 2"},
      {L"SQL1", kFacts, kFailed, L"SQLV", L"NODEA SQLV NODEB VTBACKUP 4? 2"},
      {L"SQL1", kFacts, kFailed, L"nodea", L"- - NODEB VTBACKUP 4? 3own"},
      {L"SQL2", kFacts, kFailed, L"nodea", L"- - NODEB VTBACKUP 3 3own"},
      {L"Store", kFacts, kFailed, L"EXCHV", L"NODEB EXCHV NODEB VTBACKUP 2 4?"},
      // Deleted since it was listed; or only out of sight.
      {L"SQLV", kOpen, ERROR_RESOURCE_NOT_FOUND, L"SQLV", L"- - NODEB VTBACKUP 3own 3own"},
      {L"SQLV", kFacts, ERROR_RESOURCE_NOT_AVAILABLE, L"SQLV", L"-? -? -? -? 4? 4?"}};
  for (const UnreadableRow& row : rows) {
    FakeCluster fake(TwoNodes());
    fake.table.resources.insert(fake.table.resources.begin(),
                                {L"Disk", L"Physical Disk", L"SQL", {}, {}, {}});
    fake.table.reachedBy.emplace_back(row.server);
    fake.table.Resource(row.resource).*row.error = row.code;
    EXPECT_EQ(AnswersInCorp(row.server), row.answers) << row.resource << " for " << row.server;
  }
}

TEST(WindowsCluster, Open_AsksForNoMoreThanReading) {
  FakeCluster fake(TwoNodes());
  fake.table.isReadOnly = true;
  EXPECT_EQ(Answers(L"SQLV"), L"NODEA SQLV NODEB VTBACKUP 0 2");
  fake.table.isOld = true;
  EXPECT_EQ(Answers(L"SQLV"), L"closed");
  const auto refused = Cluster::GetInstance();
  EXPECT_FALSE(refused->Open());
  EXPECT_EQ(refused->GetErrorCode(), DWORD{ERROR_ACCESS_DENIED});
  std::wstring text;
  EXPECT_FALSE(refused->GetVirtualNameFromIp(text, "\\\\"));
  EXPECT_EQ(refused->GetErrorCode(), 0u) << "no name is an answer";
  fake.table.isReadOnly = false;
  EXPECT_EQ(Answers(L"SQLV"), L"NODEA SQLV NODEB VTBACKUP 0 2");
}

// A large cluster is listed once a question, with three calls at most for what does not matter.
TEST(WindowsCluster, ManyResources_AreReadOnce) {
  FakeCluster fake(TwoNodes());
  const long disks = 200;
  for (long i = 0; i < disks; ++i) {
    fake.table.resources.push_back(
        {L"Disk" + std::to_wstring(i), L"Physical Disk", L"SQL", {}, {}, {}});
  }
  const auto cluster = Cluster::GetInstance();
  ASSERT_TRUE(cluster->Open());
  std::wstring text;
  const std::pair<const char*, long> rows[] = {{"SQLV", 1}, {"10.1.1.30", 1}, {"STRANGER", 1}};
  for (const auto& [name, readings] : rows) {
    const long before = fake.Calls();
    const long lists = fake.Readings();
    cluster->GetVirtualNameFromIp(text, name);
    EXPECT_EQ(fake.Readings() - lists, readings) << name;
    EXPECT_LE(fake.Calls() - before, 3 * disks + 16 * 12) << name;
  }
  wchar_t own[256];
  for (const auto format : {ComputerNamePhysicalNetBIOS, ComputerNamePhysicalDnsHostname,
                            ComputerNamePhysicalDnsFullyQualified}) {
    DWORD size = _countof(own);
    ASSERT_TRUE(::GetComputerNameExW(format, own, &size)) << ::GetLastError();
    const std::wstring name(own, size);
    const long before = fake.Calls();
    EXPECT_FALSE(
        cluster->GetVirtualNameFromIp(text, std::string(name.begin(), name.end()).c_str()));
    EXPECT_FALSE(cluster->NetworkNameToNodeName(name, text));
    EXPECT_EQ(fake.Calls(), before) << "no network name is the machine's own";
  }
}

// Half of a cluster would turn a virtual server into a physical one: an answer is right or none.
TEST(WindowsCluster, EachCallFailing_NoWrongAnswerAndNoLeak) {
  FakeCluster fake(TwoNodes());
  long n = 0;
  do {
    fake.FailAt(++n);
    const std::wstring all = AnswersInCorp(L"SQLV");
    if (all == L"closed") continue;
    std::wistringstream answers(all);
    std::wistringstream right(L"NODEA SQLV NODEB VTBACKUP 0 2");
    std::wistringstream untold(L"-? -? -? -? 4? 4?");
    for (std::wstring answer, yes, none; answers >> answer && right >> yes && untold >> none;) {
      EXPECT_TRUE(answer == yes || answer == none) << answer << " at call " << n;
    }
  } while (fake.Failed());
  EXPECT_GT(n, 300);
}

TEST(ResourceGlue, PathsOnSharedVolumes) {
  ResourceGlue& glue = *ResourceGlue::GetInstance();
  const wchar_t* const path = L"C:\\ClusterStorage\\Volume1\\a\\b";
  wchar_t volume[64] = L"as before";
  EXPECT_FALSE(glue.ClusterIsPathOnSharedVolume(path));
  EXPECT_FALSE(glue.ClusterGetVolumePathName(path, volume, _countof(volume)));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_SERVICE_NOT_ACTIVE});
  EXPECT_STREQ(volume, L"");
  const FakeCluster fake(TwoNodes());
  EXPECT_TRUE(glue.ClusterIsPathOnSharedVolume(path));
  EXPECT_TRUE(glue.ClusterGetVolumePathName(path, volume, _countof(volume)));
  EXPECT_STREQ(volume, L"C:\\ClusterStorage\\Volume1");
  EXPECT_FALSE(glue.ClusterGetVolumePathName(path, volume, 4));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_MORE_DATA});
  EXPECT_FALSE(glue.ClusterGetVolumePathName(path, nullptr, 4));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  for (const wchar_t* none : {static_cast<const wchar_t*>(nullptr), L"", L"D:\\a"}) {
    EXPECT_FALSE(glue.ClusterIsPathOnSharedVolume(none));
    EXPECT_FALSE(glue.ClusterGetVolumePathName(none, volume, 64));
  }
}

TEST(VTGetComputerName, IsTheSystemsName) {
  wchar_t names[3][16];
  DWORD sizes[] = {16, 16, 1};
  ASSERT_TRUE(::GetComputerNameW(names[0], &sizes[0])) << ::GetLastError();
  EXPECT_NE(VTGetComputerName(names[1], &sizes[1]), 0);
  EXPECT_STREQ(names[1], names[0]);
  EXPECT_EQ(sizes[1], sizes[0]);
  EXPECT_EQ(VTGetComputerNameW(names[2], &sizes[2]), 0);
  EXPECT_EQ(sizes[2], sizes[0] + 1);
}

}  // namespace
