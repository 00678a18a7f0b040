#include "tools/vtctl/session/root_volume.h"

#include "vtclass/volumes.h"

namespace vtctl {
namespace {

// What the Tag stands for; nothing when the system refuses, which it tells by no space at all.
template <typename Tag>
std::optional<uint64_t> SpaceOf(const wcstring& root) {
  const ULARGE_INTEGER total = vtclass::get<vtclass::total_space>(root);
  if (total.QuadPart == 0) return std::nullopt;
  return ULARGE_INTEGER(vtclass::get<Tag>(root)).QuadPart;
}

}  // namespace

RootVolume VolumeOf(const Path& root) {
  RootVolume volume;
  volume.path = vtclass::get_volume_path_name(root.System().c_str());
  volume.name = VolumeNameAt(ShownPath(volume));
  return volume;
}

std::wstring VolumeNameAt(const std::wstring& mountPoint) {
  wcstring place = mountPoint.c_str();
  if (!place.ends_with(L'\\')) place += L'\\';
  wcstring name = vtclass::get_volume_name_for_mount_point(place);
  if (!vtclass::mountmgr_is_volume_name(name)) return {};
  return name;
}

std::optional<uint64_t> FreeSpaceOf(const RootVolume& volume) {
  if (volume.path.empty()) return std::nullopt;
  return SpaceOf<vtclass::free_space>(volume.path.c_str());
}

std::wstring ShownPath(const RootVolume& volume) {
  const bool isName = vtclass::mountmgr_is_volume_name(wcstring(volume.path.c_str()));
  return isName ? volume.path : Path(volume.path).Stored();
}

std::wstring Shown(const RootVolume& volume) {
  const bool hasOtherName = !volume.name.empty() && volume.name != volume.path;
  return ShownPath(volume) + (hasOtherName ? L" (" + volume.name + L")" : std::wstring());
}

std::wstring LogSpaceWarning(const Messages& messages, const Path& folder) {
  const std::wstring root = (folder / L"").System();
  const auto space = SpaceOf<vtclass::free_space_to_usr>(root.c_str());
  if (!space || *space >= kLeastLogSpace) return {};
  return messages.Text(MSG_LOG_SPACE_LOW, {messages.Size(*space), folder.Stored()});
}

}  // namespace vtctl
