#include <gtest/gtest.h>

#include <string>

#include "tests/support/allocations.h"
#include "tests/support/fake_volumes.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "vtclass/volumes.h"

// As the linker names the members of the cluster library.
class ResourceGlue;

namespace vtclass {
namespace {

using test::FailCalls;
using test::FakeVolumeName;
using test::FakeVolumes;
using test::Replace;

const wcstring kOverLong(std::wstring(L"C:\\") + std::wstring(40'000, L'x') + L"\\");

TEST(VolumeNames, Shape) {
  const std::wstring name = L"\\\\?\\Volume{26a21bda-a627-11d7-9931-806e6f6e6963}";
  struct Row {
    std::wstring text;
    bool isName;
  };
  std::vector<Row> rows = {{name, true},
                           {name + L"\\", true},
                           {name + L"/", false},
                           {name + L"}", false},
                           {name.substr(0, 47), false},
                           {name + L"\\\\", false},
                           {L"\\?" + name.substr(2), true},
                           {L"", false},
                           {std::wstring(48, L'\0'), false},
                           {std::wstring(100'000, L'\\'), false}};
  // Each place: another character is refused, but for digits.
  for (std::size_t i = 0; i < name.size(); ++i) {
    Row row{name, i > 10 && i < 47 && i != 19 && i != 24 && i != 29 && i != 34};
    row.text[i] = L'z';
    rows.push_back(row);
  }
  for (const Row& row : rows) {
    EXPECT_EQ(mountmgr_is_volume_name(wcstring(row.text)), row.isName) << cstring(row.text);
    EXPECT_EQ(mountmgr_is_volume_name(cstring(wcstring(row.text))), row.isName);
  }
  wcstring wide(name);
  wide[4] = L'\x156';  // whose lower half is a V
  EXPECT_FALSE(mountmgr_is_volume_name(wide));
}

TEST(VolumeNames, OfMountPoint_RealDriveHasOne) {
  const wcstring name = get_volume_name_for_mount_point(wcstring(L"C:\\"));
  EXPECT_TRUE(mountmgr_is_volume_name(name));
  EXPECT_EQ(get_volume_name_for_mount_point(wcstring(L"C:\\\0behind it", 13)), name);
  const cstring narrow =
      get_volume_name_for_mount_point(cstring("C:\\", cstring::codePage::windows1250));
  EXPECT_EQ(wcstring(narrow), name);
  EXPECT_EQ(narrow.GetCodePage(), cstring::codePage::windows1250);

  for (const wchar_t* const row :
       {L"", L"C:", L"C:\\windows\\", L"\\\\.\\nul", kOverLong.c_str()}) {
    EXPECT_EQ(get_volume_name_for_mount_point(wcstring(row)), row);
    const cstring text(wcstring(row), cstring::codePage::utf8);
    EXPECT_EQ(get_volume_name_for_mount_point(text), text);
    EXPECT_EQ(get_volume_name_for_mount_point(text).GetCodePage(), cstring::codePage::utf8);
  }
}

TEST(VolumeNames, PathName_RealPaths) {
  EXPECT_EQ(get_volume_path_name(L"C:\\windows\\no such file"), L"C:\\");
  for (const wcstring& none : {wcstring(), kOverLong}) EXPECT_EQ(get_volume_path_name(none), L"");
}

TEST(VolumeNames, PathName_SystemRefuses_IsEmpty) {
  FakeVolumes fake;
  fake.AddDrive(L"D:\\", FakeVolumeName(1));
  fake.fails = FailCalls("GetVolumePathNameW", ERROR_NOT_READY);
  EXPECT_EQ(get_volume_path_name(L"D:\\x"), L"");
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_READY});
  EXPECT_EQ(get_volume_path_name(L"D:\\x"), L"D:\\");
  EXPECT_EQ(fake.calls["GetVolumePathNameW"], 2);
  fake.leadsTo[L"D:\\a mount point\\"] = FakeVolumeName(2);
  const auto ask = [] { get_volume_path_name(L"D:\\a mount point\\x"); };
  EXPECT_GT(test::FailEachAllocation(ask, [] {}), 0);
}

TEST(VolumeNames, SharedVolumes_AreTheClusters) {
  FakeVolumes fake;
  fake.AddDrive(L"C:\\", FakeVolumeName(1));
  fake.leadsTo[L"C:\\ClusterStorage\\Volume1\\"] = FakeVolumeName(7);
  bool answers = true;
  const auto isShared = Replace<bool(ResourceGlue*, const wchar_t*)>(
      "ResourceGlue::ClusterIsPathOnSharedVolume",
      [](auto*, const wchar_t* path) { return wcscmp(path, L"C:\\other") != 0; });
  const auto pathName = Replace<bool(ResourceGlue*, const wchar_t*, wchar_t*, unsigned long)>(
      "ResourceGlue::ClusterGetVolumePathName",
      [&](auto*, const wchar_t*, wchar_t* root, unsigned long room) {
        EXPECT_EQ(room, 260ul);
        ::lstrcpyW(root, L"C:\\ClusterStorage\\Volume1");
        return answers;
      });
  const wcstring path = L"C:\\ClusterStorage\\Volume1\\a";
  EXPECT_EQ(get_volume_path_name(path), L"C:\\ClusterStorage\\Volume1");
  EXPECT_EQ(fake.calls["GetVolumePathNameW"], 0);
  EXPECT_EQ(get_volume_path_name(L"C:\\other"), L"C:\\");
  wcstring text = path;
  EXPECT_TRUE(get_raw_vol_name()(text)) << "the cluster's path gets its backslash";
  EXPECT_EQ(text, FakeVolumeName(7));

  answers = false;
  EXPECT_EQ(get_volume_path_name(path), L"");
  text = path;
  EXPECT_FALSE(get_raw_vol_name()(text));
  EXPECT_EQ(text, path);
}

TEST(VolumeNames, ClusterLibraryMissing_IsNoCluster) {
  const test::LibraryCopy copy(L"vtclass_mini.dll");
  wcstring root;
  border::Failure failure;
  copy (&border::GetVolumeRoot)(L"C:\\windows\\x", root, failure);
  failure.Throw();
  EXPECT_EQ(root, L"C:\\");
}

TEST(RawVolumeName, ReplacesThePath) {
  FakeVolumes fake;
  fake.AddDrive(L"C:\\", FakeVolumeName(1));
  fake.AddMount(L"C:\\", L"mnt\\", FakeVolumeName(2));
  fake.leadsTo[L"\\\\srv\\s\\"] = L"";
  struct Row {
    const wchar_t* path;
    bool isReplaced;
    std::wstring text;
  };
  const Row rows[] = {{L"C:\\a", true, FakeVolumeName(1)},
                      {L"C:\\mnt\\a", true, FakeVolumeName(2)},
                      {L"D:\\a", false, L"D:\\a"},
                      {L"", false, L""},
                      {nullptr, false, L""}};
  for (const Row& row : rows) {
    wcstring text(row.path);
    EXPECT_EQ(get_raw_vol_name()(text), row.isReplaced) << cstring(row.text);
    EXPECT_EQ(text, row.text);
  }
  fake.fails = FailCalls("GetVolumeNameForVolumeMountPointW", ERROR_NOT_READY);
  wcstring text = L"C:\\mnt\\a";
  EXPECT_FALSE(get_raw_vol_name()(text));
  EXPECT_EQ(text, L"C:\\mnt\\");

  text = L"C:\\a";
  test::FailEachAllocation([&] { get_raw_vol_name()(text); }, [&] { EXPECT_EQ(text, L"C:\\a"); });
  EXPECT_EQ(text, FakeVolumeName(1));
}

TEST(RawVolumeName, OldSystem_CutsTheDrive) {
  struct Row {
    const wchar_t* path;
    const wchar_t* text;
  };
  const Row rows[] = {{L"C:", L"C:\\"},           {L"C:\\", L"C:\\"}, {L"C:\\a\\b", L"C:\\"},
                      {L"C:a", L"C:a"},           {L"C", L"C"},       {L"", L""},
                      {L"\\\\s\\x", L"\\\\s\\x"}, {L"::", L"::\\"},   {L"ab", L"ab"}};
  FakeVolumes fake;
  for (const DWORD version : {4u, 0u}) {
    fake.version = version;
    for (const Row& row : rows) {
      wcstring text(row.path);
      EXPECT_TRUE(get_raw_vol_name()(text));
      EXPECT_EQ(text, row.text);
    }
  }
}

}  // namespace
}  // namespace vtclass
