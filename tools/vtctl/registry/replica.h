#ifndef VTCLASS_TOOLS_VTCTL_REGISTRY_REPLICA_H
#define VTCLASS_TOOLS_VTCTL_REGISTRY_REPLICA_H

#include <optional>
#include <string>

#include "tools/vtctl/shared/command.h"

namespace vtctl {

/* A key and the folder that its data file lies in, as the operator names them. */
struct ReplicaArguments : CommonArguments {
  std::optional<KeyPath> key;
  Path folder;

  /* The parser sees to it that there is a key. */
  KeyPath Key() const { return key.value_or(KeyPath()); }
  /* The folder for the library: with a backslash at its end. */
  std::wstring Directory() const;
  Path DataFile() const;
};

/* An exit code, after it has said why, where they cannot be used. */
int Check(const ReplicaArguments& arguments);

/* Adds KEY and DIR. */
template <typename Arguments>
void AddReplicaArguments(CommandWith<Arguments>& command) {
  command.Key("KEY", command->key, "The key").Required();
  command.File("DIR", command->folder, "The folder of its data file").Required();
}

}  // namespace vtctl

#endif
