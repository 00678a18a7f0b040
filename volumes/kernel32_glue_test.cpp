#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/fake_volumes.h"
#include "tests/support/wine.h"
#include "vtclass/volumes.h"

namespace vtclass {
namespace {

using test::FakeVolumeName;
using test::FakeVolumes;

TEST(Kernel32Glue, Instance_IsOneAndTriesAgainWhenMemoryWasShort) {
  Kernel32Glue::DestroyInstance();
  Kernel32Glue* instance = nullptr;
  const auto check = [&](bool failed) {
    EXPECT_EQ(instance == nullptr, failed);
    if (failed) EXPECT_EQ(::GetLastError(), DWORD{ERROR_OUTOFMEMORY});
  };
  EXPECT_GT(test::TryEachAllocation([&] { instance = Kernel32Glue::GetInstance(); }, check), 0);
  Kernel32Glue::DestroyInstance();
  Kernel32Glue::DestroyInstance();
  std::vector<Kernel32Glue*> instances(8);
  std::vector<std::jthread> threads;
  for (Kernel32Glue*& each : instances) {
    threads.emplace_back([&] { each = Kernel32Glue::GetInstance(); });
  }
  threads.clear();
  for (Kernel32Glue* const each : instances) EXPECT_EQ(each, Kernel32Glue::GetInstance());
  EXPECT_TRUE(instances.front()->OK());
}

TEST(Kernel32Glue, WrappersCallWithTheCallersArguments) {
  FakeVolumes fake;
  const std::wstring one = FakeVolumeName(1), two = FakeVolumeName(2);
  fake.AddDrive(L"C:\\", one);
  fake.AddDrive(L"D:\\", two);
  fake.AddMount(one, L"a\\", two);
  fake.AddMount(one, L"b\\", two);
  Kernel32Glue& glue = *Kernel32Glue::GetInstance();

  wchar_t text[60] = {};
  const HANDLE volumes = glue.FindFirstVolumeW(text, 60);
  EXPECT_EQ(text, one);
  EXPECT_TRUE(glue.FindNextVolumeW(volumes, text, 60));
  EXPECT_EQ(text, two);
  EXPECT_TRUE(glue.FindVolumeClose(volumes));
  const HANDLE points = glue.FindFirstVolumeMountPointW(one.c_str(), text, 60);
  EXPECT_STREQ(text, L"a\\");
  EXPECT_TRUE(glue.FindNextVolumeMountPointW(points, text, 60));
  EXPECT_STREQ(text, L"b\\");
  EXPECT_TRUE(glue.FindVolumeMountPointClose(points));
  EXPECT_FALSE(glue.GetVolumeNameForVolumeMountPointW(L"D:\\", text, 49));
  EXPECT_TRUE(glue.GetVolumeNameForVolumeMountPointW(L"D:\\", text, 50));
  EXPECT_EQ(text, two);
  EXPECT_FALSE(glue.GetVolumePathNameW(L"D:\\x", text, 3));
  EXPECT_TRUE(glue.GetVolumePathNameW(L"D:\\x", text, 4));
  EXPECT_STREQ(text, L"D:\\");
}

TEST(Kernel32Glue, RealCalls) {
  Kernel32Glue& glue = *Kernel32Glue::GetInstance();
  const wcstring volume = get_volume_name_for_mount_point(wcstring(L"C:\\"));
  wchar_t roots[100] = {};
  DWORD needed = 0;
  EXPECT_TRUE(glue.GetVolumePathNamesForVolumeNameW(volume.c_str(), roots, 100, &needed));
  EXPECT_STREQ(roots, L"C:\\");
  EXPECT_EQ(needed, 5u);
  EXPECT_EQ(glue.GetThreadId(::GetCurrentThread()), ::GetCurrentThreadId());
  // Wine's kernel32.dll lacks the function; elsewhere it refuses the handle.
  EXPECT_FALSE(glue.SetShortFileName(INVALID_HANDLE_VALUE, L"SHORT.TXT"));
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(test::RunsUnderWine() ? ERROR_PROC_NOT_FOUND
                                                                       : ERROR_INVALID_HANDLE));
}

}  // namespace
}  // namespace vtclass
