#include "tools/vtctl/shared/key_access.h"

#include <aclapi.h>

#include <algorithm>
#include <optional>

#include "platform/owned.h"
#include "tools/vtctl/shared/account_name.h"

namespace vtctl {
namespace {

// An entry that speaks of some of the rights.
struct Entry {
  bool allows;
  DWORD rights;
  PSID account;
};

std::optional<Entry> EntryAt(ACL* list, DWORD index, DWORD wanted) {
  void* data = nullptr;
  if (!::GetAce(list, index, &data)) return std::nullopt;
  const auto* const header = static_cast<const ACE_HEADER*>(data);
  if (header->AceFlags & INHERIT_ONLY_ACE) return std::nullopt;
  // Both kinds have the same layout.
  const bool allows = header->AceType == ACCESS_ALLOWED_ACE_TYPE;
  if (!allows && header->AceType != ACCESS_DENIED_ACE_TYPE) return std::nullopt;
  auto* const entry = static_cast<ACCESS_ALLOWED_ACE*>(data);
  GENERIC_MAPPING mapping = {KEY_READ, KEY_WRITE, KEY_EXECUTE, KEY_ALL_ACCESS};
  DWORD rights = entry->Mask;
  ::MapGenericMask(&rights, &mapping);
  if ((rights & wanted) == 0) return std::nullopt;
  return Entry{allows, rights & wanted, &entry->SidStart};
}

std::vector<Entry> EntriesOf(ACL* list, DWORD wanted) {
  std::vector<Entry> entries;
  for (DWORD i = 0; i < list->AceCount; ++i) {
    if (const std::optional<Entry> entry = EntryAt(list, i, wanted)) entries.push_back(*entry);
  }
  return entries;
}

bool IsOfEveryUser(PSID account) {
  constexpr WELL_KNOWN_SID_TYPE kGroups[] = {WinWorldSid, WinAuthenticatedUserSid,
                                             WinInteractiveSid, WinBuiltinUsersSid};
  return std::ranges::any_of(kGroups, [&](WELL_KNOWN_SID_TYPE group) {
    return ::IsWellKnownSid(account, group) != FALSE;
  });
}

}  // namespace

bool LetsEveryUser(ACL* list, DWORD rights) {
  if (!list) return true;
  DWORD refused = 0;
  for (const Entry& entry : EntriesOf(list, rights)) {
    if (!IsOfEveryUser(entry.account)) continue;
    if (entry.allows && (entry.rights & ~refused) != 0) return true;
    refused |= entry.rights;
  }
  return false;
}

KeyAccess AccessTo(HKEY key, DWORD rights) {
  KeyAccess access;
  ACL* list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  access.error = ::GetSecurityInfo(key, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr,
                                   nullptr, &list, nullptr, &descriptor);
  if (access.error != ERROR_SUCCESS) return access;
  const vtclass::platform::OwnedLocalMemory memory(descriptor);
  access.isEveryUser = LetsEveryUser(list, rights);
  if (!list) return access;
  for (const Entry& entry : EntriesOf(list, rights)) {
    if (!entry.allows) continue;
    const std::wstring name = NameOf(entry.account).name;
    if (std::ranges::find(access.names, name) == access.names.end()) access.names.push_back(name);
  }
  return access;
}

}  // namespace vtctl
