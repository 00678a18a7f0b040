#include <vtclass/win32.h>

#include <string>

#include "tools/vtctl/shared/cluster_answers.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

constexpr const char* kFooter =
    "NAME is a node, a virtual server or the cluster itself, with or without backslashes; without\n"
    "NAME the cluster is that of this machine.\n"
    "\n"
    "Examples:\n"
    "  vtctl cluster\n"
    "  vtctl cluster \\\\SQLV --json\n"
    "\n"
    "Exit codes: 0 clean, also without a cluster; 69 a cluster is there but cannot be opened or "
    "read.";

struct ClusterArguments : CommonArguments {
  std::wstring name;
};

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
               {"productVirtualServer", TextOrNull(answers.virtualServer)}};
  if (answers.isVirtual) json["nodeOfName"] = TextOrNull(answers.nodeOfName);
  if (answers.hasActiveNode) json["productActiveNode"] = TextOrNull(answers.activeNode);
  if (!answers.found) json["clusterType"] = nullptr;
  AddStatus(json, answers.error);
  return json;
}

int Run(const ClusterArguments& arguments) {
  const ClusterAnswers answers = AskCluster(arguments.name);
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
