#include <vtclass/win32.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <utility>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "tests/support/no_reason.h"
#include "vtclass/security.h"

namespace {

using vtclass::platform::OwnedLocalMemory;
using vtclass::test::kNoReason;
using vtclass::test::Replace;
using vtclass::test::TellReason;

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

TEST(CNTSecurity, AdminAndBackupOper_PlatformRefuses_LeavesNullDescriptor) {
  for (const auto& [reason, told] : {std::pair{8ul, 8u}, std::pair{kNoReason, 31u}}) {
    const auto hook = Replace<decltype(::ConvertStringSecurityDescriptorToSecurityDescriptorW)>(
        "ConvertStringSecurityDescriptorToSecurityDescriptorW",
        [=](auto...) { return TellReason(reason), FALSE; });
    SECURITY_ATTRIBUTES attributes;
    ::SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(CNTSecurity::CreateSecurityAttribWithAdminAndBackupOper(attributes));
    EXPECT_EQ(::GetLastError(), told);
    EXPECT_EQ(attributes.lpSecurityDescriptor, nullptr);
  }
}

}  // namespace
