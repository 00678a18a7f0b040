#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/fake_volumes.h"
#include "tests/support/import_hook.h"
#include "vtclass/volumes.h"

namespace vtclass {
namespace {

using test::FailCalls;
using test::FakeVolumeName;
using test::FakeVolumes;

wcstring Translated(wcstring volume) {
  translate_vol_name()(volume);
  return volume;
}

// The volume "C:" is a drive's; the others are where the rows mount them.
class AccessPath : public ::testing::Test {
 protected:
  AccessPath() { fake.AddDrive(L"C:\\", Name('C')); }

  static wcstring Name(wchar_t letter) { return FakeVolumeName(letter); }

  // Rows "Amnt\B": the volume B is mounted at "mnt\" of A. Volumes are listed as they are met here,
  // that of the drive last.
  void Mount(const std::vector<std::wstring>& rows) {
    const auto list = [&](const wcstring& name) {
      if (std::ranges::find(fake.volumes, name) == fake.volumes.end()) fake.volumes.push_back(name);
    };
    fake.volumes.clear();
    fake.mountPoints.clear();
    for (const std::wstring& row : rows) {
      list(Name(row.front()));
      fake.AddMount(Name(row.front()), row.substr(1, row.size() - 2), Name(row.back()));
    }
    list(Name(L'C'));
  }

  // Where a volume is reached; empty when nowhere. Both users of the search agree.
  static wcstring Path(const wcstring& volume = Name(L'V')) {
    const wcstring text = Translated(volume);
    EXPECT_EQ(unmounted_drive()(volume), text == volume) << cstring(text);
    return text == volume ? wcstring() : text;
  }

  FakeVolumes fake;
};

TEST_F(AccessPath, IsTheFirstThatTheSystemLists) {
  struct Row {
    std::vector<std::wstring> mounts;
    const wchar_t* path;
  };
  const Row rows[] = {
      {{}, L""},
      {{L"Cother\\W", L"Cdata\\V", L"Cmore\\V"}, L"C:\\data\\"},
      {{L"CA\\A", L"AB\\B", L"BV\\V"}, L"C:\\A\\B\\V\\"},
      {{L"BV\\V", L"AB\\B", L"CA\\A"}, L"C:\\A\\B\\V\\"},
      // A host without a path is passed over; one with a path is followed as deep as it goes.
      {{L"Ax\\V", L"Cy\\V"}, L"C:\\y\\"},
      {{L"Aa\\V", L"BA\\A", L"CB\\B", L"Cv\\V"}, L"C:\\B\\A\\a\\"},
      // Circles.
      {{L"Vself\\V"}, L""},
      {{L"Aa\\V", L"Bb\\A", L"Vc\\B"}, L""},
      {{L"Aa\\V", L"Bb\\A", L"Vc\\B", L"CB\\B"}, L"C:\\B\\b\\a\\"},
      {{L"Aa\\V", L"Vb\\A", L"Cc\\V"}, L"C:\\c\\"},
  };
  for (const Row& row : rows) {
    Mount(row.mounts);
    EXPECT_EQ(Path(), row.path);
  }
}

TEST_F(AccessPath, DriveComesFirst) {
  Mount({L"Cdata\\V", L"Cdata\\X"});
  fake.AddDrive(L"D:\\", Name(L'X'), DRIVE_REMOVABLE);
  fake.AddDrive(L"E:\\", Name(L'V'));
  fake.AddDrive(L"F:\\", Name(L'V'));
  EXPECT_EQ(Path(), L"E:\\");
  EXPECT_EQ(Path(Name(L'X')), L"C:\\data\\") << "drives that are not fixed are no access path";
  EXPECT_EQ(fake.calls["FindFirstVolumeW"], 2) << "no list is read for a volume with a drive";

  wcstring withTerminator = Name(L'V');
  withTerminator.push_back(L'\0');
  EXPECT_EQ(Translated(withTerminator), L"E:\\");
  EXPECT_FALSE(unmounted_drive()(withTerminator));
  const wcstring withoutBackslash = Name(L'V').substr(0, 48);
  for (const wcstring& unknown :
       {wcstring(), withoutBackslash, wcstring(std::wstring(40'000, L'x'))}) {
    EXPECT_EQ(Path(unknown), L"") << cstring(unknown);
  }
}

TEST_F(AccessPath, ListThatDoesNotGetOn_IsGivenUpAfter16Tries) {
  Mount({L"Cfirst\\W", L"Cnext\\V", L"BB\\X"});
  fake.volumes = {Name(L'B'), Name(L'C')};
  struct Row {
    const char* function;
    long from;  // the list of B's mount points ends with its only step; the failures meet that of C
    long failures;
    bool isFound;
  };
  const Row rows[] = {{"FindNextVolumeMountPointW", 2, 15, true},
                      {"FindNextVolumeMountPointW", 2, 16, false},
                      {"FindNextVolumeW", 1, 15, true},
                      {"FindNextVolumeW", 1, 1'000'000, false}};
  for (const Row& row : rows) {
    fake.calls.clear();
    fake.fails = FailCalls(row.function, ERROR_NOT_READY, row.from, row.from + row.failures - 1);
    EXPECT_EQ(Translated(Name(L'V')), row.isFound ? L"C:\\next\\" : Name(L'V'))
        << row.function << row.failures;
  }
  EXPECT_EQ(fake.calls["FindNextVolumeW"], 16);

  // A list that goes round gets nowhere either.
  fake.fails = nullptr;
  fake.volumes.clear();
  for (int round = 0; round < 20; ++round) {
    fake.volumes.insert(fake.volumes.end(), {Name(L'C'), Name(L'B')});
  }
  fake.calls.clear();
  fake.mountPoints.clear();
  EXPECT_EQ(Path(), L"");
  EXPECT_LE(fake.calls["FindNextVolumeW"], 2 * (1 + 16));
}

TEST_F(AccessPath, WithoutTheListOfDrives_NothingIsUnmounted) {
  for (const DWORD length : {0u, 105u, 1000u}) {
    const auto hook = test::Replace<decltype(::GetLogicalDriveStringsW)>(
        "GetLogicalDriveStringsW", [length](auto...) {
          ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
          return length;
        });
    EXPECT_FALSE(unmounted_drive()(Name(L'C'))) << length;
    EXPECT_EQ(Translated(Name(L'C')), Name(L'C')) << length;
  }
}

TEST_F(AccessPath, OldSystem_HasNoAccessPaths) {
  Mount({L"Cdata\\V"});
  for (const DWORD version : {4u, 0u}) {
    fake.version = version;
    EXPECT_EQ(Translated(Name(L'V')), Name(L'V'));
    EXPECT_FALSE(unmounted_drive()(Name(L'V')));
  }
  EXPECT_EQ(fake.calls["GetVolumeNameForVolumeMountPointW"], 0);
  fake.version = 5;
  EXPECT_EQ(Path(), L"C:\\data\\");
}

TEST_F(AccessPath, MemoryRunsOut_NothingIsUnmountedOrHalfTranslated) {
  Mount({L"CA\\A", L"AV\\V"});
  const UINT mode = ::GetErrorMode();
  wcstring text;
  test::TryEachAllocation(
      [&] { text = Name(L'V'), translate_vol_name()(text); },
      [&](bool failed) { EXPECT_EQ(text, failed ? Name(L'V') : wcstring(L"C:\\A\\V\\")); });
  bool isUnmounted = false;
  test::TryEachAllocation([&] { isUnmounted = unmounted_drive()(L"X:\\"); },
                          [&](bool failed) { EXPECT_NE(isUnmounted, failed); });
  EXPECT_EQ(::GetErrorMode(), mode);
}

}  // namespace
}  // namespace vtclass
