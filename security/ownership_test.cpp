#include <vtclass/win32.h>

#include <accctrl.h>
#include <aclapi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/fake_ownership.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/wine.h"
#include "vtclass/security.h"

namespace vtclass::test {
namespace {

class Ownership : public ::testing::Test, protected FakeOwnership {};

constexpr wchar_t kTree[] = L"C:\\tree";
const std::wstring kRoot = L"\\\\?\\C:\\tree";

TEST_F(Ownership, Take_GoesByWayOfTheAdministrators_EachStepAfterTheOneBefore) {
  const Lines steps{L"administrators " + kRoot, L"list? " + kRoot, L"entry system",
                    L"list " + kRoot, L"system " + kRoot};
  for (ownership.failAt = 1;; ++ownership.failAt) {
    ownership.code = 1000 + static_cast<DWORD>(ownership.failAt);
    const bool done = TakeOwnership(kTree) != 0;
    EXPECT_EQ(std::exchange(ownership.asked, {}),
              Lines(steps.data(), steps.data() + std::min(steps.size(), ownership.failAt)));
    EXPECT_EQ(ownership.open, 0);
    if (done) break;
    EXPECT_EQ(::GetLastError(), ownership.code) << "behind the clean-up";
  }
  EXPECT_EQ(ownership.failAt, 6u);
  ownership.failAt = 0;
  ownership.knowsNoSystem = true;
  EXPECT_EQ(TakeOwnership(kTree), 1);
  ASSERT_EQ(ownership.asked.size(), 6u);
  EXPECT_EQ(ownership.asked[3], L"entry S-1-5-18");
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
      {L"\\\\.\\C:\\x", L"\\\\?\\C:\\x", L"\\\\?\\C:\\x"},
      {L"\\\\.\\C:", L"\\\\?\\C:", L"\\\\?\\C:"},
      {L"NUL", L"\\\\?\\NUL", L"\\\\?\\NUL"},
      {L"//?/C:/x/", L"\\\\?\\C:\\x\\", L"\\\\?\\C:\\x"},
      {L"\\\\?/C:\\x", L"\\\\?\\C:\\x", L"\\\\?\\C:\\x"},
      {L"x", L"\\\\?\\" + std::wstring(current) + L"\\x",
       L"\\\\?\\" + std::wstring(current) + L"\\x"},
  };
  ownership.failAt = 1;
  for (const auto& row : rows) {
    EXPECT_EQ(TakeOwnership(row.path.c_str()), 0);
    EXPECT_EQ(std::exchange(ownership.asked, {}), Lines{L"administrators " + row.whole});
    EXPECT_EQ(::TakeFolderOwnership(row.path.c_str()), 0);
    EXPECT_EQ(std::exchange(ownership.asked, {}), Lines{L"administrators " + row.folder});
    EXPECT_EQ(::GetLastError(), ownership.code);
  }
  for (const wchar_t* const nothing :
       {L"", L"\\", L"\\\\", L"/", static_cast<const wchar_t*>(nullptr)}) {
    EXPECT_EQ(TakeOwnership(nothing), 0);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(::TakeFolderOwnership(nothing), 0);
    EXPECT_EQ(TakeFolderOwnership(nothing, nullptr, nullptr), 87u);
  }
  // What the system answers for blanks.
  for (const auto& [reason, status] : {std::pair{kNoReason, 123u}, std::pair{206ul, 206u}}) {
    const auto noPath = Replace<decltype(::GetFullPathNameW)>(
        "GetFullPathNameW", [=](auto...) { return TellReason(reason), DWORD{0}; });
    ::SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(TakeOwnership(L" "), 0);
    EXPECT_EQ(::GetLastError(), status);
    EXPECT_EQ(::TakeFolderOwnership(L" "), 0);
    EXPECT_EQ(::GetLastError(), status);
    EXPECT_EQ(TakeFolderOwnership(L" ", nullptr, nullptr), status);
  }
  EXPECT_EQ(ownership.asked, Lines());
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
  ownership.folders = {{L"\\\\?\\Q:", {{{L"x"}}}}};
  EXPECT_EQ(::TakeFolderOwnership(L"Q:\\"), 1);
  EXPECT_EQ(Taken(), (Lines{L"\\\\?\\Q:\\", L"\\\\?\\Q:\\x"}));
  for (const std::wstring& file : files) EXPECT_TRUE(::DeleteFileW(file.c_str()));
  EXPECT_TRUE(::RemoveDirectoryW(odd.c_str()));
}

TEST_F(Ownership, Links_AreTakenThemselvesAndNotFollowed) {
  const std::wstring link = kRoot + L"\\link";
  for (const DWORD attributes : {kLink, kLink | kFolder}) {
    ownership = {};
    ownership.folders = {{kRoot, {{{L"link", attributes}, {L"x"}}}}, {link, {{{L"outside"}}}}};
    EXPECT_EQ(::TakeFolderOwnership(kTree), 1);
    const Lines steps{L"open 8 " + link, L"administrators (link)",
                      L"open 2 " + link, L"list? (link)",
                      L"entry system",   L"open 6 " + link,
                      L"list (link)",    L"open 8 " + link,
                      L"system (link)",  L"administrators " + kRoot + L"\\x"};
    ASSERT_EQ(ownership.asked.size(), 19u);
    EXPECT_EQ(Lines(&ownership.asked[5], &ownership.asked[15]), steps);
    for (ownership.failAt = 6; ownership.failAt <= 14; ++ownership.failAt) {
      ownership.asked.clear();
      EXPECT_EQ(::TakeFolderOwnership(kTree), 0);
      EXPECT_EQ(::GetLastError(), ownership.code);
      EXPECT_EQ(ownership.asked.size(), ownership.failAt);
    }
    Taken();
    ownership.failAt = 6;
    ownership.code = kNoReason;
    EXPECT_EQ(TakeFolderOwnership(kTree, nullptr, nullptr), DWORD{ERROR_GEN_FAILURE});
    ownership.failAt = 0;
    Taken();
    // One that the caller names is walked.
    EXPECT_EQ(::TakeFolderOwnership(L"C:\\tree\\link"), 1);
    EXPECT_EQ(Taken(), (Lines{link, link + L"\\outside"}));
  }
}

// A link is what stands for another place, and what the system does not call anything.
TEST_F(Ownership, OtherReparsePoints_AreTakenThemselvesAndWalked) {
  constexpr DWORD kCloud = 0x9000001A, kCloud7 = 0x9000701A, kContainer = 0x90001018;
  const std::wstring point = kRoot + L"\\point";
  for (const DWORD tag :
       {kCloud, kCloud7, kContainer, DWORD{IO_REPARSE_TAG_MOUNT_POINT}, DWORD{0}}) {
    for (const DWORD attributes : {kLink, kLink | kFolder}) {
      ownership = {};
      ownership.folders = {{kRoot, {{{L"point", attributes, tag}}}}, {point, {{{L"x"}}}}};
      EXPECT_EQ(::TakeFolderOwnership(kTree), 1);
      EXPECT_EQ(ownership.asked[5], L"open 8 " + point);
      const bool isWalked = (tag & 0x10000000) != 0 && attributes != kLink;
      EXPECT_EQ(Taken(),
                isWalked ? (Lines{kRoot, L"(link)", point + L"\\x"}) : (Lines{kRoot, L"(link)"}))
          << tag;
    }
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
      // A listing that begins with 2 is that of an empty root, where there is a folder.
      {L"",
       {{}, 2},
       0,
       {L"", L"\\a", L"\\f", L"\\z"},
       L"-",
       false,
       0,
       {all[0], all[1], all[2], all[4]}},
      {L"",
       {{}, 2, 18, false},
       2,
       {L"", L"\\a", L"\\f"},
       L"-",
       false,
       2,
       {all[0], all[1], all[2], L"list \\f 2", all[4]}},
      {L"",
       {{}, kNoReason},
       31,
       {L"", L"\\a", L"\\f"},
       L"-",
       false,
       31,
       {all[0], all[1], all[2], L"list \\f 31", all[4]}},
      {L"",
       {{{L"g"}}, 0, kNoReason},
       31,
       {L"", L"\\a", L"\\f", L"\\f\\g"},
       L"-",
       false,
       31,
       {all[0], all[1], all[2], all[3], L"list \\f 31", all[4]}},
      {L"\\a", {{{L"g"}}}, 5, {L""}, L"\\f\\g", false, 5, {all[0], L"\\a 5", all[2], all[3]}},
      {L"", {{{L"g"}}}, 0, {L"", L"\\a", L"\\f", L"\\f\\g", L"\\z"}, L"", false, 1223, {all[0]}},
  };
  for (const auto& row : rows) {
    ownership.folders = {{kRoot, {{{L"a"}, {L"f", kFolder}, {L"z"}}}},
                         {kRoot + L"\\f", row.listing}};
    ownership.failAtPath = *row.failAtPath ? kRoot + row.failAtPath : L"";
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
    auto& entries = ownership.folders[kRoot].entries;
    entries.push_back({L"f" + std::to_wstring(i), kFolder});
    ownership.folders[kRoot + L"\\" + entries.back().name].entries.assign(99, {L"x"});
  }
  EXPECT_EQ(::TakeFolderOwnership(kTree), 1);
  EXPECT_EQ(Taken().size(), 10001u);

  ownership.folders.clear();
  std::wstring folder = kRoot;
  for (int i = 0; i < 2000; ++i, folder += L"\\d") {
    ownership.folders[folder].entries = {{L"d", kFolder}};
  }
  ownership.folders[folder] = {};
  EXPECT_EQ(::TakeFolderOwnership(kTree), 1);
  EXPECT_EQ(Taken().back(), folder);

  ownership.folders = {{kRoot, {{{L"a"}, {L"f", kFolder}}}},
                       {kRoot + L"\\f", {{{std::wstring(200, L'g')}}}}};
  int result = 0;
  const auto check = [&](bool failed) {
    EXPECT_EQ(result, failed ? 0 : 1);
    if (failed) EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_EQ(ownership.open, 0);
  };
  EXPECT_GT(TryEachAllocation([&] { result = ::TakeFolderOwnership(kTree); }, check), 2);
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
