#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <winioctl.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/fake_volumes.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/wine.h"
#include "vtclass/volumes.h"

namespace vtclass {
namespace {

using test::MountPoint;
using test::Replace;
using Bytes = std::vector<unsigned char>;

constexpr unsigned long kMountPoint = 0xA0000003;

constexpr std::wstring_view kVolume = L"\\??\\Volume{26a21bda-a627-11d7-9931-806e6f6e6963}\\";
constexpr std::wstring_view kFolder = L"\\??\\D:\\data";

struct Row {
  Bytes data;
  unsigned long tag;
  bool leadsToVolume;
};

std::vector<Row> Rows() {
  const Bytes volume = MountPoint(kVolume);
  std::vector<Row> rows = {
      {volume, kMountPoint, true},
      {MountPoint(kFolder), kMountPoint, false},
      {MountPoint(kVolume, 7), kMountPoint, true},
      {MountPoint(kFolder, 7), kMountPoint, false},
      {MountPoint(L""), kMountPoint, true},
      {MountPoint(kVolume, 0, 1), kMountPoint, false},       // a byte beyond what was returned
      {MountPoint(kVolume, 0, 0xFF00), kMountPoint, false},  // and many
      {MountPoint(L"Volume", 0, -1), kMountPoint, true},     // half a character does not count
      {MountPoint(L"Volume:", 0, -2), kMountPoint, true},    // nor what lies behind the name
      {MountPoint(L"Volume:", 0, -1), kMountPoint, true},
      {MountPoint(L"\x3A00\x003B"), kMountPoint, true},  // no colons
      {MountPoint(kVolume, 0, 0, IO_REPARSE_TAG_SYMLINK), IO_REPARSE_TAG_SYMLINK, false},
      {{3, 0, 0}, 0, false},
      {{}, 0, false},
  };
  const Bytes behind = MountPoint(kVolume, 7);
  rows.push_back({Bytes(behind.begin(), behind.end() - 2), kMountPoint, false});
  for (const std::size_t size : {4u, 8u, 15u, 16u, 30u}) {
    rows.push_back({Bytes(volume.begin(), volume.begin() + static_cast<std::ptrdiff_t>(size)),
                    kMountPoint, false});
  }
  return rows;
}

TEST(ReparseTag, IsThatOfThePathItself) {
  const auto look = Replace<decltype(::GetFileAttributesW)>("GetFileAttributesW", [](auto...) {
    return DWORD{FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY};
  });
  const test::HandleCounter handles;
  bool opens = true;
  const auto open = Replace<decltype(::CreateFileW)>(
      "CreateFileW", [&](LPCWSTR, DWORD access, DWORD share, auto, DWORD how, DWORD flags, auto) {
        EXPECT_EQ(access, DWORD{GENERIC_READ});
        EXPECT_EQ(share, DWORD{FILE_SHARE_READ | FILE_SHARE_WRITE});
        EXPECT_EQ(how, DWORD{OPEN_EXISTING});
        EXPECT_EQ(flags, DWORD{FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS});
        return opens ? ::CreateEventW(nullptr, TRUE, TRUE, nullptr) : INVALID_HANDLE_VALUE;
      });
  const Row* current = nullptr;
  const auto control = Replace<decltype(::DeviceIoControl)>(
      "DeviceIoControl",
      [&](auto, DWORD code, auto, auto, void* out, DWORD room, LPDWORD size, auto) {
        EXPECT_EQ(code, DWORD{FSCTL_GET_REPARSE_POINT});
        EXPECT_EQ(room, 16412u);
        ::SetLastError(ERROR_NOT_A_REPARSE_POINT);
        std::memset(out, 0xA3, room);
        if (!current) return FALSE;
        std::ranges::copy(current->data, static_cast<unsigned char*>(out));
        *size = static_cast<DWORD>(current->data.size());
        return TRUE;
      });
  long opened = 0;
  for (const Row& row : Rows()) {
    current = &row;
    bool isVolumeMount = !row.leadsToVolume;
    EXPECT_EQ(get_reparse_tag(L"C:\\mnt", &isVolumeMount), row.tag);
    EXPECT_EQ(isVolumeMount, row.leadsToVolume);
    EXPECT_EQ(get_reparse_tag(L"C:\\mnt", nullptr), row.tag);
    opened += 2;
  }
  current = nullptr;
  for (const bool isOpened : {true, false}) {
    opens = isOpened;
    bool isVolumeMount = true;
    EXPECT_EQ(get_reparse_tag(L"C:\\mnt", &isVolumeMount), 0u) << isOpened;
    EXPECT_FALSE(isVolumeMount);
  }
  EXPECT_EQ(handles.Closed(), opened + 1);
}

TEST(ReparseTag, RealPaths) {
  for (const wchar_t* const path : {L"C:\\windows", L"C:\\windows\\win.ini", L"C:\\missing", L"",
                                    L"\\\\.\\", L"<>", static_cast<const wchar_t*>(nullptr)}) {
    bool isVolumeMount = true;
    EXPECT_EQ(get_reparse_tag(path, &isVolumeMount), 0xFFFFFFFF);
    EXPECT_FALSE(isVolumeMount);
  }
  // There is a link in the root of Wine's drive Z:, which it calls a reparse point without data.
  if (test::RunsUnderWine()) EXPECT_EQ(get_reparse_tag(L"Z:\\bin", nullptr), 0u);
}

}  // namespace
}  // namespace vtclass
