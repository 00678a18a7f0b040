#include <vtclass/win32.h>

#include <atomic>
#include <new>

#include "volumes/kernel32.h"
#include "vtclass/volumes.h"

namespace vtclass {

namespace {

constinit std::atomic<Kernel32Glue*> instance{nullptr};

// Looks all of them up, also behind one that is missing.
template <typename... Functions>
bool Bind(Functions&... functions) noexcept {
  return (... & (functions.Get() != nullptr));
}

// Callers know a missing function by 127, whatever the look-up has said.
template <typename Function, typename Result, typename... Arguments>
Result CallOr(Result missing, Function& function, Arguments... arguments) noexcept {
  if (function.Get()) return function(arguments...);
  ::SetLastError(ERROR_PROC_NOT_FOUND);
  return missing;
}

}  // namespace

Kernel32Glue::Kernel32Glue() noexcept
    : ok(Bind(volumes::findFirstVolume, volumes::findNextVolume, volumes::findVolumeClose,
              volumes::getVolumePathNamesForVolumeName)) {
  Bind(volumes::findFirstVolumeMountPoint, volumes::findNextVolumeMountPoint,
       volumes::findVolumeMountPointClose, volumes::getVolumePathName,
       volumes::getVolumeNameForVolumeMountPoint, volumes::setFileShortName, volumes::getThreadId);
}

Kernel32Glue* Kernel32Glue::GetInstance() noexcept {
  Kernel32Glue* published = instance.load(std::memory_order_acquire);
  if (published) return published;
  auto* const made = new (std::nothrow) Kernel32Glue;
  if (!made) {
    ::SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
  }
  if (instance.compare_exchange_strong(published, made, std::memory_order_acq_rel)) return made;
  delete made;
  return published;
}

void Kernel32Glue::DestroyInstance() noexcept { delete instance.exchange(nullptr); }

bool Kernel32Glue::OK() const noexcept { return ok; }

HANDLE Kernel32Glue::FindFirstVolumeW(wchar_t* name, DWORD characters) noexcept {
  return CallOr(INVALID_HANDLE_VALUE, volumes::findFirstVolume, name, characters);
}

BOOL Kernel32Glue::FindNextVolumeW(HANDLE search, wchar_t* name, DWORD characters) noexcept {
  return CallOr(FALSE, volumes::findNextVolume, search, name, characters);
}

BOOL Kernel32Glue::FindVolumeClose(HANDLE search) noexcept {
  return CallOr(FALSE, volumes::findVolumeClose, search);
}

HANDLE Kernel32Glue::FindFirstVolumeMountPointW(const wchar_t* volume, wchar_t* mountPoint,
                                                DWORD characters) noexcept {
  return CallOr(INVALID_HANDLE_VALUE, volumes::findFirstVolumeMountPoint, volume, mountPoint,
                characters);
}

BOOL Kernel32Glue::FindNextVolumeMountPointW(HANDLE search, wchar_t* mountPoint,
                                             DWORD characters) noexcept {
  return CallOr(FALSE, volumes::findNextVolumeMountPoint, search, mountPoint, characters);
}

BOOL Kernel32Glue::FindVolumeMountPointClose(HANDLE search) noexcept {
  return CallOr(FALSE, volumes::findVolumeMountPointClose, search);
}

BOOL Kernel32Glue::GetVolumePathNameW(const wchar_t* path, wchar_t* root,
                                      DWORD characters) noexcept {
  return CallOr(FALSE, volumes::getVolumePathName, path, root, characters);
}

BOOL Kernel32Glue::GetVolumePathNamesForVolumeNameW(const wchar_t* volume, wchar_t* roots,
                                                    DWORD characters, DWORD* needed) noexcept {
  return CallOr(FALSE, volumes::getVolumePathNamesForVolumeName, volume, roots, characters, needed);
}

BOOL Kernel32Glue::GetVolumeNameForVolumeMountPointW(const wchar_t* mountPoint, wchar_t* volume,
                                                     DWORD characters) noexcept {
  return CallOr(FALSE, volumes::getVolumeNameForVolumeMountPoint, mountPoint, volume, characters);
}

BOOL Kernel32Glue::SetShortFileName(HANDLE file, const wchar_t* shortName) noexcept {
  return CallOr(FALSE, volumes::setFileShortName, file, shortName);
}

DWORD Kernel32Glue::GetThreadId(HANDLE thread) noexcept {
  return CallOr(DWORD{0}, volumes::getThreadId, thread);
}

}  // namespace vtclass
