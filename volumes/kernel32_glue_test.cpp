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

TEST(Kernel32GlueInstance, IsOneAndTriesAgainWhenMemoryWasShort) {
  Kernel32Glue::DestroyInstance();
  {
    test::Allocations allocations;
    allocations.FailAt(1);
    EXPECT_EQ(Kernel32Glue::GetInstance(), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_OUTOFMEMORY});
  }
  std::vector<Kernel32Glue*> instances(8);
  std::vector<std::thread> threads;
  for (Kernel32Glue*& instance : instances) {
    threads.emplace_back([&] { instance = Kernel32Glue::GetInstance(); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Kernel32Glue* const instance : instances) {
    EXPECT_EQ(instance, Kernel32Glue::GetInstance());
  }
  EXPECT_TRUE(instances.front()->OK());
  Kernel32Glue::DestroyInstance();
  Kernel32Glue::DestroyInstance();
  EXPECT_TRUE(Kernel32Glue::GetInstance()->OK());
}

TEST(Kernel32Glue, WrappersCallWithTheCallersArguments) {
  FakeVolumes fake;
  const std::wstring one = FakeVolumeName(1);
  fake.AddDrive(L"C:\\", one);
  fake.AddDrive(L"D:\\", FakeVolumeName(2));
  fake.AddMount(one, L"a\\", FakeVolumeName(2));
  fake.AddMount(one, L"b\\", FakeVolumeName(2));
  Kernel32Glue& glue = *Kernel32Glue::GetInstance();

  wchar_t text[60] = {};
  const HANDLE volumes = glue.FindFirstVolumeW(text, 60);
  EXPECT_EQ(text, one);
  EXPECT_TRUE(glue.FindNextVolumeW(volumes, text, 60));
  EXPECT_EQ(text, FakeVolumeName(2));
  EXPECT_FALSE(glue.FindNextVolumeW(volumes, text, 60));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_NO_MORE_FILES});
  EXPECT_TRUE(glue.FindVolumeClose(volumes));

  const HANDLE points = glue.FindFirstVolumeMountPointW(one.c_str(), text, 60);
  EXPECT_STREQ(text, L"a\\");
  EXPECT_TRUE(glue.FindNextVolumeMountPointW(points, text, 60));
  EXPECT_STREQ(text, L"b\\");
  EXPECT_TRUE(glue.FindVolumeMountPointClose(points));

  EXPECT_TRUE(glue.GetVolumeNameForVolumeMountPointW(L"D:\\", text, 50));
  EXPECT_EQ(text, FakeVolumeName(2));
  EXPECT_FALSE(glue.GetVolumeNameForVolumeMountPointW(L"D:\\", text, 49));
  EXPECT_TRUE(glue.GetVolumePathNameW(L"D:\\x", text, 4));
  EXPECT_STREQ(text, L"D:\\");
  EXPECT_FALSE(glue.GetVolumePathNameW(L"D:\\x", text, 3));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
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
  EXPECT_EQ(::GetLastError(),
            DWORD{test::RunsUnderWine() ? ERROR_PROC_NOT_FOUND : ERROR_INVALID_HANDLE});
}

}  // namespace
}  // namespace vtclass
