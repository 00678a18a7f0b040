#include <gtest/gtest.h>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "vtclass/net.h"

namespace {

using vtclass::platform::OwnedKernelObject;
using vtclass::test::LibraryCopy;
using vtclass::test::Replace;

constexpr unsigned long kMissing = ERROR_MOD_NOT_FOUND;

// A folder without its companions. Those of this program are out of the copy's sight, as a
// stranger's files would be.
TEST(CompanionLoading, MissingCompanion_IsAStatus) {
  const LibraryCopy alone(L"vtclass_mini.dll");
  bool isMe = true;
  EXPECT_EQ(alone(&vtclass::IsThisMeEx)(L"::1", &isMe, true, 0), kMissing);
  EXPECT_FALSE(isMe);
  bool isLocal = true;
  EXPECT_EQ(alone(&vtclass::border::IsIpAddrLocal)(L"127.0.0.1", isLocal), kMissing);
  alone (&vtclass::Set_VTSockZPrintf)(nullptr);
  wchar_t buffer[16];
  unsigned long size = ARRAYSIZE(buffer);
  int (*const nodeName)(wchar_t*, unsigned long*) = &vtclass::GetComputerNodeName;
  EXPECT_EQ(alone(nodeName)(buffer, &size), 0);
  EXPECT_EQ(::GetLastError(), kMissing);
}

bool Impersonates(LUID* token = nullptr) {
  OwnedKernelObject open;
  if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, open.Receive())) return false;
  TOKEN_STATISTICS statistics = {};
  DWORD size = 0;
  ::GetTokenInformation(open.Get(), TokenStatistics, &statistics, sizeof(statistics), &size);
  if (token) *token = statistics.TokenId;
  return true;
}

// The account that the thread impersonates need not be able to read the product's folder.
TEST(CompanionLoading, ImpersonatingThread_LoadsAsTheProcess_AndGetsTheLoadersCode) {
  OwnedKernelObject process;
  OwnedKernelObject token;
  ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_DUPLICATE, process.Receive()));
  ASSERT_TRUE(::DuplicateTokenEx(process.Get(), TOKEN_ALL_ACCESS, nullptr, SecurityImpersonation,
                                 TokenImpersonation, token.Receive()));
  for (const DWORD error : {0UL, 5UL, 8UL, 193UL}) {
    const LibraryCopy copy(L"vtclass_mini.dll", {L"vtsocket.dll", L"vtcluster.dll"});
    int calls = 0;
    const auto hook = Replace<decltype(::LoadLibraryExW)>(
        "LoadLibraryExW",
        [&](auto... arguments) {
          ++calls;
          EXPECT_FALSE(Impersonates());
          if (error == ERROR_SUCCESS) return ::LoadLibraryExW(arguments...);
          return ::SetLastError(error), HMODULE{};
        },
        copy.Module());
    LUID before = {};
    LUID after = {};
    bool isMe = error != ERROR_SUCCESS;
    ASSERT_TRUE(::ImpersonateLoggedOnUser(token.Get()));
    EXPECT_TRUE(Impersonates(&before));
    EXPECT_EQ(copy(&vtclass::IsThisMeEx)(L"::1", &isMe, true, 0), error);
    EXPECT_TRUE(Impersonates(&after));
    ::RevertToSelf();
    EXPECT_EQ(memcmp(&before, &after, sizeof(before)), 0);
    EXPECT_EQ(isMe, error == ERROR_SUCCESS);
    EXPECT_GT(calls, 0);
  }
}

// The copy's end says whether they are gone with it.
TEST(CompanionLoading, Companions_GoWithTheLibrary) {
  const LibraryCopy copy(L"vtclass_mini.dll", {L"vtsocket.dll", L"vtcluster.dll"});
  bool isMe = false;
  EXPECT_EQ(copy(&vtclass::IsThisMe)(L"::1", &isMe, true), 0u);
  EXPECT_NE(copy.Loaded(L"vtsocket.dll"), nullptr);
  EXPECT_NE(copy.Loaded(L"vtcluster.dll"), nullptr);
}

}  // namespace
