#ifndef VTCLASS_TOOLS_VTCTL_SHARED_COMMAND_H
#define VTCLASS_TOOLS_VTCTL_SHARED_COMMAND_H

#include <functional>

#include "tools/vtctl/shared/exit_code.h"

namespace CLI {
class App;
}

namespace vtctl {

/* The command that the arguments chose: each subcommand's callback stores its work here, and main
 * runs it once parsing is over. */
struct ChosenCommand {
  std::function<int()> run;
};

void AddSessionCommand(CLI::App& app, ChosenCommand& chosen);
void AddDebugLogCommand(CLI::App& app, ChosenCommand& chosen);
void AddJobLogCommand(CLI::App& app, ChosenCommand& chosen);
void AddRegistryCommand(CLI::App& app, ChosenCommand& chosen);
void AddIdentityCommand(CLI::App& app, ChosenCommand& chosen);
/* convert and resolve */
void AddNameCommands(CLI::App& app, ChosenCommand& chosen);
void AddClusterCommand(CLI::App& app, ChosenCommand& chosen);
void AddAppsCommand(CLI::App& app, ChosenCommand& chosen);
void AddDatabaseCommand(CLI::App& app, ChosenCommand& chosen);
void AddSettingsCommand(CLI::App& app, ChosenCommand& chosen);
void AddSgmonCommand(CLI::App& app, ChosenCommand& chosen);

}  // namespace vtctl

#endif
