#ifndef VTCLASS_VOLUMES_KERNEL32_H
#define VTCLASS_VOLUMES_KERNEL32_H

#include <vtclass/win32.h>

#include "platform/bound_function.h"
#include "platform/os_version.h"
#include "vtclass/border.h"

/* The functions of kernel32.dll that a system may lack, bound at their first use. */
namespace vtclass::volumes {

/* Answers 0 where it is missing. */
template <typename Function>
constexpr platform::BoundFunction<Function> Kernel32Function(const char* name) noexcept {
  return {L"kernel32.dll", name, {}};
}

inline constinit auto findFirstVolume =
    Kernel32Function<decltype(::FindFirstVolumeW)>("FindFirstVolumeW");
inline constinit auto findNextVolume =
    Kernel32Function<decltype(::FindNextVolumeW)>("FindNextVolumeW");
inline constinit auto findVolumeClose =
    Kernel32Function<decltype(::FindVolumeClose)>("FindVolumeClose");
inline constinit auto findFirstVolumeMountPoint =
    Kernel32Function<decltype(::FindFirstVolumeMountPointW)>("FindFirstVolumeMountPointW");
inline constinit auto findNextVolumeMountPoint =
    Kernel32Function<decltype(::FindNextVolumeMountPointW)>("FindNextVolumeMountPointW");
inline constinit auto findVolumeMountPointClose =
    Kernel32Function<decltype(::FindVolumeMountPointClose)>("FindVolumeMountPointClose");
inline constinit auto getVolumePathName =
    Kernel32Function<decltype(::GetVolumePathNameW)>("GetVolumePathNameW");
inline constinit auto getVolumePathNamesForVolumeName =
    Kernel32Function<decltype(::GetVolumePathNamesForVolumeNameW)>(
        "GetVolumePathNamesForVolumeNameW");
inline constinit auto getVolumeNameForVolumeMountPoint =
    Kernel32Function<decltype(::GetVolumeNameForVolumeMountPointW)>(
        "GetVolumeNameForVolumeMountPointW");
inline constinit auto getVolumeNameForVolumeMountPointNarrow =
    Kernel32Function<decltype(::GetVolumeNameForVolumeMountPointA)>(
        "GetVolumeNameForVolumeMountPointA");
inline constinit auto setFileShortName =
    Kernel32Function<decltype(::SetFileShortNameW)>("SetFileShortNameW");
inline constinit auto getThreadId = Kernel32Function<decltype(::GetThreadId)>("GetThreadId");

/* True when all are there; otherwise `failure` holds the code of the first that is missing. */
template <typename... Functions>
bool AreBound(border::Failure& failure, Functions&... functions) noexcept {
  if ((... && (functions.Get() != nullptr))) return true;
  failure.code = ::GetLastError();
  failure.kind = border::Failure::systemCode;
  return false;
}

/* The system has names for volumes and says so. */
inline bool HasVolumeNames() noexcept { return platform::IsSystemAtLeast(5, 0); }

}  // namespace vtclass::volumes

#endif
