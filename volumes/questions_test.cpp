#include <gtest/gtest.h>

#include <list>

#include "tests/support/fake_volumes.h"
#include "tests/support/import_hook.h"
#include "vtclass/volumes.h"

namespace vtclass {
namespace {

using test::FakeVolumes;
using test::ImportHook;

// A temporary would be gone when the question is asked.
static_assert(std::is_constructible_v<get<free_space>, const wcstring&>);
static_assert(!std::is_constructible_v<get<free_space>, wcstring>);
static_assert(!std::is_constructible_v<get<free_space>, const wcstring>);
static_assert(!std::is_constructible_v<get<cluster_size>, const wchar_t*>);

template <typename Tag>
ULONGLONG Bytes(const wcstring& root) {
  return ULARGE_INTEGER(get<Tag>(root)).QuadPart;
}

DWORD sectorsPerCluster;
DWORD bytesPerSector;
BOOL knowsSizes;
BOOL WINAPI Sizes(LPCWSTR, LPDWORD sectors, LPDWORD bytes, LPDWORD free, LPDWORD total) {
  *sectors = sectorsPerCluster;
  *bytes = bytesPerSector;
  *free = *total = 1;
  return knowsSizes;
}

TEST(VolumeSpace, IsTheSystems) {
  FakeVolumes fake;
  constexpr ULONGLONG kAll = ~0ULL;
  fake.spaces = {{L"C:\\", {10, 100, 30}}, {L"Q:\\", {5, 20, 30}}, {L"X:\\", {kAll, kAll, 0}}};
  struct Row {
    wcstring root;
    ULONGLONG free, freeToUser, total, occupied;
  };
  const Row rows[] = {{L"C:\\", 30, 10, 100, 70},
                      {L"Q:\\", 30, 5, 20, 0},  // a quota smaller than what is free
                      {L"X:\\", 0, kAll, kAll, kAll},
                      {L"gone", 0, 0, 0, 0},
                      {nullptr, 0, 0, 0, 0}};
  for (const Row& row : rows) {
    EXPECT_EQ(Bytes<free_space>(row.root), row.free) << cstring(row.root);
    EXPECT_EQ(Bytes<free_space_to_usr>(row.root), row.freeToUser) << cstring(row.root);
    EXPECT_EQ(Bytes<total_space>(row.root), row.total) << cstring(row.root);
    EXPECT_EQ(Bytes<occupied_space>(row.root), row.occupied) << cstring(row.root);
  }
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_NOT_READY});
}

TEST(VolumeSpace, Sizes) {
  struct Row {
    DWORD sectors, bytes;
    BOOL isKnown;
    unsigned long cluster, sector;
  };
  const Row rows[] = {{8, 512, TRUE, 4096, 512},
                      {8, 512, FALSE, 0, 0},
                      {0xFFFFFFFF, 1, TRUE, 0xFFFFFFFF, 1},
                      {0x80000000, 2, TRUE, 0, 2},
                      {0xFFFFFFFF, 0xFFFFFFFF, TRUE, 0, 0xFFFFFFFF}};
  const wcstring root = L"C:\\";
  for (const Row& row : rows) {
    const ImportHook<decltype(::GetDiskFreeSpaceW)> hook("KERNEL32.dll", "GetDiskFreeSpaceW",
                                                         &Sizes);
    sectorsPerCluster = row.sectors, bytesPerSector = row.bytes, knowsSizes = row.isKnown;
    EXPECT_EQ(get<cluster_size>(root), row.cluster);
    EXPECT_EQ(get<sector_size>(root), row.sector);
  }
}

TEST(VolumeSpace, RealDrive_AnswersAsTheBareCalls) {
  const wcstring root = L"C:\\";
  ULARGE_INTEGER total{};
  ASSERT_TRUE(::GetDiskFreeSpaceExW(root.c_str(), nullptr, &total, nullptr));
  EXPECT_EQ(Bytes<total_space>(root), total.QuadPart);
  EXPECT_GT(Bytes<occupied_space>(root), 0u);
  DWORD sectors = 0, bytes = 0, free = 0, clusters = 0;
  ASSERT_TRUE(::GetDiskFreeSpaceW(root.c_str(), &sectors, &bytes, &free, &clusters));
  EXPECT_EQ(get<sector_size>(root), bytes);
  EXPECT_EQ(get<cluster_size>(root), sectors * bytes);
}

TEST(VolumeSpace, Order) {
  FakeVolumes fake;
  fake.spaces = {{L"A:\\", {9, 9, 2}}, {L"B:\\", {8, 8, 3}}, {L"C:\\", {7, 7, 2}}};
  struct Row {
    const wchar_t *a, *b;
    bool less;
  };
  const Row rows[] = {{L"A:\\", L"B:\\", true},  {L"B:\\", L"A:\\", false},
                      {L"A:\\", L"A:\\", false}, {L"A:\\", L"C:\\", false},
                      {L"gone", L"A:\\", true},  {L"gone", L"lost", false}};
  for (const Row& row : rows) {
    EXPECT_EQ(less_free_space()(row.a, row.b), row.less);
    EXPECT_EQ(more_free_space()(row.a, row.b), !row.less);
  }
  std::list<wcstring> volumes = {L"A:\\", L"gone", L"B:\\", L"C:\\"};
  volumes.sort(less_free_space());
  EXPECT_EQ(volumes, (std::list<wcstring>{L"gone", L"A:\\", L"C:\\", L"B:\\"}));
}

TEST(VolumePredicates, NonFixedDrive) {
  FakeVolumes fake;
  fake.types = {{L"A:\\", DRIVE_REMOVABLE}, {L"C:\\", DRIVE_FIXED},   {L"D:\\", DRIVE_CDROM},
                {L"N:\\", DRIVE_REMOTE},    {L"R:\\", DRIVE_RAMDISK}, {L"U:\\", DRIVE_UNKNOWN}};
  for (const auto& [root, type] : fake.types) {
    EXPECT_EQ(non_fixed_drive()(root), type != DRIVE_FIXED) << cstring(wcstring(root));
  }
  EXPECT_TRUE(non_fixed_drive()(L"gone"));
  EXPECT_TRUE(non_fixed_drive()(nullptr)) << "null is no drive, not the current one";
  EXPECT_TRUE(remove_all()(L"C:\\"));
  EXPECT_TRUE(remove_all()(nullptr));
}

BOOL informs;
DWORD informationCode;
BOOL WINAPI Information(LPCWSTR, LPWSTR, DWORD, LPDWORD, LPDWORD, LPDWORD, LPWSTR, DWORD) {
  ::SetLastError(informationCode);
  return informs;
}

TEST(VolumePredicates, UnrecognizedFs) {
  EXPECT_FALSE(unrecognized_fs()(L"C:\\"));
  EXPECT_FALSE(unrecognized_fs()(nullptr));
  EXPECT_FALSE(unrecognized_fs()(L"\\\\.\\nul"));
  const ImportHook<decltype(::GetVolumeInformationW)> hook("KERNEL32.dll", "GetVolumeInformationW",
                                                           &Information);
  struct Row {
    BOOL informs;
    DWORD code;
    bool isUnrecognized;
  };
  const Row rows[] = {{FALSE, ERROR_UNRECOGNIZED_VOLUME, true},
                      {TRUE, ERROR_UNRECOGNIZED_VOLUME, false},
                      {FALSE, ERROR_NOT_READY, false},
                      {FALSE, ERROR_SUCCESS, false}};
  for (const Row& row : rows) {
    informs = row.informs, informationCode = row.code;
    EXPECT_EQ(unrecognized_fs()(L"C:\\"), row.isUnrecognized) << row.code;
  }
}

}  // namespace
}  // namespace vtclass
