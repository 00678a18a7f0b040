#ifndef VTCLASS_SECURITY_H
#define VTCLASS_SECURITY_H

#include <vtclass/win32.h>

#include "vtclass/export.h"

/* Accounts, groups and descriptors. All operations are static and may be called on any thread. */
class CNTSecurity {
 public:
  CNTSecurity() = delete;

  /*
   * Fills `attributes` with a descriptor that gives full access to the Administrators, to the
   * Backup Operators and to the local system account, and to nobody else; subkeys and child objects
   * inherit it; the handle made with it is not inheritable by child processes.
   *
   * Returns true and a descriptor in one block of local memory that the caller releases with
   * LocalFree(attributes.lpSecurityDescriptor). Returns false, with the reason in
   * ::GetLastError() and a null descriptor, when the platform cannot build it.
   */
  VTCLASS_API static bool CreateSecurityAttribWithAdminAndBackupOper(
      SECURITY_ATTRIBUTES& attributes);
};

#endif
