#include "tools/vtctl/registry/replica.h"

#include <vtclass/win32.h>

#include "config/replica_names.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {

std::wstring ReplicaArguments::Directory() const {
  return std::wstring(vtclass::config::WithoutBackslashesAtEnd(folder.System())) + L"\\";
}

Path ReplicaArguments::DataFile() const {
  return Path(vtclass::config::DataFileName(Key().subkey, Directory()));
}

int Check(const ReplicaArguments& arguments) {
  if (arguments.Key().subkey.empty()) {
    return Fail(kExitUsage, KeyName(arguments.Key()) + L" is a root: name a key below it.");
  }
  if (arguments.folder.System().empty()) {
    return Fail(kExitBadInput, L"\"" + Printable(arguments.folder.Written()) +
                                   L"\" is no folder: " + SystemText(arguments.folder.Error()));
  }
  return kExitClean;
}

std::wstring ReasonText(unsigned long status) {
  const std::wstring text = SystemText(status);
  switch (status) {
    case ERROR_ALREADY_EXISTS:
      return L"somebody holds the data file open, and it stays as it was: " + text;
    case ERROR_FILE_EXISTS:
      return L"all names from RegRep1.dat to RegRep99.dat are taken; what interrupted saves left "
             L"there may be deleted: " +
             text;
    case ERROR_PATH_NOT_FOUND:
      return L"the folder is gone: " + text;
    case ERROR_PRIVILEGE_NOT_HELD:
      return L"start vtctl as administrator: " + text;
    default:
      return text;
  }
}

}  // namespace vtctl
