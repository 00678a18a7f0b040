#include <vtclass/win32.h>

#include <string>

#include "security/folder_path.h"
#include "tools/vtctl/security/own.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/confirm.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Makes a file or folder the local system account's, with full access for it, as a restore\n"
    "does with what it has to replace. With --tree everything below a folder too; links below it\n"
    "are taken over themselves and not followed, PATH itself is. Other entries of the access\n"
    "lists stay. The former owners are stored nowhere: nothing undoes this.\n"
    "\n"
    "At a terminal it asks before it acts. Scripts say --yes; without it and without a terminal\n"
    "nothing is done. A failure does not end the walk, and all are told. Ctrl+C ends it between "
    "two\n"
    "entries.\n"
    "\n"
    "It needs the privileges SeTakeOwnershipPrivilege and SeRestorePrivilege ('vtctl privilege'):\n"
    "start vtctl as administrator. Take no tree over that a stranger is still at work in.\n"
    "\n"
    "Examples:\n"
    "  vtctl own D:\\Restore\\settings.ini\n"
    "  vtctl own D:\\Restore --tree\n"
    "  vtctl own D:\\Restore --tree --yes --json\n"
    "\n"
    "Exit codes: 0 all was taken over, 1 the answer was no, 2 some was not, or a privilege is\n"
    "missing; 64 it would have to ask and cannot, 66 nothing is there, or no folder for --tree,\n"
    "73 the outcome cannot be written, 130 interrupted.";

struct OwnArguments : CommonArguments {
  Path path;
  bool isTree = false;
  bool isSure = false;
};

// An exit code where there is nothing to act on. What may not be looked at may well be taken over.
int CheckPath(const OwnArguments& arguments) {
  if (vtclass::security::NamesNothing(arguments.path.Written())) {
    return Fail(kExitNoInput,
                Quoted(arguments.path) + L" names nothing in particular: name the drive too.");
  }
  const DWORD attributes = ::GetFileAttributesW(arguments.path.System().c_str());
  const DWORD error = arguments.path.System().empty() ? arguments.path.Error() : ::GetLastError();
  const std::wstring shown = Printable(arguments.path.Written());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return error == ERROR_ACCESS_DENIED ? kExitClean
                                        : Fail(kExitNoInput, shown + L" was not found", error);
  }
  if (arguments.isTree && !(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    return Fail(kExitNoInput, shown + L" is no folder; without --tree it can be taken over.");
  }
  return kExitClean;
}

std::wstring Question(const OwnArguments& arguments) {
  return L"Make the local system account the owner of " + arguments.path.Shown() +
         (arguments.isTree ? L" and of everything below it" : L"") + L"? Nothing undoes this.";
}

int AssertPrivileges() {
  for (const wchar_t* const name : {L"SeTakeOwnershipPrivilege", L"SeRestorePrivilege"}) {
    if (::AssertPrivilege(name, TRUE) != 0) continue;
    return Fail(kExitErrors, std::wstring(L"The privilege ") + name + L" cannot be enabled",
                ::GetLastError());
  }
  return kExitClean;
}

int ExitCodeOf(const OwnResult& result) {
  if (result.isStopped) return kExitCancelled;
  return result.failed == 0 ? kExitClean : kExitErrors;
}

std::wstring Summary(const OwnResult& result) {
  return (result.isStopped ? L"Stopped; what follows is as it was. " : L"") +
         Grouped(result.taken, {}) + L" taken over, " + Grouped(result.failed, {}) + L" failed\n";
}

Json ToJson(const OwnArguments& arguments, const OwnResult& result) {
  Json json = {{"path", ToUtf8(arguments.path.Stored())},
               {"tree", arguments.isTree},
               {"taken", result.taken},
               {"failed", result.failed},
               {"stopped", result.isStopped},
               {"failures", Json::array()}};
  for (const OwnFailure& failure : result.failures) {
    Json row = {{"path", ToUtf8(failure.path.Stored())},
                {"step", failure.step == vtclass::folderNotListed ? "list" : "take"}};
    AddStatus(row, failure.status);
    json["failures"].push_back(row);
  }
  return json;
}

int Run(const OwnArguments& arguments) {
  int code = CheckPath(arguments);
  if (code == kExitClean && !arguments.isSure) code = Confirm(Question(arguments));
  if (code == kExitClean) code = AssertPrivileges();
  if (code != kExitClean) return code;
  const OwnResult result = TakeOver({arguments.path, arguments.isTree, arguments.json});
  arguments.json ? PrintJson(ToJson(arguments, result)) : Print(Summary(result));
  return ExitCodeOf(result);
}

}  // namespace

void AddOwnCommand(Command& program) {
  auto own = program.Add("own", "Take files and folders over for the local system account",
                         kExamples, Run);
  own.File("PATH", own->path, "A file or folder").Required();
  own.Flag("--tree", own->isTree, "Everything below the folder too");
  own.Flag("--yes", own->isSure, "Do not ask");
  own.Json("One JSON object, nothing else");
}

}  // namespace vtctl
