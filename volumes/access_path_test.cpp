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

constexpr const char* kNameOf = "GetVolumeNameForVolumeMountPointW";

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
    wcstring text = volume;
    translate_vol_name()(text);
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
      {{L"Cdata\\V"}, L"C:\\data\\"},
      {{L"Cother\\W", L"Cdata\\V", L"Cmore\\V"}, L"C:\\data\\"},
      {{L"CA\\A", L"AB\\B", L"BV\\V"}, L"C:\\A\\B\\V\\"},
      {{L"BV\\V", L"AB\\B", L"CA\\A"}, L"C:\\A\\B\\V\\"},
      // A host without a path is passed over; one with a path is followed as deep as it goes.
      {{L"Ax\\V", L"Cy\\V"}, L"C:\\y\\"},
      {{L"Aa\\V", L"Bb\\V", L"CB\\B"}, L"C:\\B\\b\\"},
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
  wcstring text = withTerminator;
  translate_vol_name()(text);
  EXPECT_EQ(text, L"E:\\");
  EXPECT_FALSE(unmounted_drive()(withTerminator));

  const wcstring unknown[] = {L"",
                              nullptr,
                              L"E:",
                              L"\\\\.\\E:",
                              Name(L'V').substr(0, 48),  // without its backslash
                              L"\\\\?\\VOLUME" + Name(L'V').substr(10),
                              wcstring(std::wstring(40'000, L'x'))};
  for (const wcstring& volume : unknown) EXPECT_EQ(Path(volume), L"") << cstring(volume);
}

TEST_F(AccessPath, OneCallThatFails_LosesNoMoreThanItsAnswer) {
  Mount({L"Cother\\W", L"CA\\A", L"Ax\\X", L"AV\\V"});
  const std::wstring path = L"C:\\A\\V\\";
  struct Row {
    const char* function;
    bool isTriedAgain;
  };
  const Row rows[] = {{"FindFirstVolumeW", false},
                      {"FindNextVolumeW", true},
                      {"FindFirstVolumeMountPointW", false},
                      {"FindNextVolumeMountPointW", true},
                      {kNameOf, false}};
  for (const Row& row : rows) {
    bool isFound = false;
    for (long call = 1; call < 12; ++call) {
      fake.fails = FailCalls(row.function, ERROR_NOT_READY, call, call);
      wcstring text = Name(L'V');
      translate_vol_name()(text);
      isFound = text == path;
      EXPECT_TRUE(isFound || (text == Name(L'V') && !row.isTriedAgain)) << row.function << call;
    }
    EXPECT_TRUE(isFound) << row.function << ": all calls are answered in the end";
  }
}

TEST_F(AccessPath, ListThatDoesNotGetOn_IsGivenUpAfter16Tries) {
  Mount({L"Cfirst\\W", L"Cnext\\V", L"BB\\X"});
  struct Row {
    const char* function;
    long failures;
    const wchar_t* ofV;
  };
  const Row rows[] = {{"FindNextVolumeMountPointW", 15, L"C:\\next\\"},
                      {"FindNextVolumeMountPointW", 16, L""},
                      {"FindNextVolumeW", 15, L"C:\\next\\"},
                      {"FindNextVolumeW", 1'000'000, L""}};
  fake.volumes = {Name(L'B'), Name(L'C')};
  for (const Row& row : rows) {
    fake.calls.clear();
    // The list of B ends with its only step; the failures meet that of C.
    const long from = row.function == std::string("FindNextVolumeW") ? 1 : 2;
    fake.fails = FailCalls(row.function, ERROR_NOT_READY, from, from + row.failures - 1);
    wcstring text = Name(L'V');
    translate_vol_name()(text);
    EXPECT_EQ(text, *row.ofV ? row.ofV : Name(L'V')) << row.function << row.failures;
  }
  EXPECT_EQ(fake.calls["FindNextVolumeW"], 16);

  // A step that succeeds and brings the same again is none.
  fake.fails = nullptr;
  for (const std::size_t same : {16u, 17u}) {
    fake.mountPoints[Name(L'C')].assign(same, L"first\\");
    fake.AddMount(Name(L'C'), L"next\\", Name(L'V'));
    EXPECT_EQ(Path(), same == 16 ? L"C:\\next\\" : L"");
  }

  // Nor is one that goes round.
  for (std::vector<std::wstring>* const list : {&fake.mountPoints[Name(L'C')], &fake.volumes}) {
    const std::vector<std::wstring> pair = {list == &fake.volumes ? Name(L'C') : L"a\\",
                                            list == &fake.volumes ? Name(L'B') : L"b\\"};
    list->clear();
    for (int round = 0; round < 20; ++round) list->insert(list->end(), pair.begin(), pair.end());
    fake.calls.clear();
    EXPECT_EQ(Path(), L"");
    EXPECT_LE(fake.calls["FindNextVolumeW"], 2 * (1 + 16));
    EXPECT_LE(fake.calls["FindNextVolumeMountPointW"], 2 * (1 + 16 + 1));
  }
}

TEST_F(AccessPath, EachMountPointIsLookedAtOnce) {
  // Each volume holds the next one, and the last the wanted one.
  constexpr unsigned kVolumes = 200;
  constexpr unsigned kMounts = 1000;
  constexpr unsigned kFirst = 1000;
  constexpr unsigned kWanted = kFirst + kVolumes;
  fake.volumes.clear();
  for (unsigned host = kFirst; host < kWanted; ++host) {
    fake.volumes.push_back(FakeVolumeName(host));
    std::vector<std::wstring>& points = fake.mountPoints[FakeVolumeName(host)];
    for (unsigned mount = 1; mount < kMounts; ++mount) {
      points.push_back(std::to_wstring(mount) + L"\\");
    }
    fake.AddMount(FakeVolumeName(host), L"next\\", FakeVolumeName(host + 1));
  }
  fake.leadsTo[L"C:\\"] = FakeVolumeName(kFirst);
  wcstring text = FakeVolumeName(kWanted);
  translate_vol_name()(text);
  std::wstring path = L"C:\\";
  for (unsigned host = 0; host < kVolumes; ++host) path += L"next\\";
  EXPECT_EQ(text, path);
  constexpr long kAll = long{kVolumes} * kMounts;
  EXPECT_EQ(fake.calls[kNameOf], kAll + 1) << "and the drive, once";
  EXPECT_EQ(fake.calls["FindNextVolumeMountPointW"], kAll - 1) << "the last one is the answer";
  EXPECT_EQ(fake.calls["FindFirstVolumeMountPointW"], long{kVolumes});
  EXPECT_EQ(fake.calls["FindFirstVolumeW"], 1);
}

DWORD drivesLength;
DWORD WINAPI NoDriveList(DWORD, LPWSTR) {
  ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return drivesLength;
}

TEST_F(AccessPath, WithoutTheListOfDrives_NothingIsUnmounted) {
  const test::ImportHook<decltype(::GetLogicalDriveStringsW)> hook(
      "KERNEL32.dll", "GetLogicalDriveStringsW", &NoDriveList);
  for (const DWORD length : {0u, 105u, 1000u}) {
    drivesLength = length;
    wcstring text = Name(L'C');
    EXPECT_FALSE(unmounted_drive()(text)) << length;
    translate_vol_name()(text);
    EXPECT_EQ(text, Name(L'C'));
  }
}

TEST_F(AccessPath, OldSystem_HasNoAccessPaths) {
  Mount({L"Cdata\\V"});
  for (const DWORD version : {4u, 0u}) {
    fake.version = version;
    wcstring text = Name(L'V');
    translate_vol_name()(text);
    EXPECT_EQ(text, Name(L'V'));
    EXPECT_FALSE(unmounted_drive()(text));
    EXPECT_FALSE(unmounted_drive()(L"X:\\"));
  }
  EXPECT_EQ(fake.calls[kNameOf], 0);
  fake.version = 5;
  EXPECT_EQ(Path(), L"C:\\data\\");
}

TEST_F(AccessPath, MemoryRunsOut_NothingIsUnmountedOrHalfTranslated) {
  Mount({L"CA\\A", L"AV\\V"});
  const UINT mode = ::GetErrorMode();
  bool isRefused = true;
  for (long n = 1; isRefused; ++n) {
    wcstring text = Name(L'V');
    test::Allocations allocations;
    allocations.FailAt(n);
    translate_vol_name()(text);
    isRefused = allocations.Failed();
    EXPECT_EQ(text, isRefused ? Name(L'V') : wcstring(L"C:\\A\\V\\")) << n;
    allocations.FailAt(n);
    EXPECT_NE(unmounted_drive()(L"X:\\"), allocations.Failed()) << n;
    isRefused = isRefused || allocations.Failed();
  }
  EXPECT_EQ(::GetErrorMode(), mode);
}

}  // namespace
}  // namespace vtclass
