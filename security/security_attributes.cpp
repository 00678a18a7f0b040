#include <vtclass/win32.h>

#include <sddl.h>

#include "platform/failure_code.h"
#include "vtclass/security.h"

// Protected, so that nothing inherited from above widens it; full access, passed on to subkeys and
// child objects, for the local system account, the Administrators and the Backup Operators.
static constexpr wchar_t kAdminAndBackupOperators[] =
    L"D:P(A;OICI;GA;;;SY)(A;OICI;GA;;;BA)(A;OICI;GA;;;BO)";

bool CNTSecurity::CreateSecurityAttribWithAdminAndBackupOper(SECURITY_ATTRIBUTES& attributes) {
  attributes = {};
  attributes.nLength = sizeof(attributes);
  ::SetLastError(ERROR_SUCCESS);
  if (::ConvertStringSecurityDescriptorToSecurityDescriptorW(
          kAdminAndBackupOperators, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr)) {
    return true;
  }
  ::SetLastError(vtclass::platform::FailureCode());
  return false;
}
