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
    return Fail(kExitBadInput, L"\"" + Printable(arguments.folder.Written()) + L"\" is no folder",
                arguments.folder.Error());
  }
  return kExitClean;
}

}  // namespace vtctl
