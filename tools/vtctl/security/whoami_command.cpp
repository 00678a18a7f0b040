#include <optional>
#include <string>

#include "tools/vtctl/security/acting.h"
#include "tools/vtctl/security/token_text.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Tells who a program is that is started here: an agent's service may be somebody else. An\n"
    "account or group whose name the system does not know is told by its SID, with the reason; "
    "the\n"
    "group of the logon session never has a name.\n"
    "\n"
    "Groups: one that is deny-only gives no rights, it only takes some; so it is with\n"
    "Administrators where the program was not started as administrator. Privileges: one that is\n"
    "disabled is held, and a program that needs it enables it ('vtctl privilege').\n"
    "\n"
    "Examples:\n"
    "  vtctl whoami\n"
    "  vtctl whoami --json\n"
    "\n"
    "Exit codes: 0 told, 66 the token cannot be opened.";

std::wstring Report(const Acting& acting, const TokenFacts& process,
                    const std::optional<TokenFacts>& thread) {
  std::wstring text = L"Acts as " + Shown(acting) + L"\n";
  if (thread) text += L"\nToken of the thread\n" + Text(*thread);
  return text + L"\nToken of the process\n" + Text(process);
}

int Run(const CommonArguments& arguments) {
  const Acting acting = AskActing();
  const TokenFacts process = FactsOfProcess();
  const std::optional<TokenFacts> thread = FactsOfThread();
  if (arguments.json) {
    PrintJson({{"name", TextOrNull(acting.name)},
               {"sid", TextOrNull(acting.sid)},
               {"thread", thread ? ToJson(*thread) : Json()},
               {"process", ToJson(process)}});
  } else {
    Print(Report(acting, process, thread));
  }
  const TokenFacts& current = thread ? *thread : process;
  return current.error == ERROR_SUCCESS ? kExitClean : kExitNoInput;
}

}  // namespace

void AddWhoAmICommand(Command& program) {
  auto whoAmI = program.Add(
      "whoami", "Tell who programs are that are started here, and what they may", kExamples, Run);
  whoAmI.Json("One JSON object");
}

}  // namespace vtctl
