#include <vtclass/win32.h>

#include <vtcluster/vtcluster.h>
#include <vtsocket/vtsocket.h>

#include <string>
#include <string_view>

#include "platform/border.h"
#include "platform/no_throw.h"
#include "volumes/kernel32.h"
#include "volumes/volume_text.h"
#include "vtclass/volumes.h"

using vtclass::border::Failure;
using vtclass::border::NarrowSink;
using vtclass::border::TextSink;
using vtclass::border::WideSink;
using vtclass::platform::HandOver;
using vtclass::platform::KeepFailure;
using vtclass::platform::StatusOf;

namespace vtclass::volumes {

namespace {

constexpr DWORD kNameRoom = 512;
constexpr DWORD kRawNameRoom = 1024;
constexpr DWORD kPathRoom = 1024;
constexpr DWORD kClusterPathRoom = 260;

// The text in a buffer, also of a system that leaves its end away.
template <typename Unit, std::size_t room>
std::basic_string_view<Unit> TextIn(const Unit (&buffer)[room]) noexcept {
  const std::basic_string_view<Unit> all(buffer, room);
  return all.substr(0, all.find(Unit{}));
}

// By the wide or the narrow function of the system.
template <typename Unit, typename Function>
bool HandOverName(Function& nameOf, const Unit* mountPoint, const TextSink<Unit>& out,
                  Failure& failure) noexcept {
  Unit name[kNameRoom] = {};
  if (!nameOf(mountPoint, name, kNameRoom)) return false;
  KeepFailure(failure, [&] { HandOver(out, TextIn(name)); });
  return true;
}

// A library that is missing knows no cluster.
bool IsOnSharedVolume(const wchar_t* path) noexcept {
  bool isShared = false;
  StatusOf<VTSocket::VTSocketError>(
      [&] { isShared = ResourceGlue::GetInstance()->ClusterIsPathOnSharedVolume(path); });
  return isShared;
}

// Empty when nobody knows.
std::wstring VolumePath(const wchar_t* path) {
  if (!*path) return {};
  // A system that answers without a text leaves an empty one.
  wchar_t root[kPathRoom] = {};
  const bool isKnown =
      IsOnSharedVolume(path)
          ? ResourceGlue::GetInstance()->ClusterGetVolumePathName(path, root, kClusterPathRoom)
          : getVolumePathName(path, root, kPathRoom) != FALSE;
  return isKnown ? std::wstring(TextIn(root)) : std::wstring();
}

bool ReplaceByRawName(const WideSink& volume, Failure& failure) {
  if (!HasVolumeNames()) {
    // NOLINTNEXTLINE(readability-redundant-string-cstr): the text ends at its first zero
    HandOver(volume, DriveText(volume.Text().c_str()));
    return true;
  }
  std::wstring root = VolumePath(volume.Text().c_str());
  if (root.empty()) return false;
  if (root.back() != L'\\') root += L'\\';
  if (!AreBound(failure, getVolumeNameForVolumeMountPoint)) return false;
  wchar_t name[kRawNameRoom] = {};
  const bool isKnown = getVolumeNameForVolumeMountPoint(root.c_str(), name, kRawNameRoom) != FALSE;
  HandOver(volume, isKnown ? TextIn(name) : std::wstring_view(root));
  return isKnown;
}

}  // namespace

}  // namespace vtclass::volumes

namespace vtclass {

namespace border {

bool GetVolumeNameForMountPoint(const wchar_t* mountPoint, const WideSink& out,
                                Failure& failure) noexcept {
  return volumes::HandOverName(volumes::getVolumeNameForVolumeMountPoint, mountPoint, out, failure);
}

bool GetVolumeNameForMountPoint(const char* mountPoint, const NarrowSink& out,
                                Failure& failure) noexcept {
  return volumes::HandOverName(volumes::getVolumeNameForVolumeMountPointNarrow, mountPoint, out,
                               failure);
}

void GetVolumeRoot(const wchar_t* path, const WideSink& out, Failure& failure) noexcept {
  KeepFailure(failure, [&] { HandOver(out, volumes::VolumePath(path)); });
}

bool GetRawVolumeName(const WideSink& volume, Failure& failure) noexcept {
  bool isReplaced = false;
  KeepFailure(failure, [&] { isReplaced = volumes::ReplaceByRawName(volume, failure); });
  return isReplaced;
}

}  // namespace border

bool mountmgr_is_volume_name(const wcstring& text) noexcept {
  return volumes::HasVolumeNameShape<wchar_t>(text);
}

bool mountmgr_is_volume_name(const cstring& text) noexcept {
  return volumes::HasVolumeNameShape<char>(text);
}

}  // namespace vtclass
