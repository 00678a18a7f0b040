#include <vtclass/win32.h>

#include <shellapi.h>

#include <exception>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"

namespace {

using namespace vtctl;

constexpr const char* kVersion = "vtctl " VTCTL_VERSION;

constexpr const char* kExamples =
    "Examples:\n"
    "  vtctl session --root C:\\Data --out C:\\Logs\n"
    "      read a folder tree as a backup job does and write its job log\n"
    "  vtctl joblog show C:\\Logs\\joblog-20250131-220000.xml\n"
    "      read that log as people do\n"
    "  vtctl registry list \"HKLM\\Software\\Norvane\"\n"
    "      see what the product's components see\n"
    "  vtctl identity \\\\BACKUP01\\data\n"
    "      ask whether that server is this machine, and why\n"
    "\n"
    "Exit codes: 0 clean, 1 warnings, 2 errors in what was read; 64 wrong usage, 65 unusable\n"
    "input, 66 input missing or not readable, 68 not this machine, 69 no answer from a name\n"
    "server, 70 vtctl failed, 73 output not writable, 130 interrupted.";

/* The command line in UTF-8: the C run time would bring it into the ANSI code page and lose text.
 */
std::vector<std::string> Arguments() {
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> words(
      ::CommandLineToArgvW(::GetCommandLineW(), &count), ::LocalFree);
  std::vector<std::string> arguments;
  /* The parser takes them last first, without the program's name. */
  for (int i = count - 1; words && i > 0; --i) arguments.push_back(ToUtf8(words.get()[i]));
  return arguments;
}

/* "vtctl registry get": the command that the arguments chose, as far as they were understood. */
std::string ChosenName(const CLI::App& app) {
  std::string name = app.get_name();
  for (const CLI::App* command : app.get_subcommands()) name += " " + ChosenName(*command);
  return name;
}

/* Help and version go to the output; a wrong command line gets one line and a hint. */
int ExplainParse(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
    std::ostringstream out, err;
    app.exit(error, out, err);
    PrintUtf8(out.str());
    return kExitClean;
  }
  std::string problem = error.what();
  /* The parser misses the command before it looks at the words that are none. */
  const std::vector<std::string> unknown = app.remaining(true);
  if (dynamic_cast<const CLI::RequiredError*>(&error) && !unknown.empty()) {
    problem = "\"" + unknown.front() + "\" is not known here";
  }
  PrintError(FromUtf8("vtctl: " + problem + "\nRun '" + ChosenName(app) + " --help' for help.\n"));
  return kExitUsage;
}

int Run() {
  CatchInterrupts();
  CLI::App app("What the agents of the backup product see on this machine, and how they work.",
               "vtctl");
  app.set_version_flag("--version", kVersion, "Print the version and end");
  app.set_help_flag("-h,--help", "Print this help and end");
  app.require_subcommand(1);
  app.footer(kExamples);

  ChosenCommand chosen;
  AddSessionCommand(app, chosen);
  AddJobLogCommand(app, chosen);
  AddDebugLogCommand(app, chosen);
  AddRegistryCommand(app, chosen);
  AddIdentityCommand(app, chosen);
  AddNameCommands(app, chosen);
  AddClusterCommand(app, chosen);
  AddAppsCommand(app, chosen);
  AddDatabaseCommand(app, chosen);
  AddSettingsCommand(app, chosen);
  AddSgmonCommand(app, chosen);
  try {
    app.parse(Arguments());
  } catch (const CLI::ParseError& error) {
    return ExplainParse(app, error);
  }
  return chosen.run();
}

}  // namespace

int main() {
  try {
    return Run();
  } catch (const std::bad_alloc&) {
    PrintError(L"vtctl: There is not enough memory to go on.\n");
  } catch (const std::exception& error) {
    PrintError(L"vtctl: Internal error: " + FromUtf8(error.what()) + L"\n");
  }
  return kExitInternal;
}
