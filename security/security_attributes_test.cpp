#include <vtclass/win32.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <vector>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "vtclass/security.h"

namespace {

using vtclass::platform::OwnedLocalMemory;
using vtclass::test::ImportHook;

std::vector<BYTE> WellKnown(WELL_KNOWN_SID_TYPE type) {
  std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
  DWORD size = SECURITY_MAX_SID_SIZE;
  EXPECT_TRUE(::CreateWellKnownSid(type, nullptr, sid.data(), &size));
  return sid;
}

TEST(CNTSecurity, AdminAndBackupOper_GrantsFullAccessToThemAndNobodyElse) {
  SECURITY_ATTRIBUTES attributes;
  ASSERT_TRUE(CNTSecurity::CreateSecurityAttribWithAdminAndBackupOper(attributes));
  const OwnedLocalMemory owner(attributes.lpSecurityDescriptor);
  EXPECT_EQ(attributes.nLength, sizeof(attributes));
  EXPECT_FALSE(attributes.bInheritHandle);

  BOOL present = FALSE;
  BOOL defaulted = TRUE;
  PACL acl = nullptr;
  ASSERT_TRUE(
      ::GetSecurityDescriptorDacl(attributes.lpSecurityDescriptor, &present, &acl, &defaulted));
  ASSERT_TRUE(present && acl);
  std::vector<std::vector<BYTE>> expected = {WellKnown(WinLocalSystemSid),
                                             WellKnown(WinBuiltinAdministratorsSid),
                                             WellKnown(WinBuiltinBackupOperatorsSid)};
  ASSERT_EQ(acl->AceCount, expected.size());
  for (DWORD i = 0; i < acl->AceCount; ++i) {
    ACCESS_ALLOWED_ACE* ace = nullptr;
    ASSERT_TRUE(::GetAce(acl, i, reinterpret_cast<void**>(&ace)));
    EXPECT_EQ(ace->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
    EXPECT_TRUE(::EqualSid(&ace->SidStart, expected[i].data())) << "entry " << i;
    EXPECT_EQ(ace->Mask, static_cast<DWORD>(GENERIC_ALL)) << "entry " << i;
  }
}

BOOL WINAPI RefuseDescriptor(LPCWSTR, DWORD, PSECURITY_DESCRIPTOR*, PULONG) {
  ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return FALSE;
}

TEST(CNTSecurity, AdminAndBackupOper_PlatformRefuses_LeavesNullDescriptor) {
  const ImportHook<decltype(::ConvertStringSecurityDescriptorToSecurityDescriptorW)> hook(
      "ADVAPI32.dll", "ConvertStringSecurityDescriptorToSecurityDescriptorW", &RefuseDescriptor);
  SECURITY_ATTRIBUTES attributes;
  EXPECT_FALSE(CNTSecurity::CreateSecurityAttribWithAdminAndBackupOper(attributes));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
  EXPECT_EQ(attributes.lpSecurityDescriptor, nullptr);
}

}  // namespace
