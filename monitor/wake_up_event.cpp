#include "monitor/wake_up_event.h"

#include <vtclass/win32.h>

#include <aclapi.h>

#include <iterator>

#include "platform/os_version.h"
#include "vtclass/monitor.h"

namespace vtclass::monitor {

using platform::OwnedLocalMemory;

namespace {

// All rights that events have, and those that older systems gave to kernel objects besides.
constexpr DWORD kEveryRight = 0x1F0FFF;

// The access list of this process, and every right for everyone.
DWORD MakeAccessList(OwnedLocalMemory& list) noexcept {
  SID everyone = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};
  PACL ofProcess = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  DWORD status =
      ::GetSecurityInfo(::GetCurrentProcess(), SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                        nullptr, &ofProcess, nullptr, &descriptor);
  if (status != ERROR_SUCCESS) return status;
  const OwnedLocalMemory owner(descriptor);
  EXPLICIT_ACCESS_W access = {};
  access.grfAccessPermissions = kEveryRight;
  access.grfAccessMode = GRANT_ACCESS;
  access.grfInheritance = NO_INHERITANCE;
  access.Trustee.TrusteeForm = TRUSTEE_IS_SID;
  access.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
  access.Trustee.ptstrName = reinterpret_cast<LPWSTR>(&everyone);
  PACL merged = nullptr;
  status = ::SetEntriesInAclW(1, &access, ofProcess, &merged);
  list.Reset(merged);
  return status;
}

}  // namespace

unsigned long OpenWakeUpEvent(platform::OwnedKernelObject& event) noexcept {
  OwnedLocalMemory list;
  const DWORD status = MakeAccessList(list);
  if (status != ERROR_SUCCESS) return status;
  SECURITY_DESCRIPTOR descriptor;
  if (!::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) ||
      !::SetSecurityDescriptorDacl(&descriptor, TRUE, static_cast<PACL>(list.Get()), FALSE)) {
    return ::GetLastError();
  }
  SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, FALSE};
  // Older systems know no name spaces of sessions, and take the prefix for part of a path.
  constexpr std::size_t kPrefix = std::size(L"Global\\") - 1;
  const wchar_t* const name = kSGMonWakeUpEvent + (platform::IsSystemAtLeast(5, 0) ? 0 : kPrefix);
  event.Reset(::CreateEventW(&attributes, TRUE, FALSE, name));
  // The call above asks for every right to an event that exists. To be woken takes one.
  if (!event && ::GetLastError() == ERROR_ACCESS_DENIED) {
    event.Reset(::OpenEventW(SYNCHRONIZE, FALSE, name));
  }
  return event ? ERROR_SUCCESS : ::GetLastError();
}

}  // namespace vtclass::monitor
