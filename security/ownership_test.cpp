#include <vtclass/win32.h>

#include <accctrl.h>
#include <aclapi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/wine.h"
#include "vtclass/security.h"

namespace vtclass::test {
namespace {

using Lines = std::vector<std::wstring>;

constexpr DWORD kFolder = FILE_ATTRIBUTE_DIRECTORY;
constexpr DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT;

struct Entry {
  std::wstring name;
  DWORD attributes = 0;
};

// A folder as it is listed: its entries, and why that begins or ends otherwise than it should.
struct Listing {
  std::vector<Entry> entries;
  DWORD beginError = ERROR_SUCCESS;
  DWORD endError = ERROR_NO_MORE_FILES;
};

// What the system is asked, in words, and what it answers. Ownership is played: changing it takes
// rights that few accounts have.
struct Played {
  Lines asked;
  size_t failAt = 0;        // the question that fails; 0: none
  std::wstring failAtPath;  // questions about this one fail
  DWORD code = ERROR_ACCESS_DENIED;
  bool knowsNoSystem = false;               // by its name
  int open = 0;                             // buffers, searches and links
  std::map<std::wstring, Listing> folders;  // others are listed for real
  std::map<HANDLE, Listing> searches;
};
Played played;

DWORD Ask(const std::wstring& question, const std::wstring& path = L"-") {
  played.asked.push_back(question + L" " + path);
  ::SetLastError(ERROR_GEN_FAILURE);  // these functions report by their result alone
  return played.asked.size() == played.failAt || path == played.failAtPath ? played.code : 0;
}

ACL someList, changedList;

DWORD Set(const std::wstring& path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner,
          PSID group, PACL list, PACL audit) {
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

DWORD Get(const std::wstring& path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PACL* list,
          PSECURITY_DESCRIPTOR* holder) {
  EXPECT_TRUE(type == SE_FILE_OBJECT && what == DACL_SECURITY_INFORMATION);
  const DWORD status = Ask(L"list?", path);
  if (status != ERROR_SUCCESS) return status;
  *holder = ::LocalAlloc(LPTR, 16);
  *list = &someList;
  ++played.open;
  return status;
}

DWORD WINAPI SetNamed(LPWSTR path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner,
                      PSID group, PACL list, PACL audit) {
  return Set(path, type, what, owner, group, list, audit);
}
DWORD WINAPI SetOpened(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner,
                       PSID group, PACL list, PACL audit) {
  return Set(L"(link)", type, what, owner, group, list, audit);
}
DWORD WINAPI GetNamed(LPCWSTR path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID*, PSID*,
                      PACL* list, PACL*, PSECURITY_DESCRIPTOR* holder) {
  return Get(path, type, what, list, holder);
}
DWORD WINAPI GetOpened(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID*, PSID*,
                       PACL* list, PACL*, PSECURITY_DESCRIPTOR* holder) {
  return Get(L"(link)", type, what, list, holder);
}

DWORD WINAPI AddEntry(ULONG count, PEXPLICIT_ACCESSW entry, PACL before, PACL* after) {
  EXPECT_TRUE(count == 1 && before == &someList);
  EXPECT_EQ(entry->grfAccessPermissions, 0x1F01FFu);
  EXPECT_EQ(entry->grfAccessMode, SET_ACCESS);
  EXPECT_EQ(entry->grfInheritance, 0u);
  wchar_t* const trustee = entry->Trustee.ptstrName;
  const bool isNamed = entry->Trustee.TrusteeForm == TRUSTEE_IS_NAME;
  EXPECT_TRUE(isNamed || ::IsWellKnownSid(trustee, WinLocalSystemSid));
  const DWORD status = Ask(L"entry", isNamed ? trustee : L"S-1-5-18");
  if (isNamed && played.knowsNoSystem) return ERROR_NONE_MAPPED;
  if (status != ERROR_SUCCESS) return status;
  *after = static_cast<PACL>(::LocalAlloc(LPTR, sizeof(ACL)));
  (*after)->AclSize = changedList.AclSize;
  ++played.open;
  return status;
}

HLOCAL WINAPI FreeBuffer(HLOCAL buffer) {
  if (buffer) --played.open;
  return ::LocalFree(buffer);
}

HANDLE WINAPI OpenLink(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                       DWORD disposition, DWORD flags, HANDLE) {
  EXPECT_EQ(share, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE});
  EXPECT_EQ(disposition, DWORD{OPEN_EXISTING});
  EXPECT_EQ(flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT});
  const DWORD status = Ask(L"open " + std::to_wstring(access >> 16), path);
  ::SetLastError(status);
  if (status != ERROR_SUCCESS) return INVALID_HANDLE_VALUE;
  ++played.open;
  return ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
}
BOOL WINAPI CloseLink(HANDLE link) {
  --played.open;
  return ::CloseHandle(link);
}

BOOL WINAPI FindNext(HANDLE search, LPWIN32_FIND_DATAW found) {
  const auto known = played.searches.find(search);
  if (known == played.searches.end()) return ::FindNextFileW(search, found);
  auto& [entries, beginError, endError] = known->second;
  ::SetLastError(endError);
  if (entries.empty()) return FALSE;
  wcscpy(found->cFileName, entries.front().name.c_str());
  found->dwFileAttributes = entries.front().attributes;
  entries.erase(entries.begin());
  return TRUE;
}
HANDLE WINAPI FindFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW found) {
  const auto known =
      played.folders.find(std::wstring(pattern, std::wstring_view(pattern).rfind(L'\\')));
  HANDLE search = INVALID_HANDLE_VALUE;
  if (known == played.folders.end()) {
    search = ::FindFirstFileW(pattern, found);
  } else if (known->second.beginError == ERROR_SUCCESS) {
    search = reinterpret_cast<HANDLE>(played.searches.size() + 0x10000);
    Listing listing = known->second;
    const bool isRoot = known->first.ends_with(L':');
    if (!isRoot)
      listing.entries.insert(listing.entries.begin(), {{L".", kFolder}, {L"..", kFolder}});
    played.searches[search] = std::move(listing);
    FindNext(search, found);
  } else {
    ::SetLastError(known->second.beginError);
  }
  if (search != INVALID_HANDLE_VALUE) ++played.open;
  return search;
}
BOOL WINAPI FindEnd(HANDLE search) {
  --played.open;
  return played.searches.contains(search) || ::FindClose(search);
}

class Ownership : public ::testing::Test {
 protected:
  Ownership() {
    played = {};
    changedList.AclSize = 77;
  }
  ~Ownership() override { EXPECT_EQ(played.open, 0); }

  // The paths whose owner the system became, which is what taking over ends with.
  static Lines Taken() {
    Lines taken;
    for (const std::wstring& line : std::exchange(played.asked, {})) {
      if (line.starts_with(L"system ")) taken.push_back(line.substr(7));
    }
    return taken;
  }

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
  const ImportHook<decltype(::FindClose)> end{"KERNEL32.dll", "FindClose", &FindEnd};
};

constexpr wchar_t kTree[] = L"C:\\tree";
const std::wstring kRoot = L"\\\\?\\C:\\tree";

TEST_F(Ownership, Take_GoesByWayOfTheAdministrators_EachStepAfterTheOneBefore) {
  const Lines steps{L"administrators " + kRoot, L"list? " + kRoot, L"entry system",
                    L"list " + kRoot, L"system " + kRoot};
  for (played.failAt = 1;; ++played.failAt) {
    played.code = 1000 + static_cast<DWORD>(played.failAt);
    const bool done = TakeOwnership(kTree) != 0;
    EXPECT_EQ(std::exchange(played.asked, {}),
              Lines(steps.data(), steps.data() + std::min(steps.size(), played.failAt)));
    EXPECT_EQ(played.open, 0);
    if (done) break;
    EXPECT_EQ(::GetLastError(), played.code) << "behind the clean-up";
  }
  EXPECT_EQ(played.failAt, 6u);
  played.failAt = 0;
  played.knowsNoSystem = true;
  EXPECT_EQ(TakeOwnership(kTree), 1);
  ASSERT_EQ(played.asked.size(), 6u);
  EXPECT_EQ(played.asked[3], L"entry S-1-5-18");
}

TEST_F(Ownership, Paths_AreResolvedOnce_AndRootsKeepTheirBackslash) {
  wchar_t current[MAX_PATH] = L"";
  ::GetCurrentDirectoryW(MAX_PATH, current);
  const std::wstring below = L"\\" + std::wstring(300, L'n') + L"\\" + std::wstring(300, L'm');
  const struct {
    std::wstring path, whole, folder;
  } rows[] = {
      {L"C:" + below, L"\\\\?\\C:" + below, L"\\\\?\\C:" + below},
      {L"C:/x//\\", L"\\\\?\\C:\\x\\", L"\\\\?\\C:\\x"},
      {L"C:\\", L"\\\\?\\C:\\", L"\\\\?\\C:\\"},
      {L"\\\\?\\C:\\\\\\", L"\\\\?\\C:\\\\\\", L"\\\\?\\C:\\"},
      {L"\\\\srv\\share\\x\\", L"\\\\?\\UNC\\srv\\share\\x\\", L"\\\\?\\UNC\\srv\\share\\x"},
      {L"\\\\?\\C:\\dots. .\\", L"\\\\?\\C:\\dots. .\\", L"\\\\?\\C:\\dots. ."},
      {L"\\\\?\\Volume{1}\\", L"\\\\?\\Volume{1}\\", L"\\\\?\\Volume{1}\\"},
      {L"x", L"\\\\?\\" + std::wstring(current) + L"\\x",
       L"\\\\?\\" + std::wstring(current) + L"\\x"},
  };
  played.failAt = 1;
  for (const auto& row : rows) {
    EXPECT_EQ(TakeOwnership(row.path.c_str()), 0);
    EXPECT_EQ(std::exchange(played.asked, {}), Lines{L"administrators " + row.whole});
    EXPECT_EQ(::TakeFolderOwnership(row.path.c_str()), 0);
    EXPECT_EQ(std::exchange(played.asked, {}), Lines{L"administrators " + row.folder});
    EXPECT_EQ(::GetLastError(), played.code);
  }
  for (const wchar_t* const nothing :
       {L"", L"\\", L"\\\\", L"/", static_cast<const wchar_t*>(nullptr)}) {
    EXPECT_EQ(TakeOwnership(nothing), 0);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(::TakeFolderOwnership(nothing), 0);
    EXPECT_EQ(TakeFolderOwnership(nothing, nullptr, nullptr), 87u);
  }
  EXPECT_EQ(played.asked, Lines());
}

TEST_F(Ownership, RealTree_IsTakenInTheOrderOfItsListing) {
  const ScratchFolder scratch;
  const std::wstring tree = L"\\\\?\\" + scratch.Path();
  const std::wstring odd = tree + L"\\d\xD83D\xDE00 .";
  for (const std::wstring& folder : {tree + L"\\b", tree + L"\\b\\empty", odd}) {
    ASSERT_TRUE(::CreateDirectoryW(folder.c_str(), nullptr)) << ::GetLastError();
  }
  const Lines files{tree + L"\\a.", tree + L"\\b\\f ", odd + L"\\x", tree + L"\\e"};
  for (const std::wstring& file : files) MakeFile(file, "x");
  EXPECT_EQ(::TakeFolderOwnership((scratch.Path() + L"\\\\").c_str()), 1);
  EXPECT_EQ(Taken(), (Lines{tree, files[0], tree + L"\\b", tree + L"\\b\\empty", files[1], odd,
                            files[2], files[3]}));
  // A file is taken over, and then cannot be listed.
  EXPECT_EQ(::TakeFolderOwnership((scratch / L"e").c_str()), 0);
  EXPECT_NE(::GetLastError(), 0u);
  EXPECT_EQ(Taken(), Lines{files[3]});
  // A root has no "." and "..".
  played.folders = {{L"\\\\?\\Q:", {{{L"x"}}}}};
  EXPECT_EQ(::TakeFolderOwnership(L"Q:\\"), 1);
  EXPECT_EQ(Taken(), (Lines{L"\\\\?\\Q:\\", L"\\\\?\\Q:\\x"}));
  for (const std::wstring& file : files) EXPECT_TRUE(::DeleteFileW(file.c_str()));
  EXPECT_TRUE(::RemoveDirectoryW(odd.c_str()));
}

TEST_F(Ownership, Links_AreTakenThemselvesAndNotFollowed) {
  const std::wstring link = kRoot + L"\\link";
  for (const DWORD attributes : {kLink, kLink | kFolder}) {
    played = {};
    played.folders = {{kRoot, {{{L"link", attributes}, {L"x"}}}}, {link, {{{L"outside"}}}}};
    EXPECT_EQ(::TakeFolderOwnership(kTree), 1);
    const Lines steps{L"open 8 " + link, L"administrators (link)",
                      L"open 2 " + link, L"list? (link)",
                      L"entry system",   L"open 4 " + link,
                      L"list (link)",    L"open 8 " + link,
                      L"system (link)",  L"administrators " + kRoot + L"\\x"};
    ASSERT_EQ(played.asked.size(), 19u);
    EXPECT_EQ(Lines(&played.asked[5], &played.asked[15]), steps);
    for (played.failAt = 6; played.failAt <= 14; ++played.failAt) {
      played.asked.clear();
      EXPECT_EQ(::TakeFolderOwnership(kTree), 0);
      EXPECT_EQ(::GetLastError(), played.code);
      EXPECT_EQ(played.asked.size(), played.failAt);
    }
    played.failAt = 0;
    Taken();
    // One that the caller names is walked.
    EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree\\link"), 1);
    EXPECT_EQ(Taken(), (Lines{link, link + L"\\outside"}));
  }
}

// A report that notes what it is told, and ends the walk where it is told to.
struct Reader {
  Lines told;
  std::wstring endAt;
  bool throws = false;

  static bool Read(OwnershipStep step, const wchar_t* path, unsigned long status, void* context) {
    auto& self = *static_cast<Reader*>(context);
    const std::wstring entry = path + kRoot.size();
    self.told.push_back((step == ownershipTaken ? L"" : L"list ") + entry + L" " +
                        std::to_wstring(status));
    if (self.endAt == entry && self.throws) throw std::runtime_error("lost");
    return self.endAt != entry;
  }
};

TEST_F(Ownership, Walk_StopsAtTheFirstFailure_AReportGoesOnOrEndsIt) {
  const Lines all{L" 0", L"\\a 0", L"\\f 0", L"\\f\\g 0", L"\\z 0"};
  const struct {
    const wchar_t* failAtPath;
    Listing listing;  // of the folder "f"
    unsigned long status;
    Lines taken;
    const wchar_t* endAt;  // where the report ends the walk
    bool throws;
    unsigned long reported;
    Lines told;
  } rows[] = {
      {L"", {{{L"g"}}}, 0, {L"", L"\\a", L"\\f", L"\\f\\g", L"\\z"}, L"-", false, 0, all},
      {L"",
       {{}, 18},
       0,
       {L"", L"\\a", L"\\f", L"\\z"},
       L"\\f",
       false,
       1223,
       {all[0], all[1], all[2]}},
      {L"\\f",
       {{{L"g"}}},
       5,
       {L"", L"\\a"},
       L"-",
       false,
       5,
       {all[0], all[1], L"\\f 5", all[3], all[4]}},
      {L"\\f\\g",
       {{{L"g"}}, 0, 9},
       5,
       {L"", L"\\a", L"\\f"},
       L"-",
       false,
       5,
       {all[0], all[1], all[2], L"\\f\\g 5", L"list \\f 9", all[4]}},
      {L"",
       {{}, 3},
       3,
       {L"", L"\\a", L"\\f"},
       L"-",
       false,
       3,
       {all[0], all[1], all[2], L"list \\f 3", all[4]}},
      {L"",
       {{{L"g"}}, 0, 9},
       9,
       {L"", L"\\a", L"\\f", L"\\f\\g"},
       L"\\a",
       true,
       1223,
       {all[0], all[1]}},
      {L"\\a", {{{L"g"}}}, 5, {L""}, L"\\f\\g", false, 5, {all[0], L"\\a 5", all[2], all[3]}},
      {L"", {{{L"g"}}}, 0, {L"", L"\\a", L"\\f", L"\\f\\g", L"\\z"}, L"", false, 1223, {all[0]}},
  };
  for (const auto& row : rows) {
    played.folders = {{kRoot, {{{L"a"}, {L"f", kFolder}, {L"z"}}}}, {kRoot + L"\\f", row.listing}};
    played.failAtPath = *row.failAtPath ? kRoot + row.failAtPath : L"";
    Lines taken;
    for (const std::wstring& entry : row.taken) taken.push_back(kRoot + entry);
    ::SetLastError(0);
    EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree\\"), row.status == 0 ? 1 : 0);
    if (row.status != 0) EXPECT_EQ(::GetLastError(), row.status);
    EXPECT_EQ(Taken(), taken);
    EXPECT_EQ(TakeFolderOwnership(kTree, nullptr, nullptr), row.status);
    EXPECT_EQ(Taken(), taken);
    Reader reader{{}, row.endAt, row.throws};
    EXPECT_EQ(TakeFolderOwnership(kTree, &Reader::Read, &reader), row.reported);
    EXPECT_EQ(reader.told, row.told);
    Taken();
  }
}

TEST_F(Ownership, Trees_OfAnySizeAndDepth_AlsoWithoutMemory) {
  for (int i = 0; i < 100; ++i) {
    auto& entries = played.folders[kRoot].entries;
    entries.push_back({L"f" + std::to_wstring(i), kFolder});
    played.folders[kRoot + L"\\" + entries.back().name].entries.assign(99, {L"x"});
  }
  EXPECT_EQ(::TakeFolderOwnership(kTree), 1);
  EXPECT_EQ(Taken().size(), 10001u);

  played.folders.clear();
  std::wstring folder = kRoot;
  for (int i = 0; i < 2000; ++i, folder += L"\\d") {
    played.folders[folder].entries = {{L"d", kFolder}};
  }
  played.folders[folder] = {};
  EXPECT_EQ(::TakeFolderOwnership(kTree), 1);
  EXPECT_EQ(Taken().back(), folder);

  played.folders = {{kRoot, {{{L"a"}, {L"f", kFolder}}}},
                    {kRoot + L"\\f", {{{std::wstring(200, L'g')}}}}};
  long n = 1;
  for (bool failed = true; failed; ++n) {
    Allocations allocations;
    allocations.FailAt(n);
    const int result = ::TakeFolderOwnership(kTree);
    failed = allocations.Failed();
    EXPECT_EQ(result, failed ? 0 : 1);
    if (failed) EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(played.open, 0);
  }
  EXPECT_GT(n, 3);
}

// The system itself, without any hook.
TEST(OwnershipForReal, FileBelongsToTheSystem) {
  const ScratchFolder scratch;
  MakeFile(scratch / L"file", "x");
  for (const wchar_t* const name : {L"SeTakeOwnershipPrivilege", L"SeRestorePrivilege"}) {
    if (AssertPrivilege(name, FALSE) == 0) GTEST_SKIP() << "this account may not take ownership";
  }
  EXPECT_EQ(::TakeFolderOwnership(scratch.Path().c_str()), 1)
      << Status(static_cast<long>(::GetLastError()));
  EXPECT_EQ(TakeOwnership((scratch / L"missing").c_str()), 0);
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  VTCLASS_SKIP_UNDER_WINE("the owner never changes");
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_EQ(::GetNamedSecurityInfoW((scratch / L"file").c_str(), SE_FILE_OBJECT,
                                    OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                                    &descriptor),
            DWORD{ERROR_SUCCESS});
  EXPECT_TRUE(::IsWellKnownSid(owner, WinLocalSystemSid));
  ::LocalFree(descriptor);
}

}  // namespace
}  // namespace vtclass::test
