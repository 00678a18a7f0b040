#include <gtest/gtest.h>

#include "platform/owned.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "vtclass/net.h"

namespace {

using vtclass::platform::OwnedKernelObject;
using vtclass::test::ImportHook;
using vtclass::test::LibraryCopy;

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

// What the loader says, and whether the thread was itself again while it loaded.
struct Loader {
  DWORD error = ERROR_SUCCESS;
  int calls = 0;
  bool wasImpersonating = false;
};
Loader loader;

bool Impersonates(LUID* token = nullptr) {
  OwnedKernelObject open;
  if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, open.Receive())) return false;
  TOKEN_STATISTICS statistics = {};
  DWORD size = 0;
  ::GetTokenInformation(open.Get(), TokenStatistics, &statistics, sizeof(statistics), &size);
  if (token) *token = statistics.TokenId;
  return true;
}

HMODULE WINAPI Load(LPCWSTR path, HANDLE file, DWORD flags) {
  ++loader.calls;
  loader.wasImpersonating = loader.wasImpersonating || Impersonates();
  if (loader.error == ERROR_SUCCESS) return ::LoadLibraryExW(path, file, flags);
  ::SetLastError(loader.error);
  return nullptr;
}

TEST(CompanionLoading, RefusedCompanion_IsTheLoadersCode) {
  const LibraryCopy copy(L"vtclass_mini.dll");
  const ImportHook<decltype(::LoadLibraryExW)> hook("KERNEL32.dll", "LoadLibraryExW", &Load,
                                                    copy.Module());
  for (const DWORD error : {5UL, 8UL, 193UL}) {
    loader = {error};
    bool isMe = true;
    EXPECT_EQ(copy(&vtclass::IsThisMeEx)(L"::1", &isMe, true, 0), error);
    EXPECT_FALSE(isMe);
  }
}

// The account that the thread impersonates need not be able to read the product's folder.
TEST(CompanionLoading, ImpersonatingThread_LoadsAsTheProcess) {
  OwnedKernelObject process;
  OwnedKernelObject token;
  ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_DUPLICATE, process.Receive()));
  ASSERT_TRUE(::DuplicateTokenEx(process.Get(), TOKEN_ALL_ACCESS, nullptr, SecurityImpersonation,
                                 TokenImpersonation, token.Receive()));
  for (const DWORD error : {0UL, 5UL}) {
    const LibraryCopy copy(L"vtclass_mini.dll", {L"vtsocket.dll", L"vtcluster.dll"});
    const ImportHook<decltype(::LoadLibraryExW)> hook("KERNEL32.dll", "LoadLibraryExW", &Load,
                                                      copy.Module());
    loader = {error};
    LUID before = {};
    LUID after = {};
    ASSERT_TRUE(::ImpersonateLoggedOnUser(token.Get()));
    EXPECT_TRUE(Impersonates(&before));
    EXPECT_EQ(copy(&vtclass::IsIpAddr)(L"::1"), error == ERROR_SUCCESS);
    EXPECT_TRUE(Impersonates(&after));
    ::RevertToSelf();
    EXPECT_EQ(memcmp(&before, &after, sizeof(before)), 0);
    EXPECT_GT(loader.calls, 0);
    EXPECT_FALSE(loader.wasImpersonating);
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
