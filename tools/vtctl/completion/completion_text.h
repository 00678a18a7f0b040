#ifndef VTCLASS_TOOLS_VTCTL_COMPLETION_COMPLETION_TEXT_H
#define VTCLASS_TOOLS_VTCTL_COMPLETION_COMPLETION_TEXT_H

#include <string>
#include <vector>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/json.h"

/* The table of commands in the forms that shells and readers want; its first row is the program. */
namespace vtctl {

using CommandTable = std::vector<CommandText>;

std::string BashScript(const CommandTable& table);
std::string PowerShellScript(const CommandTable& table);
/* In the language of man pages. */
std::string ManPage(const CommandTable& table);
/* One object for each row. */
Json ToJson(const CommandTable& table);

}  // namespace vtctl

#endif
