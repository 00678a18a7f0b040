#include "tools/vtctl/shared/cluster_answers.h"

#include <vtclass/win32.h>

#include <vtcluster/vtcluster.h>

#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace vtctl {
namespace {

unsigned long FirstOf(unsigned long error, unsigned long next) {
  return error != ERROR_SUCCESS ? error : next;
}

}  // namespace

ClusterAnswers AskCluster(const std::wstring& name) {
  ClusterAnswers answers;
  answers.name = name;
  const wchar_t* const asked = name.empty() ? nullptr : name.c_str();
  vtclass::GetComputerNameInString(answers.computer);
  vtclass::GetComputerNodeName(answers.node);
  const auto cluster = Cluster::GetInstance(asked);
  answers.found = cluster->Open();
  answers.type = cluster->GetClusterType();
  answers.error = cluster->GetErrorCode();
  answers.clusterName = cluster->GetClusterName();
  answers.error = FirstOf(answers.error, cluster->GetErrorCode());
  if (asked) {
    answers.isVirtual = vtclass::ClusterVirtualNameToNodeName(name, answers.nodeOfName);
    answers.nameError = ::GetLastError();
  }
  answers.hasActiveNode = vtclass::GetVtActiveNodeName(asked, answers.activeNode);
  answers.productError = ::GetLastError();
  vtclass::GetVtVirtualServerName(asked, answers.virtualServer);
  answers.productError = FirstOf(answers.productError, ::GetLastError());
  answers.error = FirstOf(answers.error, FirstOf(answers.nameError, answers.productError));
  return answers;
}

std::wstring ClusterSentence(const ClusterAnswers& answers) {
  const bool failed = answers.error != ERROR_SUCCESS;
  if (answers.found) {
    return Printable(answers.clusterName) +
           (answers.type == Cluster::xcsCluster ? L" (the product's own cluster server)"
                                                : L" (Windows failover cluster)") +
           (failed ? L"; it cannot be read: " + SystemText(answers.error) : std::wstring());
  }
  if (failed) {
    return L"counts as none; its service runs, but it cannot be opened: " +
           SystemText(answers.error);
  }
  if (answers.name.empty()) return L"none; no cluster service runs on this machine";
  return L"none; no cluster service runs on that server, or it cannot be reached";
}

std::wstring ProductSentence(const ClusterAnswers& answers) {
  const bool isUntold = answers.found && answers.productError != ERROR_SUCCESS;
  if (!answers.hasActiveNode && isUntold) return L"cannot be told";
  if (!answers.hasActiveNode) {
    return answers.found ? L"not clustered; no group of the cluster holds its services"
                         : L"not clustered; no cluster was found";
  }
  std::wstring name = isUntold ? L"(cannot be told)" : L"(its group has no network name)";
  if (!answers.virtualServer.empty()) name = Printable(answers.virtualServer);
  return L"active on " + Printable(answers.activeNode) + L", reached as " + name;
}

}  // namespace vtctl
