#include <vtclass/win32.h>

#include <vtcluster/vtcluster.h>

#include <string>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace vtctl {
namespace {

constexpr const char* kFooter =
    "NAME is a node, a virtual server or the cluster itself, with or without backslashes; without\n"
    "NAME the cluster is that of this machine. Exit code 69 when a cluster is there but cannot be\n"
    "opened or read.\n"
    "\n"
    "Examples:\n"
    "  vtctl cluster\n"
    "  vtctl cluster \\\\SQLV --json";

struct ClusterArguments : CommonArguments {
  std::wstring name;
};

// What the library's functions answer; an empty text is "none".
struct ClusterAnswers {
  std::wstring name;  // as the operator wrote it
  wcstring computer;
  wcstring node;  // of this machine
  bool found = false;
  unsigned long error = ERROR_SUCCESS;  // the first that kept the cluster from an answer
  unsigned long nameError = ERROR_SUCCESS;
  unsigned long productError = ERROR_SUCCESS;
  int type = Cluster::noCluster;
  std::wstring clusterName;
  bool isVirtual = false;  // the name is a network name of the cluster
  wcstring nodeOfName;
  bool hasActiveNode = false;  // the product runs in the cluster
  wcstring activeNode;
  wcstring virtualServer;
};

unsigned long FirstOf(unsigned long error, unsigned long next) {
  return error != ERROR_SUCCESS ? error : next;
}

ClusterAnswers Ask(const std::wstring& name) {
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

std::wstring NameSentence(const ClusterAnswers& answers) {
  const std::wstring name = Printable(answers.name);
  if (answers.isVirtual) {
    return name + L" is a virtual server; its node is " + Printable(answers.nodeOfName);
  }
  if (answers.found && answers.nameError != ERROR_SUCCESS) {
    return L"whether " + name + L" is a virtual server of the cluster cannot be told";
  }
  return name + (answers.found ? L" is no virtual server of the cluster"
                               : L" leads to no cluster, so it is taken for a server of its own");
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

void PrintText(const ClusterAnswers& answers) {
  Print(L"This machine:  " + Printable(answers.computer) + L" (node " + Printable(answers.node) +
        L")\n");
  if (!answers.name.empty()) Print(L"Name:          " + NameSentence(answers) + L"\n");
  Print(L"Cluster:       " + ClusterSentence(answers) + L"\n");
  Print(L"Product:       " + ProductSentence(answers) + L"\n");
}

Json ToJson(const ClusterAnswers& answers) {
  Json json = {{"computer", ToUtf8(answers.computer)},
               {"node", ToUtf8(answers.node)},
               {"name", TextOrNull(answers.name)},
               {"nodeOfName", nullptr},
               {"cluster", TextOrNull(answers.clusterName)},
               {"clusterType", answers.type == Cluster::xcsCluster ? "xcs" : "windows"},
               {"productActiveNode", nullptr},
               {"productVirtualServer", TextOrNull(answers.virtualServer)},
               {"error", nullptr}};
  if (answers.isVirtual) json["nodeOfName"] = TextOrNull(answers.nodeOfName);
  if (answers.hasActiveNode) json["productActiveNode"] = TextOrNull(answers.activeNode);
  if (answers.error != ERROR_SUCCESS) json["error"] = ToUtf8(SystemText(answers.error));
  if (!answers.found) json["clusterType"] = nullptr;
  return json;
}

int Run(const ClusterArguments& arguments) {
  const ClusterAnswers answers = Ask(arguments.name);
  arguments.json ? PrintJson(ToJson(answers)) : PrintText(answers);
  return answers.error == ERROR_SUCCESS ? kExitClean : kExitNoAnswer;
}

}  // namespace

void AddClusterCommand(Command& program) {
  auto cluster = program.Add(
      "cluster", "Tell the cluster of this machine or a server, and where the product runs in it",
      kFooter, Run);
  cluster.Text("NAME", cluster->name, "The server; without it this machine");
  cluster.Json("One JSON object with everything");
}

}  // namespace vtctl
