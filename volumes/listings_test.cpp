#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <list>
#include <set>
#include <thread>

#include "tests/support/allocations.h"
#include "tests/support/fake_volumes.h"
#include "vtclass/volumes.h"

namespace vtclass {
namespace {

using test::FailCalls;
using test::FakeVolumeName;
using test::FakeVolumes;

static_assert(std::input_iterator<vol_it> && std::input_iterator<mp_it>);
static_assert(!std::forward_iterator<vol_it> && !std::forward_iterator<mp_it>);
static_assert(std::sentinel_for<vol_it, vol_it> && std::sentinel_for<mp_it, mp_it>);
static_assert(std::is_nothrow_default_constructible_v<mp_it> && noexcept(vol_it::end()));

[[maybe_unused]] auto* const lookUps = FakeVolumes::AnswerLookUps();

constexpr UINT kFound = SEM_NOGPFAULTERRORBOX, kNoBoxes = 0x8001;
using Names = std::list<wcstring>;

Names Listed() { return {vol_it(), vol_it::end()}; }
Names MountPoints(const wcstring& volume) { return {mp_it(volume), mp_it()}; }

// Three volumes, two mount points on the first.
class Listings : public ::testing::Test {
 protected:
  Listings() : mode(::SetErrorMode(kFound)) {
    fake.AddDrive(L"C:\\", one);
    fake.AddDrive(L"D:\\", two, DRIVE_CDROM);
    fake.AddDrive(L"E:\\", three, DRIVE_REMOVABLE);
    fake.AddMount(one, L"data\\", two);
    fake.AddMount(one, L"more\\", three);
  }
  ~Listings() override { EXPECT_EQ(::SetErrorMode(mode), kFound) << "the error mode is changed"; }

  const wcstring one = FakeVolumeName(1), two = FakeVolumeName(2), three = FakeVolumeName(3);
  UINT mode;
  FakeVolumes fake;
};

TEST(RealVolumes, Listed_AreTheVolumesOfTheDrives) {
  const Names names = Listed();
  EXPECT_EQ(std::set<wcstring>(names.begin(), names.end()).size(), names.size());
  for (const wcstring& name : names) EXPECT_TRUE(mountmgr_is_volume_name(name)) << cstring(name);
  EXPECT_EQ(std::ranges::count(names, get_volume_name_for_mount_point(wcstring(L"C:\\"))), 1);
}

TEST_F(Listings, Iterators_WorkWithStandardAlgorithms) {
  EXPECT_EQ(Listed(), (Names{one, two, three}));
  EXPECT_EQ(MountPoints(one), (Names{L"data\\", L"more\\"}));
  EXPECT_EQ(*std::find_if(vol_it(), vol_it::end(), non_fixed_drive()), two);
  EXPECT_EQ(std::find(mp_it(one), mp_it(), L"other\\"), mp_it());
  Names fixed = Listed();
  fixed.remove_if(non_fixed_drive());
  EXPECT_EQ(fixed, Names{one});
  fixed.remove_if(remove_all());
  EXPECT_TRUE(fixed.empty());
}

TEST_F(Listings, Copies_ShareTheListing_AndAreEqualAtEndOnly) {
  vol_it it;
  vol_it copy = it;
  EXPECT_FALSE(it == it);  // NOLINT(misc-redundant-expression): this is what is asked
  EXPECT_TRUE(it != vol_it::end());
  EXPECT_EQ(*copy++, one);
  EXPECT_EQ(*it, two);
  const auto before = it++;
  EXPECT_EQ(*before, two);
  EXPECT_EQ(*before, two) << "a proxy can be read twice";
  EXPECT_EQ(*copy, three);
  vol_it moved = std::move(copy);
  EXPECT_EQ(*moved, three);
  EXPECT_TRUE(copy == vol_it::end());  // NOLINT(bugprone-use-after-move): so it is documented
  copy = it;
  ++copy;
  EXPECT_TRUE(copy == moved);

  it = copy = vol_it::end();
  EXPECT_EQ(fake.calls["FindVolumeClose"], 0);
  EXPECT_EQ(::GetErrorMode(), kNoBoxes);
  std::thread([last = std::move(moved)] {}).join();
  EXPECT_EQ(fake.calls["FindVolumeClose"], 1);
  EXPECT_EQ(::GetErrorMode(), kFound);
}

TEST_F(Listings, Ends_AskForNothingAndStay) {
  vol_it end = vol_it::end();
  mp_it none;
  EXPECT_EQ(*++end, L"");
  EXPECT_EQ(*none++, L"");
  EXPECT_EQ(::GetErrorMode(), kFound);
  EXPECT_TRUE(fake.calls.empty());

  vol_it volumes;
  mp_it points(one);
  for (int i = 0; i < 5; ++i) ++volumes, ++points;
  EXPECT_EQ(*volumes, L"");
  EXPECT_EQ(*points, L"");
  EXPECT_EQ(fake.calls["FindNextVolumeW"], 3);
  EXPECT_EQ(fake.calls["FindNextVolumeMountPointW"], 2);
}

TEST_F(Listings, OverlappingListings_RestoreWhatEachHasFound) {
  vol_it first;
  vol_it second;
  {
    const vol_it inner;
  }
  EXPECT_EQ(::GetErrorMode(), kNoBoxes);
  first = vol_it::end();
  EXPECT_EQ(::GetErrorMode(), kFound);
  second = vol_it::end();
  EXPECT_EQ(::SetErrorMode(kFound), kNoBoxes);
  const mp_it points(one);
  EXPECT_EQ(::GetErrorMode(), kFound) << "mount points touch no error mode";
}

TEST_F(Listings, StepThatFails_StaysAndTriesAgain) {
  for (const DWORD code : {5u, 38u, 259u}) {
    fake.fails = FailCalls("FindNextVolumeW", code, 2, 3);
    vol_it volumes;
    for (const wcstring& expected : {two, two, two, three}) EXPECT_EQ(*++volumes, expected);
    fake.fails = FailCalls("FindNextVolumeMountPointW", code);
    mp_it points(one);
    for (const wchar_t* const expected : {L"data\\", L"more\\", L""}) {
      EXPECT_EQ(*++points, expected);
    }
  }
}

TEST_F(Listings, WithoutVolumeNames_AreDriveLetters) {
  fake.types[L"A:\\"] = DRIVE_REMOVABLE;
  fake.types[L"F:\\"] = DRIVE_REMOTE;
  fake.types[L"G:\\"] = DRIVE_RAMDISK;
  fake.types[L"Z:\\"] = DRIVE_FIXED;
  const Names drives = {L"A:\\", L"C:\\", L"D:\\", L"E:\\", L"Z:\\"};
  for (const DWORD version : {4u, 0u}) {
    fake.version = version;
    EXPECT_EQ(Listed(), drives);
    EXPECT_EQ(mp_it(one), mp_it());
  }
  EXPECT_EQ(fake.calls["FindFirstVolumeW"] + fake.calls["FindFirstVolumeMountPointW"], 0);
  fake.version = 5;
  fake.fails = FailCalls("FindFirstVolumeW", ERROR_ACCESS_DENIED, 1, 2);
  EXPECT_EQ(Listed(), drives) << "a search that does not begin";
  EXPECT_EQ(fake.calls["FindVolumeClose"], 0);
  fake.types.clear();
  EXPECT_EQ(vol_it(), vol_it::end()) << "no drive at all";
  EXPECT_EQ(Listed(), (Names{one, two, three})) << "and the version 5 has names";
}

TEST_F(Listings, MountPoints_OfWhatHasNone_AreAtEnd) {
  for (const wcstring& volume : {two, wcstring(), wcstring(std::wstring(40'000, L'x'))}) {
    EXPECT_EQ(mp_it(volume), mp_it());
  }
  fake.fails = FailCalls("FindFirstVolumeMountPointW", ERROR_ACCESS_DENIED);
  EXPECT_EQ(mp_it(one), mp_it());
  EXPECT_EQ(fake.calls["FindVolumeMountPointClose"], 0);
}

TEST_F(Listings, Assignment_BeginsAgainAndLeavesCopies) {
  fake.AddMount(two, L"deep\\", three);
  mp_it it(one);
  const mp_it copy = it;
  test::FailEachAllocation([&] { it = two; }, [&] { EXPECT_EQ(*it, L"data\\"); });
  EXPECT_EQ(*it, L"deep\\");
  EXPECT_EQ(*copy, L"data\\");
  it = three;
  EXPECT_EQ(it, mp_it());
  EXPECT_EQ(fake.calls["FindVolumeMountPointClose"], 1);
}

TEST_F(Listings, MemoryRunsOut_ThrowsAndLeavesNothing_StepsNeedNone) {
  const auto check = [&] {
    EXPECT_EQ(::GetErrorMode(), kFound);
    EXPECT_EQ(fake.calls["FindFirstVolumeW"] + fake.calls["FindFirstVolumeMountPointW"], 0);
  };
  EXPECT_GT(test::FailEachAllocation([] { vol_it(); }, check), 0);
  fake.calls.clear();
  EXPECT_GT(test::FailEachAllocation([&] { mp_it it(one); }, check), 0);
  fake.AddMount(one, L"a mount point with a longer name than those before it\\", two);
  vol_it volumes;
  mp_it points(one);
  EXPECT_EQ(test::FailEachAllocation([&] { *volumes; }, [] {}, test::ThisProgram()), 1);
  fake.calls = {{"FindNextVolumeW", 0}, {"FindNextVolumeMountPointW", 0}};
  const test::Allocations library;
  while (volumes != vol_it::end()) ++volumes, ++points;
  EXPECT_EQ(points, mp_it());
  EXPECT_EQ(library.Count(), 0);
}

}  // namespace
}  // namespace vtclass
