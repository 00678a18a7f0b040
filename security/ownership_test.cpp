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

#include "security/folder_path.h"
#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/wine.h"
#include "vtclass/security.h"

namespace vtclass::test {
namespace {

using Lines = std::vector<std::wstring>;

struct Entry {
  std::wstring name;
  DWORD attributes = 0;
};

// What the system is asked, in words, and what it answers. Ownership is played: changing it takes
// rights that few accounts have.
struct Played {
  Lines asked;
  int count = 0;   // of the questions
  int failAt = 0;  // call number that fails, 0 for none
  DWORD code = ERROR_ACCESS_DENIED;
  std::wstring failAtPath;     // each change of this one fails
  bool knowsNoSystem = false;  // by its name
  int buffers = 0, searches = 0, links = 0;
  int mostSearches = 0;

  // Played folders, by path; others are listed for real.
  std::map<std::wstring, std::vector<Entry>> folders;
  std::map<std::wstring, DWORD> listErrors, breakErrors;
};
Played played;

DWORD Ask(const std::wstring& question, const std::wstring& path) {
  played.asked.push_back(question + (path.empty() ? L"" : L" " + path));
  ::SetLastError(ERROR_GEN_FAILURE);  // these functions report by their result alone
  const bool fails =
      ++played.count == played.failAt || (!path.empty() && path == played.failAtPath);
  return fails ? played.code : ERROR_SUCCESS;
}

std::wstring OwnerText(PSID owner) {
  if (::IsWellKnownSid(owner, WinBuiltinAdministratorsSid)) return L"administrators";
  return ::IsWellKnownSid(owner, WinLocalSystemSid) ? L"system" : L"somebody";
}

ACL someList, changedList;

DWORD Change(const std::wstring& path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner,
             PSID group, PACL list, PACL audit) {
  EXPECT_EQ(type, SE_FILE_OBJECT);
  EXPECT_EQ(group, nullptr);
  EXPECT_EQ(audit, nullptr);
  if (what == OWNER_SECURITY_INFORMATION) return Ask(L"owner " + OwnerText(owner), path);
  EXPECT_EQ(what, DWORD{DACL_SECURITY_INFORMATION});
  EXPECT_EQ(owner, nullptr);
  return Ask(list && list->AclSize == changedList.AclSize ? L"list" : L"another list", path);
}
DWORD Read(const std::wstring& path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PACL* list,
           PSECURITY_DESCRIPTOR* holder) {
  EXPECT_EQ(type, SE_FILE_OBJECT);
  EXPECT_EQ(what, DWORD{DACL_SECURITY_INFORMATION});
  const DWORD status = Ask(L"list?", path);
  if (status != ERROR_SUCCESS) return status;
  *holder = ::LocalAlloc(LPTR, 16);
  *list = &someList;
  ++played.buffers;
  return status;
}

DWORD WINAPI SetNamed(LPWSTR path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner,
                      PSID group, PACL list, PACL audit) {
  return Change(path, type, what, owner, group, list, audit);
}
DWORD WINAPI GetNamed(LPCWSTR path, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID*, PSID*,
                      PACL* list, PACL*, PSECURITY_DESCRIPTOR* holder) {
  return Read(path, type, what, list, holder);
}
DWORD WINAPI SetOpened(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID owner,
                       PSID group, PACL list, PACL audit) {
  return Change(L"(link)", type, what, owner, group, list, audit);
}
DWORD WINAPI GetOpened(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION what, PSID*, PSID*,
                       PACL* list, PACL*, PSECURITY_DESCRIPTOR* holder) {
  return Read(L"(link)", type, what, list, holder);
}

DWORD WINAPI AddEntry(ULONG count, PEXPLICIT_ACCESSW entry, PACL before, PACL* after) {
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(before, &someList);
  EXPECT_EQ(entry->grfAccessPermissions, 0x1F01FFu);
  EXPECT_EQ(entry->grfAccessMode, SET_ACCESS);
  EXPECT_EQ(entry->grfInheritance, 0u);
  const bool byName = entry->Trustee.TrusteeForm == TRUSTEE_IS_NAME;
  const DWORD status = Ask(byName ? L"entry " + std::wstring(entry->Trustee.ptstrName)
                                  : L"entry for " + OwnerText(entry->Trustee.ptstrName),
                           L"");
  if (byName && played.knowsNoSystem) return ERROR_NONE_MAPPED;
  if (status != ERROR_SUCCESS) return status;
  *after = static_cast<PACL>(::LocalAlloc(LPTR, sizeof(ACL)));
  (*after)->AclSize = changedList.AclSize;
  ++played.buffers;
  return status;
}
HLOCAL WINAPI FreeBuffer(HLOCAL buffer) {
  if (buffer) --played.buffers;
  return ::LocalFree(buffer);
}

HANDLE WINAPI OpenLink(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES,
                       DWORD disposition, DWORD flags, HANDLE) {
  EXPECT_EQ(share, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE});
  EXPECT_EQ(disposition, DWORD{OPEN_EXISTING});
  EXPECT_EQ(flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT});
  if (Ask(L"open " + std::to_wstring(access >> 16), path) != ERROR_SUCCESS) {
    ::SetLastError(played.code);
    return INVALID_HANDLE_VALUE;
  }
  ++played.links;
  return ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
}
BOOL WINAPI CloseLink(HANDLE link) {
  --played.links;
  return ::CloseHandle(link);
}

// A search in a played folder, which outlives changes of `played`.
struct Search {
  std::vector<Entry> entries;
  DWORD end;
  size_t next = 0;

  BOOL Next(WIN32_FIND_DATAW* found) {
    ::SetLastError(end);
    if (next == entries.size()) return FALSE;
    wcscpy(found->cFileName, entries[next].name.c_str());
    found->dwFileAttributes = entries[next++].attributes;
    return TRUE;
  }
};
std::map<HANDLE, Search> searches;

HANDLE WINAPI FindFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW found) {
  const std::wstring folder(pattern, std::wstring_view(pattern).rfind(L'\\'));
  HANDLE search = INVALID_HANDLE_VALUE;
  const auto known = played.folders.find(folder);
  if (played.listErrors.contains(folder)) {
    ::SetLastError(played.listErrors[folder]);
  } else if (known == played.folders.end()) {
    search = ::FindFirstFileW(pattern, found);
  } else {
    static std::uintptr_t last = 0x1000;
    search = reinterpret_cast<HANDLE>(++last);
    const auto broken = played.breakErrors.find(folder);
    Search made{known->second,
                broken == played.breakErrors.end() ? ERROR_NO_MORE_FILES : broken->second};
    made.entries.insert(made.entries.begin(),
                        {{L".", FILE_ATTRIBUTE_DIRECTORY}, {L"..", FILE_ATTRIBUTE_DIRECTORY}});
    made.Next(found);
    searches.emplace(search, std::move(made));
  }
  if (search != INVALID_HANDLE_VALUE) ++played.searches;
  played.mostSearches = std::max(played.mostSearches, played.searches);
  return search;
}
BOOL WINAPI FindNext(HANDLE search, LPWIN32_FIND_DATAW found) {
  const auto known = searches.find(search);
  return known == searches.end() ? ::FindNextFileW(search, found) : known->second.Next(found);
}
BOOL WINAPI FindEnd(HANDLE search) {
  --played.searches;
  return searches.erase(search) == 1 || ::FindClose(search);
}

constexpr DWORD kFolder = FILE_ATTRIBUTE_DIRECTORY;
constexpr DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT;

class Ownership : public ::testing::Test {
 protected:
  Ownership() {
    played = {};
    changedList.AclSize = 77;
  }
  ~Ownership() override {
    EXPECT_EQ(played.buffers, 0);
    EXPECT_EQ(played.searches, 0);
    EXPECT_EQ(played.links, 0);
  }

  // The paths whose owner the system became last, which is what taking over ends with.
  static Lines Taken() {
    Lines taken;
    for (const std::wstring& line : std::exchange(played.asked, {})) {
      if (line.starts_with(L"owner system ")) taken.push_back(line.substr(13));
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

const std::wstring kRoot = L"\\\\?\\C:\\tree";

TEST_F(Ownership, Take_GoesByWayOfTheAdministrators_EachStepAfterTheOneBefore) {
  const Lines steps{L"owner administrators " + kRoot, L"list? " + kRoot, L"entry system",
                    L"list " + kRoot, L"owner system " + kRoot};
  for (played.failAt = 1;; ++played.failAt) {
    played.count = 0;
    played.code = 1000 + static_cast<DWORD>(played.failAt);
    const bool done = TakeOwnership(L"C:\\tree") != 0;
    const size_t asked = std::min<size_t>(steps.size(), static_cast<size_t>(played.failAt));
    EXPECT_EQ(std::exchange(played.asked, {}), Lines(steps.data(), steps.data() + asked));
    EXPECT_EQ(played.buffers, 0);
    if (done) break;
    EXPECT_EQ(::GetLastError(), played.code) << "behind the clean-up";
  }
  EXPECT_EQ(played.failAt, 6);
  played.failAt = 0;
  played.knowsNoSystem = true;
  ASSERT_EQ(TakeOwnership(L"C:\\tree"), 1);
  EXPECT_EQ(played.asked[2] + L", " + played.asked[3], L"entry system, entry for system");
}

TEST_F(Ownership, Paths_AreResolvedOnce_AndRootsKeepTheirBackslash) {
  wchar_t current[MAX_PATH] = L"";
  ::GetCurrentDirectoryW(MAX_PATH, current);
  const std::wstring here = std::wstring(L"\\\\?\\") + current;
  const std::wstring longName(300, L'n');
  const struct {
    std::wstring path, whole, folder;
  } rows[] = {
      {L"C:\\x", L"\\\\?\\C:\\x", L"\\\\?\\C:\\x"},
      {L"C:/x//\\", L"\\\\?\\C:\\x\\", L"\\\\?\\C:\\x"},
      {L"C:\\", L"\\\\?\\C:\\", L"\\\\?\\C:\\"},
      {L"\\\\?\\C:\\\\\\", L"\\\\?\\C:\\\\\\", L"\\\\?\\C:\\"},
      {L"C:\\" + longName + L"\\" + longName, L"\\\\?\\C:\\" + longName + L"\\" + longName,
       L"\\\\?\\C:\\" + longName + L"\\" + longName},
      {L"\\\\srv\\share\\x\\", L"\\\\?\\UNC\\srv\\share\\x\\", L"\\\\?\\UNC\\srv\\share\\x"},
      {L"\\\\srv\\share\\", L"\\\\?\\UNC\\srv\\share\\", L"\\\\?\\UNC\\srv\\share"},
      {L"\\\\?\\C:\\dots. .\\", L"\\\\?\\C:\\dots. .\\", L"\\\\?\\C:\\dots. ."},
      {L"\\\\?\\Volume{1}\\", L"\\\\?\\Volume{1}\\", L"\\\\?\\Volume{1}\\"},
      {L"x", here + L"\\x", here + L"\\x"},
  };
  played.code = ERROR_PATH_NOT_FOUND;
  for (const auto& row : rows) {
    for (const bool isFolder : {false, true}) {
      played.count = 0;
      played.failAt = 1;
      EXPECT_EQ(
          isFolder ? ::TakeFolderOwnership(row.path.c_str()) : TakeOwnership(row.path.c_str()), 0);
      EXPECT_EQ(::GetLastError(), played.code);
      EXPECT_EQ(std::exchange(played.asked, {}),
                (Lines{L"owner administrators " + (isFolder ? row.folder : row.whole)}));
    }
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
  for (const wchar_t* const folder : {L"\\b", L"\\b\\empty", L"\\d\xD83D\xDE00 ."}) {
    ASSERT_TRUE(::CreateDirectoryW((tree + folder).c_str(), nullptr)) << ::GetLastError();
  }
  for (const wchar_t* const file : {L"\\a.", L"\\b\\f ", L"\\d\xD83D\xDE00 .\\x", L"\\e"}) {
    MakeFile(tree + file, "x");
  }
  EXPECT_EQ(::TakeFolderOwnership((scratch.Path() + L"\\\\").c_str()), 1);
  EXPECT_EQ(Taken(),
            (Lines{tree, tree + L"\\a.", tree + L"\\b", tree + L"\\b\\empty", tree + L"\\b\\f ",
                   tree + L"\\d\xD83D\xDE00 .", tree + L"\\d\xD83D\xDE00 .\\x", tree + L"\\e"}));
  // A file is taken over, and then cannot be listed.
  EXPECT_EQ(::TakeFolderOwnership((scratch / L"e").c_str()), 0);
  EXPECT_NE(::GetLastError(), 0u);
  EXPECT_EQ(Taken(), Lines{tree + L"\\e"});
  for (const wchar_t* const entry : {L"\\a.", L"\\b\\f ", L"\\d\xD83D\xDE00 .\\x"}) {
    EXPECT_TRUE(::DeleteFileW((tree + entry).c_str()));
  }
  EXPECT_TRUE(::RemoveDirectoryW((tree + L"\\d\xD83D\xDE00 .").c_str()));
}

TEST_F(Ownership, Links_AreTakenThemselvesAndNotFollowed) {
  played.folders = {{kRoot, {{L"junction", kFolder | kLink}, {L"link", kLink}, {L"x"}}},
                    {kRoot + L"\\junction", {{L"outside"}}}};
  EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree"), 1);
  Lines expected;
  for (const std::wstring& link : {kRoot + L"\\junction", kRoot + L"\\link"}) {
    const std::wstring steps[] = {L"open 8 " + link,     L"owner administrators (link)",
                                  L"open 2 " + link,     L"list? (link)",
                                  L"entry system",       L"open 4 " + link,
                                  L"list (link)",        L"open 8 " + link,
                                  L"owner system (link)"};
    expected.insert(expected.end(), std::begin(steps), std::end(steps));
  }
  const Lines seen(played.asked.begin() + 5, played.asked.end() - 5);
  EXPECT_EQ(seen, expected);
  EXPECT_EQ(played.asked.back(), L"owner system " + kRoot + L"\\x");
  for (int failAt = 6; failAt <= 14; ++failAt) {
    played.asked.clear();
    played.count = 0;
    played.failAt = failAt;
    EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree"), 0);
    EXPECT_EQ(::GetLastError(), played.code);
    EXPECT_EQ(played.asked.size(), static_cast<size_t>(failAt));
  }
  // One that the caller names is walked.
  played.failAt = 0;
  Taken();
  EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree\\junction"), 1);
  EXPECT_EQ(Taken(), (Lines{kRoot + L"\\junction", kRoot + L"\\junction\\outside"}));
}

TEST_F(Ownership, Walk_StopsAtTheFirstFailure_AndALaterListingTellsItsEnd) {
  played.folders = {{kRoot, {{L"a"}, {L"f", kFolder}, {L"z"}}}, {kRoot + L"\\f", {{L"g"}}}};
  const std::wstring f = kRoot + L"\\f";
  const struct {
    DWORD listError, breakError;
    const wchar_t* failAtPath;
    int result;
    Lines taken;
  } rows[] = {
      {0, 0, L"", 1, {kRoot, kRoot + L"\\a", f, f + L"\\g", kRoot + L"\\z"}},
      {0, 0, L"\\f\\g", 0, {kRoot, kRoot + L"\\a", f}},
      {0, 0, L"\\f", 0, {kRoot, kRoot + L"\\a"}},
      {5, 0, L"", 0, {kRoot, kRoot + L"\\a", f}},
      {ERROR_NO_MORE_FILES, 0, L"", 1, {kRoot, kRoot + L"\\a", f, kRoot + L"\\z"}},
      {0, 5, L"", 0, {kRoot, kRoot + L"\\a", f, f + L"\\g"}},
  };
  for (const auto& row : rows) {
    played.listErrors.clear();
    played.breakErrors.clear();
    if (row.listError != 0) played.listErrors[f] = row.listError;
    if (row.breakError != 0) played.breakErrors[f] = row.breakError;
    played.failAtPath = *row.failAtPath ? kRoot + row.failAtPath : L"";
    ::SetLastError(0);
    EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree\\"), row.result);
    if (row.result == 0) EXPECT_EQ(::GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(Taken(), row.taken);
  }
}

TEST_F(Ownership, Trees_OfAnySizeAndDepth) {
  auto& wide = played.folders[kRoot];
  for (int i = 0; i < 100; ++i) {
    wide.push_back({L"f" + std::to_wstring(i), kFolder});
    played.folders[kRoot + L"\\" + wide.back().name].assign(99, {L"x"});
  }
  EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree"), 1);
  EXPECT_EQ(Taken().size(), 10001u);
  EXPECT_EQ(played.mostSearches, 2);

  played.folders.clear();
  std::wstring folder = kRoot;
  for (int i = 0; i < 2000; ++i, folder += L"\\d") played.folders[folder] = {{L"d", kFolder}};
  played.folders[folder] = {};
  EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree"), 1);
  EXPECT_EQ(Taken().back(), folder);
  played.folders = {{kRoot, {{L"a"}, {L"f", kFolder}}},
                    {kRoot + L"\\f", {{std::wstring(200, L'g')}}}};

  for (long n = 1;; ++n) {
    Allocations allocations;
    allocations.FailAt(n);
    const int result = ::TakeFolderOwnership(L"C:\\tree");
    EXPECT_EQ(result, allocations.Failed() ? 0 : 1);
    if (result != 0) break;
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(played.searches, 0);
  }
}

// A report that notes what it is told, and ends the walk where it is told to.
struct Reader {
  Lines told;
  std::wstring endAt;
  bool throws = false;

  static bool Read(OwnershipStep step, const wchar_t* path, unsigned long status, void* context) {
    auto& self = *static_cast<Reader*>(context);
    self.told.push_back((step == ownershipTaken ? L"" : L"list ") +
                        std::wstring(path + kRoot.size()) + L" " + std::to_wstring(status));
    if (self.endAt != path + kRoot.size()) return true;
    if (self.throws) throw std::runtime_error("lost");
    return false;
  }
};

TEST_F(Ownership, Report_TellsEachEntry_GoesOnBehindFailures_AndEndsTheWalk) {
  played.folders = {{kRoot, {{L"a"}, {L"f", kFolder}, {L"h", kFolder}, {L"z"}}},
                    {kRoot + L"\\f", {{L"g"}}}};
  played.listErrors[kRoot + L"\\h"] = 3;
  played.breakErrors[kRoot + L"\\f"] = 1117;
  const struct {
    const wchar_t* failAtPath;
    const wchar_t* endAt;
    bool throws;
    unsigned long result;
    Lines told;
  } rows[] = {
      {L"",
       L"-",
       false,
       1117,
       {L" 0", L"\\a 0", L"\\f 0", L"\\f\\g 0", L"list \\f 1117", L"\\h 0", L"list \\h 3",
        L"\\z 0"}},
      {L"\\f",
       L"-",
       false,
       5,
       {L" 0", L"\\a 0", L"\\f 5", L"\\f\\g 0", L"list \\f 1117", L"\\h 0", L"list \\h 3",
        L"\\z 0"}},
      {L"\\a", L"\\f\\g", false, 5, {L" 0", L"\\a 5", L"\\f 0", L"\\f\\g 0"}},
      {L"", L"\\f\\g", false, 1223, {L" 0", L"\\a 0", L"\\f 0", L"\\f\\g 0"}},
      {L"", L"\\a", true, 1223, {L" 0", L"\\a 0"}},
      {L"", L"", false, 1223, {L" 0"}},
  };
  for (const auto& row : rows) {
    played.failAtPath = *row.failAtPath ? kRoot + row.failAtPath : L"";
    Reader reader{{}, row.endAt, row.throws};
    EXPECT_EQ(TakeFolderOwnership(L"C:\\tree", &Reader::Read, &reader), row.result);
    EXPECT_EQ(reader.told, row.told);
  }
  played.failAtPath.clear();
  EXPECT_EQ(TakeFolderOwnership(L"C:\\tree", nullptr, nullptr), 1117u);
  played.breakErrors.clear();
  played.listErrors.clear();
  played.folders[kRoot + L"\\h"] = {};
  EXPECT_EQ(TakeFolderOwnership(L"C:\\tree", nullptr, nullptr), 0u);
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
