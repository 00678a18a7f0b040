#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "tests/support/mute_cluster.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;
using test::FakeCluster;

bool Node(const wchar_t* name, wcstring& out) {
  out = name;
  return ClusterVirtualNameToNodeName(out, out);
}

struct Question {
  bool (*ask)(const wchar_t*, wcstring&);
  const wchar_t* name;
  std::wstring answer;  // "yes" or "no", and the text
};

constexpr DWORD kStale = 0xABCD;

// `error` is what the thread's last error says of each answer.
void ExpectAnswers(const std::vector<Question>& questions, DWORD error = ERROR_SUCCESS) {
  for (const Question& question : questions) {
    wcstring out = L"as before";
    ::SetLastError(kStale);
    const bool answer = question.ask(question.name, out);
    EXPECT_EQ(::GetLastError(), error);
    EXPECT_EQ((answer ? L"yes " : L"no ") + out, question.answer);
  }
}

TEST(ClusterNames, WithoutACluster_FallBack) {
  wchar_t computer[16];
  DWORD size = _countof(computer);
  ASSERT_TRUE(::GetComputerNameW(computer, &size));
  ::SetLastError(kStale);
  EXPECT_FALSE(IsVtClustered());
  EXPECT_FALSE(ServerIsRunningXCSCluster());
  EXPECT_EQ(::GetLastError(), 0u);
  ExpectAnswers({{&GetVtActiveNodeName, nullptr, std::wstring(L"no ") + computer},
                 {&GetVtActiveNodeName, L"SRV", L"no SRV"},
                 {&GetVtVirtualServerName, nullptr, L"yes "},
                 {&GetVtVirtualServerName, L"SRV", L"no "},
                 {&Node, L"\\\\SRV", L"no SRV"},
                 {&Node, L"\\\\", L"no "}});
}

TEST(ClusterNames, InACluster) {
  const FakeCluster fake(test::TwoNodes());
  EXPECT_TRUE(IsVtClustered());
  EXPECT_FALSE(ServerIsRunningXCSCluster());
  ExpectAnswers({{&GetVtActiveNodeName, nullptr, L"yes NODEB"},
                 {&GetVtActiveNodeName, L"STRANGER", L"no STRANGER"},
                 {&GetVtVirtualServerName, nullptr, L"yes VTBACKUP"},
                 {&GetVtVirtualServerName, L"NODEA", L"yes VTBACKUP"},
                 {&Node, L"\\\\sqlv", L"yes NODEA"},
                 {&Node, L"\\\\nodea", L"no nodea"}});
  wchar_t buffer[] = L"as before";
  EXPECT_FALSE(GetXCSClusterName(L"CLU1", buffer, _countof(buffer)));
  EXPECT_STREQ(buffer, L"as before");
}

// A cluster of the kind that the cluster library does not meet; its node query runs out of memory.
class XcsDouble : public test::MuteCluster {
 public:
  int GetClusterType() override { return xcsCluster; }
  bool NetworkNameToNodeName(const std::wstring&, std::wstring& node) override {
    node = L"half";
    throw std::bad_alloc();
  }
};

TEST(ClusterNames, XcsCluster_NameIsCutToTheBuffer) {
  const auto instance = test::Replace<std::shared_ptr<Cluster>(const wchar_t*)>(
      "Cluster::GetInstance", [](auto) { return std::make_shared<XcsDouble>(); });
  EXPECT_TRUE(ServerIsRunningXCSCluster());
  const std::pair<size_t, const wchar_t*> rows[] = {
      {9, L"CLUSTER7"}, {8, L"CLUSTER"}, {1, L""}, {0, L"as before"}};
  for (const auto& [size, text] : rows) {
    wchar_t buffer[20] = L"as before";
    EXPECT_TRUE(GetXCSClusterName(L"any", buffer, size));
    EXPECT_STREQ(buffer, text) << size;
  }
  EXPECT_FALSE(GetXCSClusterName(L"any", nullptr, 0));
  ExpectAnswers({{&Node, L"any", L"no "}}, ERROR_NOT_ENOUGH_MEMORY);
}

TEST(ClusterNames, UnreadableCluster_IsNoPlainNo) {
  FakeCluster fake(test::TwoNodes());
  fake.table.Resource(L"Engine").factsError = RPC_S_CALL_FAILED;
  fake.table.Resource(L"SQLV").factsError = RPC_S_CALL_FAILED;
  fake.table.reachedBy.emplace_back(L"STRANGER");
  ExpectAnswers({{&GetVtActiveNodeName, L"SQLV", L"no SQLV"},
                 {&GetVtVirtualServerName, nullptr, L"yes "},
                 {&GetVtVirtualServerName, L"SQLV", L"no "},
                 {&Node, L"\\\\STRANGER", L"no STRANGER"}},
                RPC_S_CALL_FAILED);
  EXPECT_FALSE(IsVtClustered());
  EXPECT_EQ(::GetLastError(), DWORD{RPC_S_CALL_FAILED});
  ExpectAnswers({{&Node, L"\\\\EXCHV", L"yes NODEB"}});
  fake.table.isOld = fake.table.isReadOnly = true;
  ExpectAnswers({{&Node, L"EXCHV", L"no EXCHV"}}, ERROR_ACCESS_DENIED);
}

// Which questions of a cluster-aware caller read the cluster, and how often: "read" once, "-"
// never. The address is this machine's own.
TEST(ClusterAware, ReadsOnceAtMostAndOnlyWhatCouldChangeTheAnswer) {
  wcstring own;
  ASSERT_NE(GetComputerNameInString(own), 0);
  FakeCluster fake(test::TwoNodes());
  for (int i = 0; i < 200; ++i) {
    fake.table.resources.push_back(
        {L"Disk" + std::to_wstring(i), L"Physical Disk", L"SQL", {}, {}, {}});
    fake.table.resources.back().factsError = ERROR_ACCESS_DENIED;
  }
  struct Row {
    std::wstring name;
    vtclass::_COMPUTER_NAME_FORMAT format;
    long readings;
    bool isLocal;
    std::wstring out;
  };
  fake.table.Resource(L"Address3").properties[L"Address"] = L"127.0.0.1";
  const Row rows[] = {{own, computerNameNoConversion, 0, true, L""},
                      {own, computerNameNetBIOS, 0, true, own},
                      {L"SQLV", computerNameNoConversion, 0, false, L""},
                      {L"sqlv.far.invalid", computerNameNetBIOS, 1, false, L"SQLV"},
                      {L"SQLV", computerNameDnsHostname, 1, false, L"SQLV"},
                      {L"127.0.0.1", computerNameNoConversion, 1, false, L""},
                      {L"::1", computerNameNoConversion, 1, true, L""}};
  for (const Row& row : rows) {
    const long readings = fake.Readings();
    const long calls = fake.Calls();
    wcstring out;
    bool isLocal = !row.isLocal;
    unsigned long status = 0;
    EXPECT_EQ(VTConvertServerNamePlus(row.name, out, row.format, true, &isLocal, &status), 0u);
    EXPECT_EQ(isLocal, row.isLocal) << row.name;
    EXPECT_EQ(_wcsicmp(out.c_str(), row.out.c_str()), 0) << row.name;
    EXPECT_EQ(fake.Readings() - readings, row.readings) << row.name;
    EXPECT_LE(fake.Calls() - calls, 4 + row.readings * 900) << row.name;
  }
}

TEST(ClusterAware, UnreadableCluster_NoAddressIsThisMachine) {
  FakeCluster fake(test::TwoNodes());
  fake.table.Resource(L"Address3").factsError = RPC_S_CALL_FAILED;
  for (const auto ask : {+[](bool* isMe) { return IsThisMe(L"127.0.0.1", isMe, true); },
                         +[](bool* isMe) { return IsThisMeEx(L"127.0.0.1", isMe, true, 1000); }}) {
    bool isMe = true;
    EXPECT_EQ(ask(&isMe), DWORD{RPC_S_CALL_FAILED});
    EXPECT_FALSE(isMe);
  }
  wcstring out = L"as before";
  bool isMe = true;
  unsigned long status = 0;
  EXPECT_EQ(VTConvertServerNamePlus(L"127.0.0.1", out, computerNameNetBIOS, true, &isMe, &status),
            DWORD{RPC_S_CALL_FAILED});
  EXPECT_EQ(out, L"");
  EXPECT_EQ(status, 4u);
  EXPECT_FALSE(isMe);
  // Neither one who does not ask about clusters nor the machine's own name is concerned.
  EXPECT_EQ(IsThisMe(L"127.0.0.1", &isMe, false), 0u);
  EXPECT_TRUE(isMe);
  wcstring own;
  ASSERT_NE(GetComputerNameInString(own), 0);
  EXPECT_EQ(IsThisMe(own, &isMe, true), 0u);
  EXPECT_TRUE(isMe);
  EXPECT_EQ(IsThisMe(L"RAC-ORCL-12", &isMe, true), 0u);
  EXPECT_FALSE(isMe);
}

}  // namespace
