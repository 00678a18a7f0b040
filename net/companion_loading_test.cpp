#include <gtest/gtest.h>

#include <bit>

#include "tests/support/scratch_folder.h"
#include "vtclass/net.h"

namespace {

constexpr unsigned long kMissing = ERROR_MOD_NOT_FOUND;

// A copy of the library, in a folder without its companions. Those of this program are out of its
// sight, as a stranger's files would be.
TEST(CompanionLoading, MissingCompanion_IsAStatus) {
  const vtclass::test::ScratchFolder folder;
  const HMODULE library = ::GetModuleHandleW(L"vtclass_mini.dll");
  wchar_t path[MAX_PATH];
  ::GetModuleFileNameW(library, path, MAX_PATH);
  const std::wstring copy = folder / L"alone.dll";
  ASSERT_TRUE(::CopyFileW(path, copy.c_str(), FALSE));
  const HMODULE alone = ::LoadLibraryW(copy.c_str());
  // Both images are the same, so a function lies in the same place.
  const auto inCopy = [=]<typename Function>(Function* function) {
    return std::bit_cast<Function*>(std::bit_cast<std::uintptr_t>(function) -
                                    std::bit_cast<std::uintptr_t>(library) +
                                    std::bit_cast<std::uintptr_t>(alone));
  };
  bool isMe = true;
  EXPECT_EQ(inCopy(&vtclass::IsThisMeEx)(L"::1", &isMe, true, 0), kMissing);
  EXPECT_FALSE(isMe);
  EXPECT_THROW(inCopy(&vtclass::IsIpAddrLocal)(L"127.0.0.1"), int);
  inCopy (&vtclass::Set_VTSockZPrintf)(nullptr);
  wchar_t buffer[16];
  unsigned long size = ARRAYSIZE(buffer);
  int (*const nodeName)(wchar_t*, unsigned long*) = &vtclass::GetComputerNodeName;
  EXPECT_EQ(inCopy(nodeName)(buffer, &size), 0);
  EXPECT_EQ(::GetLastError(), kMissing);
  ::FreeLibrary(alone);
}

}  // namespace
