#include "cluster/answer_or.h"
#include "cluster/opened_cluster.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace vtclass {
namespace {

using cluster::AnswerOr;
using cluster::AskForText;
using cluster::OpenedCluster;

std::wstring WithoutBackslashes(const wcstring& name) {
  const size_t start = name.find_first_not_of(L'\\');
  return start == wcstring::npos ? std::wstring() : name.substr(start);
}

}  // namespace

bool IsVtClustered() {
  return AnswerOr(false, [] { return Cluster::IsVtClustered(); });
}

bool GetVtActiveNodeName(const wchar_t* name, wcstring& out) {
  return AskForText(out, [name](wcstring& text) {
    const auto found = OpenedCluster(name);
    if (found && found->GetBeActiveNodeName(text)) return true;
    if (name) {
      text = name;
    } else {
      GetComputerNameInString(text);
    }
    return false;
  });
}

bool GetVtVirtualServerName(const wchar_t* name, wcstring& out) {
  return AskForText(out, [name](wcstring& text) {
    if (!name) {
      text = Cluster::GetVtVirtualServerName();
      return true;
    }
    const auto found = OpenedCluster(name);
    if (found && found->GetVtVirtualServerName(name, text)) return true;
    text.clear();
    return false;
  });
}

bool ClusterVirtualNameToNodeName(const wcstring& name, wcstring& out) {
  return AskForText(out, [&name](wcstring& text) {
    const std::wstring stripped = WithoutBackslashes(name);
    const auto found = OpenedCluster(stripped.c_str());
    if (found && found->NetworkNameToNodeName(stripped, text)) return true;
    text = stripped;
    return false;
  });
}

bool GetXCSClusterName(const wchar_t* name, wchar_t* buffer, std::size_t size) {
  return AnswerOr(false, [&] {
    const auto found = OpenedCluster(name);
    if (!buffer || !found || found->GetClusterType() != Cluster::xcsCluster) return false;
    const std::wstring text = found->GetClusterName();
    if (size > 0) buffer[text.copy(buffer, size - 1)] = L'\0';
    return true;
  });
}

bool ServerIsRunningXCSCluster() {
  return AnswerOr(false, [] {
    const auto found = OpenedCluster(nullptr);
    return found && found->GetClusterType() == Cluster::xcsCluster;
  });
}

}  // namespace vtclass
