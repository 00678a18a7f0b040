#include <vtclass/win32.h>

#include <winioctl.h>

#include <algorithm>

#include "platform/owned.h"
#include "volumes/reparse_data.h"
#include "vtclass/volumes.h"

using vtclass::platform::OwnedFile;

namespace {

// The most that a file system hands out, and a little more.
constexpr DWORD kDataRoom = 16412;

}  // namespace

unsigned long vtclass::get_reparse_tag(const wchar_t* path, bool* isVolumeMount) noexcept {
  if (isVolumeMount) *isVolumeMount = false;
  const DWORD attributes = ::GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
    return INVALID_FILE_ATTRIBUTES;
  }
  const OwnedFile file(
      ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) return 0;
  unsigned char data[kDataRoom];
  DWORD size = 0;
  if (!::DeviceIoControl(file.Get(), FSCTL_GET_REPARSE_POINT, nullptr, 0, data, kDataRoom, &size,
                         nullptr)) {
    return 0;
  }
  const volumes::ReparsePoint point = volumes::ReadReparseData({data, std::min(size, kDataRoom)});
  if (isVolumeMount) *isVolumeMount = point.leadsToVolume;
  return point.tag;
}
