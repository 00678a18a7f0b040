#include <vtclass/win32.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "vtclass/security.h"

namespace {

using vtclass::platform::OwnedLocalMemory;
using vtclass::test::ImportHook;

TEST(CNTSecurity, AdminAndBackupOper_GrantsFullAccessToThemAndNobodyElse) {
  SECURITY_ATTRIBUTES attributes;
  ASSERT_TRUE(CNTSecurity::CreateSecurityAttribWithAdminAndBackupOper(attributes));
  const OwnedLocalMemory owner(attributes.lpSecurityDescriptor);
  EXPECT_EQ(attributes.nLength, sizeof(attributes));
  EXPECT_FALSE(attributes.bInheritHandle);

  BOOL present = FALSE, defaulted = TRUE;
  PACL acl = nullptr;
  const auto descriptor = attributes.lpSecurityDescriptor;
  ASSERT_TRUE(::GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted));
  ASSERT_TRUE(present);
  ASSERT_TRUE(acl);
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  ASSERT_TRUE(::GetSecurityDescriptorControl(descriptor, &control, &revision));
  EXPECT_TRUE(control & SE_DACL_PROTECTED) << "nothing comes from above";
  DWORD i = 0;
  for (const auto type :
       {WinLocalSystemSid, WinBuiltinAdministratorsSid, WinBuiltinBackupOperatorsSid}) {
    ACCESS_ALLOWED_ACE* ace = nullptr;
    ASSERT_TRUE(::GetAce(acl, i++, reinterpret_cast<void**>(&ace)));
    EXPECT_EQ(ace->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
    EXPECT_EQ(ace->Header.AceFlags, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE) << type;
    EXPECT_TRUE(::IsWellKnownSid(&ace->SidStart, type)) << type;
    EXPECT_EQ(ace->Mask, static_cast<DWORD>(GENERIC_ALL)) << type;
  }
  EXPECT_EQ(acl->AceCount, i);
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
