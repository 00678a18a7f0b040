#ifndef VTCLASS_TESTS_SUPPORT_FAKE_OWNERSHIP_H
#define VTCLASS_TESTS_SUPPORT_FAKE_OWNERSHIP_H

#include <vtclass/win32.h>

#include <accctrl.h>
#include <aclapi.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/import_hook.h"
#include "tests/support/no_reason.h"

namespace vtclass::test {

using Lines = std::vector<std::wstring>;

constexpr DWORD kFolder = FILE_ATTRIBUTE_DIRECTORY;
constexpr DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT;

struct Entry {
  std::wstring name;
  DWORD attributes = 0;
  DWORD tag = IO_REPARSE_TAG_SYMLINK;
};

// A folder as it is listed: its entries, and why that begins or ends otherwise than it should.
struct Listing {
  std::vector<Entry> entries;
  DWORD beginError = ERROR_SUCCESS;
  DWORD endError = ERROR_NO_MORE_FILES;
  bool isThere = true;
};

// What the system is asked, in words, and what it answers. Ownership is played: changing it takes
// rights that few accounts have.
struct OwnershipPlay {
  Lines asked;
  size_t failAt = 0;        // the question that fails; 0: none
  std::wstring failAtPath;  // questions about this one fail
  DWORD code = ERROR_ACCESS_DENIED;
  bool knowsNoSystem = false;               // by its name
  int open = 0;                             // buffers, searches and links
  std::map<std::wstring, Listing> folders;  // others are listed for real
  std::map<HANDLE, Listing> searches;
};
inline OwnershipPlay ownership;

inline DWORD Ask(const std::wstring& question, const std::wstring& path = L"-") {
  ownership.asked.push_back(question + L" " + path);
  // These functions report by their result alone. This code would end a listing.
  ::SetLastError(ERROR_NO_MORE_FILES);
  return ownership.asked.size() == ownership.failAt || path == ownership.failAtPath ? ownership.code
                                                                                    : 0;
}

inline ACL someList;
inline ACL changedList{ACL_REVISION, 0, 77, 0, 0};

inline DWORD Set(const std::wstring& path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what,
                 PSID owner, PSID group, PACL list, PACL audit) {
  EXPECT_TRUE(type == SE_FILE_OBJECT && !group && !audit);
  if (what == DACL_SECURITY_INFORMATION) {
    EXPECT_TRUE(!owner && list && list->AclSize == changedList.AclSize);
    return Ask(L"list", path);
  }
  EXPECT_EQ(what, DWORD{OWNER_SECURITY_INFORMATION});
  EXPECT_FALSE(list);
  if (::IsWellKnownSid(owner, WinLocalSystemSid)) return Ask(L"system", path);
  EXPECT_TRUE(::IsWellKnownSid(owner, WinBuiltinAdministratorsSid));
  return Ask(L"administrators", path);
}

inline DWORD Get(const std::wstring& path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what,
                 PACL* list, PSECURITY_DESCRIPTOR* holder) {
  EXPECT_TRUE(type == SE_FILE_OBJECT && what == DACL_SECURITY_INFORMATION);
  const DWORD status = Ask(L"list?", path);
  if (status != ERROR_SUCCESS) return status;
  *holder = ::LocalAlloc(LPTR, 16);
  *list = &someList;
  ++ownership.open;
  return status;
}

inline DWORD WINAPI SetNamed(LPWSTR path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what,
                             PSID owner, PSID group, PACL list, PACL audit) {
  return Set(path, type, what, owner, group, list, audit);
}
inline DWORD WINAPI SetOpened(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner,
                              PSID group, PACL list, PACL audit) {
  return Set(L"(link)", type, what, owner, group, list, audit);
}
inline DWORD WINAPI GetNamed(LPCWSTR path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID*,
                             PSID*, PACL* list, PACL*, PSECURITY_DESCRIPTOR* holder) {
  return Get(path, type, what, list, holder);
}
inline DWORD WINAPI GetOpened(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID*, PSID*,
                              PACL* list, PACL*, PSECURITY_DESCRIPTOR* holder) {
  return Get(L"(link)", type, what, list, holder);
}

inline DWORD WINAPI AddEntry(ULONG count, PEXPLICIT_ACCESSW entry, PACL before, PACL* after) {
  EXPECT_TRUE(count == 1 && before == &someList);
  EXPECT_EQ(entry->grfAccessPermissions, 0x1F01FFu);
  EXPECT_EQ(entry->grfAccessMode, SET_ACCESS);
  EXPECT_EQ(entry->grfInheritance, 0u);
  wchar_t* const trustee = entry->Trustee.ptstrName;
  const bool isNamed = entry->Trustee.TrusteeForm == TRUSTEE_IS_NAME;
  EXPECT_TRUE(isNamed || ::IsWellKnownSid(trustee, WinLocalSystemSid));
  const DWORD status = Ask(L"entry", isNamed ? trustee : L"S-1-5-18");
  if (isNamed && ownership.knowsNoSystem) return ERROR_NONE_MAPPED;
  if (status != ERROR_SUCCESS) return status;
  *after = static_cast<PACL>(::LocalAlloc(LPTR, sizeof(ACL)));
  (*after)->AclSize = changedList.AclSize;
  ++ownership.open;
  return status;
}

inline HLOCAL WINAPI FreeBuffer(HLOCAL buffer) {
  if (buffer) --ownership.open;
  return ::LocalFree(buffer);
}

inline HANDLE WINAPI OpenLink(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                              DWORD disposition, DWORD flags, HANDLE) {
  const DWORD before = ::GetLastError();
  EXPECT_EQ(share, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE});
  EXPECT_EQ(disposition, DWORD{OPEN_EXISTING});
  EXPECT_EQ(flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT});
  const DWORD status = Ask(L"open " + std::to_wstring(access >> 16), path);
  ::SetLastError(before);
  TellReason(status);
  if (status != ERROR_SUCCESS) return INVALID_HANDLE_VALUE;
  ++ownership.open;
  return ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
}
inline BOOL WINAPI CloseLink(HANDLE link) {
  --ownership.open;
  return ::CloseHandle(link);
}

inline BOOL WINAPI FindNext(HANDLE search, LPWIN32_FIND_DATAW found) {
  const auto known = ownership.searches.find(search);
  if (known == ownership.searches.end()) return ::FindNextFileW(search, found);
  auto& entries = known->second.entries;
  if (entries.empty()) return TellReason(known->second.endError), FALSE;
  ::lstrcpyW(found->cFileName, entries.front().name.c_str());
  found->dwFileAttributes = entries.front().attributes;
  found->dwReserved0 = entries.front().tag;
  entries.erase(entries.begin());
  return TRUE;
}
inline HANDLE WINAPI FindFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW found) {
  const auto known =
      ownership.folders.find(std::wstring(pattern, std::wstring_view(pattern).rfind(L'\\')));
  HANDLE search = INVALID_HANDLE_VALUE;
  if (known == ownership.folders.end()) {
    search = ::FindFirstFileW(pattern, found);
  } else if (known->second.beginError == ERROR_SUCCESS) {
    search = reinterpret_cast<HANDLE>(ownership.searches.size() + 0x10000);
    Listing listing = known->second;
    const bool isRoot = known->first.ends_with(L':');
    if (!isRoot)
      listing.entries.insert(listing.entries.begin(), {{L".", kFolder}, {L"..", kFolder}});
    ownership.searches[search] = std::move(listing);
    FindNext(search, found);
  } else {
    TellReason(known->second.beginError);
  }
  if (search != INVALID_HANDLE_VALUE) ++ownership.open;
  return search;
}
inline DWORD WINAPI Attributes(LPCWSTR path) {
  const auto known = ownership.folders.find(path);
  if (known == ownership.folders.end()) return ::GetFileAttributesW(path);
  return known->second.isThere ? kFolder : INVALID_FILE_ATTRIBUTES;
}
inline BOOL WINAPI FindEnd(HANDLE search) {
  --ownership.open;
  return ownership.searches.contains(search) || ::FindClose(search);
}

/* Answers what the DLL under test asks about owners, access lists and folders, by `ownership`, for
 * one scope. What stays open fails the test. One at a time in a process. */
class FakeOwnership {
 public:
  FakeOwnership() { ownership = {}; }
  ~FakeOwnership() { EXPECT_EQ(ownership.open, 0); }
  FakeOwnership(const FakeOwnership&) = delete;
  FakeOwnership& operator=(const FakeOwnership&) = delete;

  /* The paths whose owner the system became since the last call, which is what taking over ends
   * with. */
  static Lines Taken() {
    Lines taken;
    for (const std::wstring& line : std::exchange(ownership.asked, {})) {
      if (line.starts_with(L"system ")) taken.push_back(line.substr(7));
    }
    return taken;
  }

 private:
  const ImportHook<decltype(::SetNamedSecurityInfoW)> setNamed{"ADVAPI32.dll",
                                                               "SetNamedSecurityInfoW", &SetNamed};
  const ImportHook<decltype(::GetNamedSecurityInfoW)> getNamed{"ADVAPI32.dll",
                                                               "GetNamedSecurityInfoW", &GetNamed};
  const ImportHook<decltype(::SetSecurityInfo)> setOpened{"ADVAPI32.dll", "SetSecurityInfo",
                                                          &SetOpened};
  const ImportHook<decltype(::GetSecurityInfo)> getOpened{"ADVAPI32.dll", "GetSecurityInfo",
                                                          &GetOpened};
  const ImportHook<decltype(::SetEntriesInAclW)> addEntry{"ADVAPI32.dll", "SetEntriesInAclW",
                                                          &AddEntry};
  const ImportHook<decltype(::LocalFree)> freeBuffer{"KERNEL32.dll", "LocalFree", &FreeBuffer};
  const ImportHook<decltype(::CreateFileW)> openLink{"KERNEL32.dll", "CreateFileW", &OpenLink};
  const ImportHook<decltype(::CloseHandle)> closeLink{"KERNEL32.dll", "CloseHandle", &CloseLink};
  const ImportHook<decltype(::FindFirstFileW)> first{"KERNEL32.dll", "FindFirstFileW", &FindFirst};
  const ImportHook<decltype(::FindNextFileW)> next{"KERNEL32.dll", "FindNextFileW", &FindNext};
  const ImportHook<decltype(::GetFileAttributesW)> attributes{"KERNEL32.dll", "GetFileAttributesW",
                                                              &Attributes};
  const ImportHook<decltype(::FindClose)> end{"KERNEL32.dll", "FindClose", &FindEnd};
};

}  // namespace vtclass::test

#endif
