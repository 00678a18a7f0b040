#include "tools/vtctl/shared/volume.h"

#include <vtclass/win32.h>

#include <vtcluster/vtcluster.h>

#include <algorithm>
#include <tuple>

#include "vtclass/volumes.h"

namespace vtctl {
namespace {

// How often in a row a list may fail to get on before it is given up.
constexpr int kMostFailures = 16;

Volume::Type TypeOf(const wcstring& root) {
  switch (::GetDriveTypeW(root.c_str())) {
    case DRIVE_REMOVABLE:
      return Volume::removable;
    case DRIVE_FIXED:
      return Volume::fixed;
    case DRIVE_REMOTE:
      return Volume::network;
    case DRIVE_CDROM:
      return Volume::cdRom;
    case DRIVE_RAMDISK:
      return Volume::ramDisk;
    default:
      return Volume::unknown;
  }
}

// All that the system knows; nothing where it cannot say. The texts follow each other, and an empty
// one ends them.
std::optional<std::vector<std::wstring>> PathsFromSystem(const wcstring& name) {
  vtclass::Kernel32Glue* const kernel = vtclass::Kernel32Glue::GetInstance();
  std::wstring texts(MAX_PATH, L'\0');
  DWORD needed = 0;
  if (!kernel) return std::nullopt;
  while (!kernel->GetVolumePathNamesForVolumeNameW(name.c_str(), texts.data(),
                                                   static_cast<DWORD>(texts.size()), &needed)) {
    if (::GetLastError() != ERROR_MORE_DATA) return std::nullopt;
    // Paths that came in between need more room than the system has just said.
    texts.assign(std::max<size_t>(needed, texts.size() * 2), L'\0');
  }
  std::vector<std::wstring> paths;
  for (const wchar_t* path = texts.c_str(); *path; path += paths.back().size() + 1) {
    paths.emplace_back(path);
  }
  return paths;
}

std::vector<std::wstring> PathsOf(const wcstring& name) {
  if (!vtclass::mountmgr_is_volume_name(name)) return {name};
  const auto paths = PathsFromSystem(name);
  if (paths) return *paths;
  wcstring path = name;
  vtclass::translate_vol_name()(path);
  if (path == name) return {};
  return {path};
}

bool IsOnSharedVolume(const std::wstring& path) {
  return ResourceGlue::GetInstance()->ClusterIsPathOnSharedVolume(path.c_str());
}

// File system and label. False, with the reason in `error`, when the volume cannot be reached.
bool Reach(const wcstring& root, Volume& volume, bool& isReadOnly) {
  wchar_t label[MAX_PATH + 1] = {};
  wchar_t fileSystem[MAX_PATH + 1] = {};
  DWORD flags = 0;
  if (!::GetVolumeInformationW(root.c_str(), label, ARRAYSIZE(label), nullptr, nullptr, &flags,
                               fileSystem, ARRAYSIZE(fileSystem)) ||
      ::GetFileAttributesW(root.c_str()) == INVALID_FILE_ATTRIBUTES) {
    volume.error = ::GetLastError();
    return false;
  }
  volume.label = label;
  volume.fileSystem = fileSystem;
  isReadOnly = volume.type == Volume::cdRom || (flags & FILE_READ_ONLY_VOLUME) != 0;
  return true;
}

void Measure(const wcstring& root, Volume& volume) {
  using namespace vtclass;
  volume.totalSpace = ULARGE_INTEGER(get<total_space>(root)).QuadPart;
  volume.freeSpace = ULARGE_INTEGER(get<free_space>(root)).QuadPart;
  volume.freeSpaceToUser = ULARGE_INTEGER(get<free_space_to_usr>(root)).QuadPart;
  volume.occupiedSpace = ULARGE_INTEGER(get<occupied_space>(root)).QuadPart;
  volume.clusterSize = get<cluster_size>(root);
  volume.sectorSize = get<sector_size>(root);
}

void TestWriting(const wcstring& root, Volume& volume) {
  const bool isWritable = vtclass::IsVolumeWriteable(root.c_str());
  const DWORD error = isWritable ? ERROR_SUCCESS : ::GetLastError();
  // Somebody else, an agent perhaps, is testing right now: that tells nothing.
  if (error == ERROR_SHARING_VIOLATION) return;
  volume.isWritable = isWritable;
  volume.writeError = error;
}

Volume Ask(const wcstring& name, WriteTest test) {
  Volume volume;
  volume.name = name;
  volume.paths = PathsOf(name);
  const wcstring root = volume.paths.empty() ? name : wcstring(volume.paths.front().c_str());
  volume.type = TypeOf(root);
  volume.isClusterShared = std::ranges::any_of(volume.paths, IsOnSharedVolume);
  bool isReadOnly = false;
  if (!Reach(root, volume, isReadOnly)) return volume;
  Measure(root, volume);
  if (isReadOnly) {
    volume.isWritable = false;
    volume.writeError = ERROR_WRITE_PROTECT;
  } else if (test == WriteTest::file) {
    TestWriting(root, volume);
  }
  return volume;
}

// The listing is kept while its volumes are asked: with it goes the error mode in which a drive
// without a medium gives an error and no box on the screen.
void Collect(WriteTest test, VolumeList& list) {
  int failures = 0;
  DWORD status = ERROR_SUCCESS;  // of the last step
  for (vtclass::vol_it volume; volume != vtclass::vol_it::end();) {
    const wcstring name = *volume;
    if (std::ranges::find(list.volumes, name, &Volume::name) == list.volumes.end()) {
      list.volumes.push_back(Ask(name, test));
      failures = 0;
    } else if (++failures == kMostFailures) {
      list.error = status != ERROR_SUCCESS ? status : ERROR_INVALID_DATA;
      return;
    }
    ++volume;
    status = ::GetLastError();
  }
}

}  // namespace

bool IsMissed(const Volume& volume) {
  return !volume.IsReached() && volume.type != Volume::removable && volume.type != Volume::cdRom;
}

double OccupiedPart(const Volume& volume) {
  if (volume.totalSpace == 0) return 0;
  return static_cast<double>(volume.occupiedSpace) / static_cast<double>(volume.totalSpace);
}

VolumeList ListVolumes(WriteTest test) {
  VolumeList list;
  try {
    Collect(test, list);
  } catch (const unsigned long code) {
    list.error = code;
  }
  std::ranges::sort(list.volumes, [](const Volume& a, const Volume& b) {
    if (a.paths.empty() != b.paths.empty()) return b.paths.empty();
    return std::tie(a.paths, a.name) < std::tie(b.paths, b.name);
  });
  return list;
}

}  // namespace vtctl
