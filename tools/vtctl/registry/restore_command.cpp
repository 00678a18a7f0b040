#include <vtclass/win32.h>

#include <string>

#include "config/product_keys.h"
#include "tools/vtctl/registry/replica.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/confirm.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/replication.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Loads KEY with everything below it from the file that 'vtctl replicate KEY DIR' or a "
    "component\n"
    "has saved. What the key holds is replaced; a key that is missing is made. Nothing undoes "
    "this.\n"
    "'vtctl hive verify' tells beforehand whether the file is whole, 'vtctl hive diff' what will\n"
    "change. Stop what uses the key first: the system refuses while somebody has a key below it "
    "open.\n"
    "\n"
    "At a terminal it asks before it acts. Scripts say --yes; without it and without a terminal\n"
    "nothing is done.\n"
    "\n"
    "It needs the privilege SeRestorePrivilege: start vtctl as administrator.\n"
    "\n"
    "Examples:\n"
    "  vtctl replicate \"HKLM\\" VTCLASS_PRODUCT_ROOT
    "\" D:\\Rep --once\n"
    "  vtctl restore \"HKLM\\" VTCLASS_PRODUCT_ROOT
    "\" D:\\Rep\n"
    "\n"
    "Exit codes: 0 restored, 1 the answer was no, 64 it would have to ask and cannot, or KEY is a\n"
    "root, 65 DIR is no path, 66 there is no data file, 73 the system refused.";

struct RestoreArguments : ReplicaArguments {
  bool isSure = false;
};

int CheckFile(const Path& file) {
  const DWORD attributes = ::GetFileAttributesW(file.System().c_str());
  const DWORD status = ::GetLastError();
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return Fail(kExitNoInput, file.Shown() + L" cannot be found", status);
  }
  return attributes & FILE_ATTRIBUTE_DIRECTORY
             ? Fail(kExitNoInput, file.Shown() + L" is a folder, not a saved key.")
             : kExitClean;
}

int Run(const RestoreArguments& arguments) {
  const KeyPath key = arguments.Key();
  const Path file = arguments.DataFile();
  const std::wstring name = Printable(KeyName(key));
  int code = Check(arguments);
  if (code == kExitClean) code = CheckFile(file);
  if (code == kExitClean && !arguments.isSure) {
    code = Confirm(L"Replace what " + name + L" and everything below it hold by " + file.Shown() +
                   L"? Nothing undoes this.");
  }
  if (code != kExitClean) return code;
  if (!RegistryKeyReplicator::LoadRegistryKey(key.root, key.subkey, arguments.Directory())) {
    const DWORD status = ::GetLastError();
    return Fail(kExitCannotWrite, name + L" was not restored from " + file.Shown() + L"", status);
  }
  if (arguments.json) {
    PrintJson({{"key", ToUtf8(KeyName(key))}, {"file", ToUtf8(file.Stored())}, {"restored", true}});
  } else {
    Print(name + L" was restored from " + file.Shown() + L".\n");
  }
  return kExitClean;
}

}  // namespace

void AddRestoreCommand(Command& program) {
  auto restore = program.Add("restore", "Load a registry key from its file copy", kExamples, Run);
  AddReplicaArguments(restore);
  restore.Flag("--yes", restore->isSure, "Do not ask");
  restore.Json("One JSON object");
}

}  // namespace vtctl
