#include <gtest/gtest.h>

#include <new>

#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "vtclass/cluster.h"
#include "vtcluster/vtcluster.h"

namespace {

using namespace vtclass;
using test::FakeCluster;
using test::ImportHook;

/* The answer of a question that gives a text, and the text: "yes name". */
template <typename Ask>
std::wstring Answer(Ask ask) {
  wcstring out = L"as before";
  const bool answer = ask(out);
  return (answer ? L"yes " : L"no ") + out;
}

std::wstring ActiveNode(const wchar_t* name) {
  return Answer([name](wcstring& out) { return GetVtActiveNodeName(name, out); });
}
std::wstring VirtualServer(const wchar_t* name) {
  return Answer([name](wcstring& out) { return GetVtVirtualServerName(name, out); });
}
std::wstring Node(const wchar_t* name) {
  return Answer([name](wcstring& out) {
    out = name;
    return ClusterVirtualNameToNodeName(out, out);
  });
}

TEST(ClusterNames, WithoutACluster_FallBack) {
  wchar_t computer[16];
  DWORD size = _countof(computer);
  ASSERT_TRUE(::GetComputerNameW(computer, &size));
  EXPECT_FALSE(IsVtClustered());
  EXPECT_EQ(ActiveNode(nullptr), std::wstring(L"no ") + computer);
  EXPECT_EQ(ActiveNode(L"SRV"), L"no SRV");
  EXPECT_EQ(VirtualServer(nullptr), L"yes ");
  EXPECT_EQ(VirtualServer(L"SRV"), L"no ");
  EXPECT_EQ(Node(L"\\\\SRV"), L"no SRV");
  EXPECT_EQ(Node(L"\\\\"), L"no ");
  EXPECT_FALSE(ServerIsRunningXCSCluster());
}

TEST(ClusterNames, InACluster) {
  const FakeCluster fake(test::TwoNodes());
  EXPECT_TRUE(IsVtClustered());
  EXPECT_EQ(ActiveNode(nullptr), L"yes NODEB");
  EXPECT_EQ(ActiveNode(L"SQLV"), L"yes NODEB");
  EXPECT_EQ(ActiveNode(L"STRANGER"), L"no STRANGER");
  EXPECT_EQ(VirtualServer(nullptr), L"yes VTBACKUP");
  EXPECT_EQ(VirtualServer(L"NODEA"), L"yes VTBACKUP");
  EXPECT_EQ(Node(L"\\\\sqlv"), L"yes NODEA");
  EXPECT_EQ(Node(L"\\\\nodea"), L"no nodea");
  wchar_t buffer[] = L"as before";
  EXPECT_FALSE(GetXCSClusterName(L"CLU1", buffer, _countof(buffer)));
  EXPECT_STREQ(buffer, L"as before");
}

/* A cluster of the kind that the cluster library does not meet; its node query runs out of memory.
 */
class XcsDouble : public Cluster {
 public:
  bool Open() override { return true; }
  int GetClusterType() override { return xcsCluster; }
  std::wstring GetClusterName() override { return L"CLUSTER7"; }
  bool GetBeActiveNodeName(std::wstring&) override { return false; }
  bool NetworkNameToNodeName(const std::wstring&, std::wstring& node) override {
    node = L"half";
    throw std::bad_alloc();
  }
  bool GetVirtualNameFromIp(std::wstring&, const char*) override { return false; }
  bool GetVtVirtualServerName(const std::wstring&, std::wstring&) override { return false; }
  appState IsServerRunningSQL(const wchar_t*, bool*) override { return noAnswer; }
  appState IsServerRunningExchange(const wchar_t*, bool*) override { return noAnswer; }
};

std::shared_ptr<Cluster> GiveDouble(const wchar_t*) { return std::make_shared<XcsDouble>(); }

TEST(ClusterNames, XcsCluster_NameIsCutToTheBuffer) {
  const ImportHook<std::shared_ptr<Cluster>(const wchar_t*)> hook(
      "vtcluster.dll", "_ZN7Cluster11GetInstanceEPKw", &GiveDouble);
  EXPECT_TRUE(ServerIsRunningXCSCluster());
  const struct {
    size_t size;
    const wchar_t* text;
  } rows[] = {{20, L"CLUSTER7"}, {9, L"CLUSTER7"}, {8, L"CLUSTER"}, {1, L""}, {0, L"as before"}};
  for (const auto& row : rows) {
    wchar_t buffer[20] = L"as before";
    EXPECT_TRUE(GetXCSClusterName(L"any", buffer, row.size));
    EXPECT_STREQ(buffer, row.text) << row.size;
  }
  EXPECT_FALSE(GetXCSClusterName(L"any", nullptr, 0));
  EXPECT_EQ(Node(L"any"), L"no ") << "running out of memory is a no";
}

}  // namespace
