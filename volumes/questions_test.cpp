#include <gtest/gtest.h>

#include <list>

#include "tests/support/fake_volumes.h"
#include "tests/support/import_hook.h"
#include "vtclass/volumes.h"

namespace vtclass {
namespace {

using test::FakeVolumes;
using test::Replace;

// A temporary would be gone when the question is asked.
static_assert(std::is_constructible_v<get<free_space>, const wcstring&>);
static_assert(!std::is_constructible_v<get<free_space>, wcstring>);
static_assert(!std::is_constructible_v<get<free_space>, const wcstring>);
static_assert(!std::is_constructible_v<get<cluster_size>, const wchar_t*>);

template <typename Tag>
ULONGLONG Bytes(const wcstring& root) {
  return ULARGE_INTEGER(get<Tag>(root)).QuadPart;
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
    const auto hook = Replace<decltype(::GetDiskFreeSpaceW)>(
        "GetDiskFreeSpaceW", [&](LPCWSTR, LPDWORD sectors, LPDWORD bytes, auto...) {
          *sectors = row.sectors;
          *bytes = row.bytes;
          return row.isKnown;
        });
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
  EXPECT_EQ(get<cluster_size>(root), sectors * bytes);
}

TEST(VolumeSpace, Order) {
  FakeVolumes fake;
  fake.spaces = {{L"A:\\", {9, 9, 2}}, {L"B:\\", {8, 8, 3}}, {L"C:\\", {7, 7, 2}}};
  std::list<wcstring> volumes = {L"A:\\", L"gone", L"B:\\", L"C:\\"};
  volumes.sort(less_free_space());
  EXPECT_EQ(volumes, (std::list<wcstring>{L"gone", L"A:\\", L"C:\\", L"B:\\"}));
  // Contract: one is the other's opposite, so that equal ones are "more" than each other.
  EXPECT_TRUE(more_free_space()(L"A:\\", L"C:\\"));
  EXPECT_TRUE(more_free_space()(L"B:\\", L"A:\\"));
  EXPECT_FALSE(more_free_space()(L"A:\\", L"B:\\"));
}

TEST(VolumePredicates, NonFixedDrive) {
  FakeVolumes fake;
  fake.types = {{L"A:\\", DRIVE_REMOVABLE}, {L"C:\\", DRIVE_FIXED}, {L"U:\\", DRIVE_UNKNOWN}};
  for (const wcstring& root : {L"A:\\", L"U:\\", L"gone"}) EXPECT_TRUE(non_fixed_drive()(root));
  EXPECT_FALSE(non_fixed_drive()(L"C:\\"));
  EXPECT_TRUE(non_fixed_drive()(nullptr)) << "null is no drive, not the current one";
}

TEST(VolumePredicates, UnrecognizedFs) {
  for (const wchar_t* const root : {L"C:\\", L"", L"\\\\.\\nul"})
    EXPECT_FALSE(unrecognized_fs()(root));
  struct Row {
    BOOL informs;
    DWORD code;
    bool isUnrecognized;
  };
  const Row rows[] = {{FALSE, ERROR_UNRECOGNIZED_VOLUME, true},
                      {TRUE, ERROR_UNRECOGNIZED_VOLUME, false},
                      {FALSE, ERROR_NOT_READY, false}};
  for (const Row& row : rows) {
    const auto hook = Replace<decltype(::GetVolumeInformationW)>(
        "GetVolumeInformationW", [&](auto...) { return ::SetLastError(row.code), row.informs; });
    EXPECT_EQ(unrecognized_fs()(L"C:\\"), row.isUnrecognized) << row.code;
  }
}

}  // namespace
}  // namespace vtclass
