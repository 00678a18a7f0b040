#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/fake_cluster.h"
#include "tests/support/import_hook.h"
#include "vtclass/cluster.h"
#include "vtcluster/vtcluster.h"

namespace {

using namespace vtclass;
using test::FakeCluster;
using test::ImportHook;

bool Node(const wchar_t* name, wcstring& out) {
  out = name;
  return ClusterVirtualNameToNodeName(out, out);
}

struct Question {
  bool (*ask)(const wchar_t*, wcstring&);
  const wchar_t* name;
  std::wstring answer; /* "yes" or "no", and the text */
};

void ExpectAnswers(const std::vector<Question>& questions) {
  for (const Question& question : questions) {
    wcstring out = L"as before";
    const bool answer = question.ask(question.name, out);
    EXPECT_EQ((answer ? L"yes " : L"no ") + out, question.answer);
  }
}

TEST(ClusterNames, WithoutACluster_FallBack) {
  wchar_t computer[16];
  DWORD size = _countof(computer);
  ASSERT_TRUE(::GetComputerNameW(computer, &size));
  EXPECT_FALSE(IsVtClustered() || ServerIsRunningXCSCluster());
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
  const std::pair<size_t, const wchar_t*> rows[] = {
      {9, L"CLUSTER7"}, {8, L"CLUSTER"}, {1, L""}, {0, L"as before"}};
  for (const auto& [size, text] : rows) {
    wchar_t buffer[20] = L"as before";
    EXPECT_TRUE(GetXCSClusterName(L"any", buffer, size));
    EXPECT_STREQ(buffer, text) << size;
  }
  EXPECT_FALSE(GetXCSClusterName(L"any", nullptr, 0));
  ExpectAnswers({{&Node, L"any", L"no "}}); /* running out of memory */
}

}  // namespace
