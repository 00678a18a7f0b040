#include "companions/vtcluster/cluster_api.h"
#include "platform/bound_function.h"
#include "vtcluster/vtcluster.h"

namespace {

using vtclass::platform::BoundFunction;

constexpr wchar_t kResUtils[] = L"resutils.dll";

// Present from system version 6.1 on.
constinit BoundFunction<decltype(::ClusterIsPathOnSharedVolume)> clusterIsPathOnSharedVolume(
    kResUtils, "ClusterIsPathOnSharedVolume", FALSE);
constinit BoundFunction<decltype(::ClusterGetVolumePathName)> clusterGetVolumePathName(
    kResUtils, "ClusterGetVolumePathName", FALSE);

}  // namespace

ResourceGlue* ResourceGlue::GetInstance() {
  static constinit ResourceGlue instance;
  return &instance;
}

bool ResourceGlue::ClusterIsPathOnSharedVolume(const wchar_t* path) {
  return path && *path && vtcluster::ClusterRunsOn(nullptr) &&
         clusterIsPathOnSharedVolume(path) != FALSE;
}

bool ResourceGlue::ClusterGetVolumePathName(const wchar_t* path, wchar_t* volumePath,
                                            unsigned long length) {
  if (volumePath && length > 0) *volumePath = L'\0';
  if (!path || !*path || !volumePath || length == 0) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  if (!vtcluster::ClusterRunsOn(nullptr)) {
    ::SetLastError(ERROR_SERVICE_NOT_ACTIVE);
    return false;
  }
  return clusterGetVolumePathName(path, volumePath, length) != FALSE;
}
