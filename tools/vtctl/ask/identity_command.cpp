#include <optional>
#include <string>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/identity.h"
#include "tools/vtctl/shared/joined.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/resolution.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Asks as an agent does: first this machine's own names and addresses, then its Oracle RAC\n"
    "nodes, then DNS. NAME may be a UNC path; its server counts. DNS has the time of the\n"
    "product's setting \"DnsQueryTimeOut\" (5 seconds if it is missing) or that of --timeout.\n"
    "\n"
    "Warning: DNS can say yes for the name of a cluster's virtual server whose address lies on "
    "this\n"
    "node now, also with --cluster-aware, although the test without DNS says no.\n"
    "\n"
    "Examples:\n"
    "  vtctl identity backup01\n"
    "  vtctl identity \\\\backup01\\data --cluster-aware\n"
    "  vtctl identity backup.corp.example --timeout 2 --json\n"
    "\n"
    "Exit codes: 0 this machine, 68 another one or no host at all, 69 no answer to be had (a name\n"
    "server that does not answer, ...), 64 an empty name.";

struct IdentityArguments : CommonArguments {
  std::wstring name;
  std::optional<unsigned> seconds;
  bool clusterAware = false;
};

void PrintAnswer(const IdentityQuestion& question, const IdentityAnswer& answer) {
  Print(Sentence(question, answer) + L"\n");
  int number = 0;
  for (const ExplainedStep& step : ExplainIdentity(answer)) {
    Print(L"\n" + std::to_wstring(++number) + L". " + step.title + L"\n");
    if (!step.compared.empty())
      Print(L"   compared with  " + Printable(Joined(step.compared)) + L"\n");
    Print(L"   found          " + Printable(step.found) + L"\n");
    if (!step.warning.empty()) Print(L"   warning        " + step.warning + L"\n");
  }
  Print(L"\nAnswered in " + std::to_wstring(answer.milliseconds) + L" ms, status " +
        ResolverText(answer.code) + L"\n");
}

void PrintAnswerAsJson(const IdentityQuestion& question, const IdentityAnswer& answer) {
  Json json = {{"name", ToUtf8(question.name)},
               {"server", ToUtf8(answer.server)},
               {"thisMachine", nullptr},
               {"error", nullptr},
               {"status", nullptr},
               {"milliseconds", answer.milliseconds},
               {"steps", Json::array()}};
  if (answer.isMe || IsSettled(answer)) json["thisMachine"] = answer.isMe;
  if (answer.code != 0) {
    json["error"] = ToUtf8(ResolverText(answer.code));
    json["status"] = answer.code;
  }
  for (const ExplainedStep& step : ExplainIdentity(answer)) {
    Json compared = Json::array();
    for (const std::wstring& text : step.compared) compared.push_back(ToUtf8(text));
    json["steps"].push_back({{"step", ToUtf8(step.title)},
                             {"compared", compared},
                             {"found", ToUtf8(step.found)},
                             {"decides", step.decides},
                             {"warning", TextOrNull(step.warning)}});
  }
  PrintJson(json);
}

// In milliseconds, as the library counts: 0 stands for the product's setting, -1 for no limit.
int TimeoutOf(const std::optional<unsigned>& seconds) {
  if (!seconds) return 0;
  return *seconds == 0 ? -1 : static_cast<int>(*seconds * 1000);
}

int Run(const IdentityArguments& arguments) {
  const IdentityQuestion question = {arguments.name, arguments.clusterAware,
                                     TimeoutOf(arguments.seconds)};
  const IdentityAnswer answer = AskIdentity(question);
  const int exitCode = ExitCodeOf(answer);
  if (exitCode == kExitUsage) return Fail(exitCode, L"The name is empty.");
  arguments.json ? PrintAnswerAsJson(question, answer) : PrintAnswer(question, answer);
  return exitCode;
}

}  // namespace

void AddIdentityCommand(Command& program) {
  auto identity = program.Add("identity", "Tell whether a name or address is this machine, and why",
                              kExamples, Run);
  identity.Text("NAME", identity->name, "A server name, an address or a UNC path").Required();
  identity.Count("--timeout SECONDS", identity->seconds, "Seconds for DNS; 0: no limit",
                 NumberRange<unsigned>{0, kSeconds.greatest});
  identity.Flag("--cluster-aware", identity->clusterAware,
                "What a cluster's virtual server holds is not this machine");
  identity.Json("One JSON object");
}

}  // namespace vtctl
