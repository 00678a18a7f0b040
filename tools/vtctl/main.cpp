#include <vtclass/win32.h>

#include <shellapi.h>

#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"

namespace {

using namespace vtctl;

constexpr ProgramText kText = {
    "vtctl", "vtctl " VTCTL_VERSION,
    "What the agents of the backup product see on this machine, and how they work.",
    "Examples:\n"
    "  vtctl session --root C:\\Data --out C:\\Logs\n"
    "      read a folder tree as a backup job does and write its job log\n"
    "  vtctl joblog show C:\\Logs\\joblog-20250131-220000.xml\n"
    "      read that log as people do\n"
    "  vtctl registry list \"HKLM\\Software\\Norvane\"\n"
    "      see what the product's components see\n"
    "  vtctl identity \\\\BACKUP01\\data\n"
    "      ask whether that server is this machine, and why\n"
    "  vtctl doctor\n"
    "      look over everything that an agent needs on this machine\n"
    "\n"
    "Exit codes: 0 clean, 1 warnings, 2 errors in what was read; 64 wrong usage, 65 unusable\n"
    "input, 66 input missing or not readable, 68 not this machine, 69 no answer from a name\n"
    "server, 70 vtctl failed, 73 output not writable, 130 interrupted."};

// In the order of the help.
constexpr AddCommand kCommands[] = {
    AddSessionCommand,    AddJobLogCommand,   AddDebugLogCommand,  AddRegistryCommand,
    AddReplicateCommand,  AddRestoreCommand,  AddHiveCommand,      AddIdentityCommand,
    AddConvertCommand,    AddResolveCommand,  AddAdvCommand,       AddClusterCommand,
    AddAppsCommand,       AddDatabaseCommand, AddSettingsCommand,  AddSgmonCommand,
    AddCredentialCommand, AddDigestCommand,   AddHashCommand,      AddTimeCommand,
    AddVolumesCommand,    AddWhoAmICommand,   AddLogonCommand,     AddPrivilegeCommand,
    AddOwnCommand,        AddDoctorCommand,   AddCompletionCommand};

// The words in UTF-8: the C run time would bring them into the ANSI code page and lose text.
std::vector<std::string> Words() {
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(&::LocalFree)> words(
      ::CommandLineToArgvW(::GetCommandLineW(), &count), ::LocalFree);
  std::vector<std::string> texts;
  for (int i = 1; words && i < count; ++i) texts.push_back(ToUtf8(words.get()[i]));
  return texts;
}

}  // namespace

int main() {
  try {
    CatchInterrupts();
    return EndCode(RunCommandLine(kText, kCommands, Words()));
  } catch (const std::bad_alloc&) {
    PrintError(L"vtctl: There is not enough memory to go on.\n");
  } catch (const std::exception& error) {
    return Fail(kExitInternal, L"Internal error: " + FromUtf8(error.what()));
  }
  return kExitInternal;
}
