#include "cluster/answer_or.h"
#include "cluster/opened_cluster.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace vtclass {
namespace {

using cluster::AnswerOr;
using cluster::AskCluster;
using cluster::AskForText;

std::wstring WithoutBackslashes(const wcstring& name) {
  const size_t start = name.find_first_not_of(L'\\');
  return start == wcstring::npos ? std::wstring() : name.substr(start);
}

}  // namespace

bool IsVtClustered() {
  return AnswerOr(false, [](unsigned long& error) {
    const bool answer = Cluster::IsVtClustered();
    error = ::GetLastError();
    return answer;
  });
}

bool GetVtActiveNodeName(const wchar_t* name, wcstring& out) {
  return AskForText(out, [name](wcstring& text, unsigned long& error) {
    const auto ask = [&](Cluster& cluster) { return cluster.GetBeActiveNodeName(text); };
    if (AskCluster(name, error, false, ask)) return true;
    if (name) {
      text = name;
    } else {
      GetComputerNameInString(text);
    }
    return false;
  });
}

bool GetVtVirtualServerName(const wchar_t* name, wcstring& out) {
  return AskForText(out, [name](wcstring& text, unsigned long& error) {
    if (!name) {
      text = Cluster::GetVtVirtualServerName();
      error = ::GetLastError();
      return true;
    }
    const auto ask = [&](Cluster& cluster) { return cluster.GetVtVirtualServerName(name, text); };
    return AskCluster(name, error, false, ask);
  });
}

bool ClusterVirtualNameToNodeName(const wcstring& name, wcstring& out) {
  return AskForText(out, [&name](wcstring& text, unsigned long& error) {
    const std::wstring stripped = WithoutBackslashes(name);
    const auto ask = [&](Cluster& cluster) {
      return cluster.NetworkNameToNodeName(stripped, text);
    };
    if (AskCluster(stripped.c_str(), error, false, ask)) return true;
    text = stripped;
    return false;
  });
}

bool GetXCSClusterName(const wchar_t* name, wchar_t* buffer, std::size_t size) {
  return AnswerOr(false, [&](unsigned long& error) {
    if (!buffer) return false;
    return AskCluster(name, error, false, [&](Cluster& cluster) {
      if (cluster.GetClusterType() != Cluster::xcsCluster) return false;
      const std::wstring text = cluster.GetClusterName();
      if (size > 0) buffer[text.copy(buffer, size - 1)] = L'\0';
      return true;
    });
  });
}

bool ServerIsRunningXCSCluster() {
  return AnswerOr(false, [](unsigned long& error) {
    return AskCluster(nullptr, error, false, [](Cluster& cluster) {
      return cluster.GetClusterType() == Cluster::xcsCluster;
    });
  });
}

}  // namespace vtclass
