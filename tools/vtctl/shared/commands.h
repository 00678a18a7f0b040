#ifndef VTCLASS_TOOLS_VTCTL_SHARED_COMMANDS_H
#define VTCLASS_TOOLS_VTCTL_SHARED_COMMANDS_H

namespace vtctl {

class Command;

/* Each says what a command takes and what it runs; main has them in one table. */
void AddAdvCommand(Command& program);
void AddAppsCommand(Command& program);
void AddClusterCommand(Command& program);
void AddCompletionCommand(Command& program);
void AddConvertCommand(Command& program);
void AddCredentialCommand(Command& program);
void AddDatabaseCommand(Command& program);
void AddDebugLogCommand(Command& program);
void AddDigestCommand(Command& program);
void AddDoctorCommand(Command& program);
void AddHashCommand(Command& program);
void AddHiveCommand(Command& program);
void AddIdentityCommand(Command& program);
void AddJobLogCommand(Command& program);
void AddLogonCommand(Command& program);
void AddOwnCommand(Command& program);
void AddPrivilegeCommand(Command& program);
void AddRegistryCommand(Command& program);
void AddReplicateCommand(Command& program);
void AddResolveCommand(Command& program);
void AddRestoreCommand(Command& program);
void AddSessionCommand(Command& program);
void AddSettingsCommand(Command& program);
void AddSgmonCommand(Command& program);
void AddTimeCommand(Command& program);
void AddVolumesCommand(Command& program);
void AddWhoAmICommand(Command& program);

}  // namespace vtctl

#endif
