#include "tools/vtctl/credential/key_readers.h"

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>
#include <optional>

#include "platform/owned.h"

namespace vtctl {
namespace {

constexpr DWORD kNameUnits = 257;

// An entry that speaks of reading values.
struct Entry {
  bool allows;
  PSID account;
};

std::optional<Entry> EntryAt(ACL* list, DWORD index) {
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
  if (!(rights & KEY_QUERY_VALUE)) return std::nullopt;
  return Entry{allows, &entry->SidStart};
}

std::vector<Entry> EntriesOf(ACL* list) {
  std::vector<Entry> entries;
  for (DWORD i = 0; i < list->AceCount; ++i) {
    if (const std::optional<Entry> entry = EntryAt(list, i)) entries.push_back(*entry);
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

// "BUILTIN\Administrators"; the account's number where nobody knows its name.
std::wstring NameOf(PSID account) {
  wchar_t name[kNameUnits] = {};
  wchar_t domain[kNameUnits] = {};
  DWORD nameUnits = kNameUnits;
  DWORD domainUnits = kNameUnits;
  SID_NAME_USE use = {};
  if (::LookupAccountSidW(nullptr, account, name, &nameUnits, domain, &domainUnits, &use)) {
    return domain[0] == L'\0' ? name : domain + (L"\\" + std::wstring(name));
  }
  wchar_t* number = nullptr;
  if (!::ConvertSidToStringSidW(account, &number)) return L"?";
  const vtclass::platform::OwnedLocalMemory memory(number);
  return number;
}

}  // namespace

bool LetsEveryUserRead(ACL* list) {
  if (!list) return true;
  for (const Entry& entry : EntriesOf(list)) {
    if (IsOfEveryUser(entry.account)) return entry.allows;
  }
  return false;
}

KeyReaders ReadersOf(HKEY key) {
  KeyReaders readers;
  ACL* list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  readers.error = ::GetSecurityInfo(key, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr,
                                    nullptr, &list, nullptr, &descriptor);
  if (readers.error != ERROR_SUCCESS) return readers;
  const vtclass::platform::OwnedLocalMemory memory(descriptor);
  readers.isEveryUser = LetsEveryUserRead(list);
  if (!list) return readers;
  for (const Entry& entry : EntriesOf(list)) {
    if (!entry.allows) continue;
    const std::wstring name = NameOf(entry.account);
    if (std::ranges::find(readers.names, name) == readers.names.end())
      readers.names.push_back(name);
  }
  return readers;
}

}  // namespace vtctl
