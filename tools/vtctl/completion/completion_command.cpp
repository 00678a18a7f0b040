#include <optional>
#include <string>

#include "tools/vtctl/completion/completion_text.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Prints what lets a shell complete vtctl's commands, options and their words, or vtctl's\n"
    "manual, made from the commands that this vtctl knows.\n"
    "\n"
    "Examples:\n"
    "  vtctl completion bash > /etc/bash_completion.d/vtctl\n"
    "  vtctl completion powershell | Out-String | Invoke-Expression\n"
    "  vtctl completion man > vtctl.1\n"
    "  vtctl completion --json\n"
    "      the table of commands and options itself, for other tools\n"
    "\n"
    "Exit codes: 0 printed, 64 neither a form nor --json is given.";

using Writer = std::string (*)(const CommandTable& table);

struct CompletionArguments : CommonArguments {
  Writer write = nullptr;
  std::function<CommandTable()> table;
};

int Run(const CompletionArguments& arguments) {
  const CommandTable table = arguments.table();
  if (arguments.json) {
    PrintJson(ToJson(table));
  } else if (arguments.write) {
    PrintUtf8(arguments.write(table));
  } else {
    return Fail(kExitUsage, L"Which form? There are bash, powershell and man.");
  }
  return kExitClean;
}

}  // namespace

void AddCompletionCommand(Command& program) {
  auto completion =
      program.Add("completion", "Print completions for a shell, or the manual", kExamples, Run);
  completion.Choice<Writer>(
      "FORM", completion->write,
      {{"bash", BashScript}, {"powershell", PowerShellScript}, {"man", ManPage}},
      "bash, powershell or man");
  completion.Json("One JSON array with all commands and their options");
  completion->table = completion.Table();
}

}  // namespace vtctl
