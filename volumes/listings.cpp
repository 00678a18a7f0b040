#include <vtclass/win32.h>

#include <cwchar>
#include <memory>

#include "platform/border.h"
#include "platform/owned.h"
#include "volumes/kernel32.h"
#include "vtclass/volumes.h"

using vtclass::border::Failure;
using vtclass::platform::KeepFailure;
using vtclass::platform::Owned;

namespace vtclass::volumes {

namespace {

// What a search takes at once.
constexpr DWORD kNameRoom = 260;

struct VolumeSearchTraits {
  using Type = HANDLE;
  static Type Empty() noexcept { return INVALID_HANDLE_VALUE; }
  static bool Close(Type search) noexcept { return findVolumeClose(search) != FALSE; }
};

struct MountPointSearchTraits {
  using Type = HANDLE;
  static Type Empty() noexcept { return INVALID_HANDLE_VALUE; }
  static bool Close(Type search) noexcept { return findVolumeMountPointClose(search) != FALSE; }
};

// No message box for a drive without a disk, in this process and for one scope.
class NoBoxes {
 public:
  NoBoxes() noexcept : found(::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX)) {}
  ~NoBoxes() { ::SetErrorMode(found); }
  NoBoxes(const NoBoxes&) = delete;
  NoBoxes& operator=(const NoBoxes&) = delete;

 private:
  UINT found;
};

// A listing by a search of the system. All memory is taken at its construction: no step allocates.
class Search : public border::Listing {
 protected:
  Search() { value.reserve(kNameRoom); }

  void TakeName() noexcept { value.assign(name, ::wcsnlen(name, kNameRoom)); }

  void Take(bool found) noexcept {
    if (found) {
      TakeName();
    } else if (::GetLastError() == ERROR_NO_MORE_FILES) {
      End();
    }
  }

  void End() noexcept {
    atEnd = true;
    value.clear();
  }

  // Where the system writes: a step that fails may leave anything there.
  wchar_t name[kNameRoom] = {};
};

class VolumeListing final : public Search {
 public:
  // False when a function is missing.
  bool Begin(Failure& failure) noexcept {
    if (HasVolumeNames()) {
      if (!AreBound(failure, findFirstVolume, findNextVolume, findVolumeClose,
                    findFirstVolumeMountPoint, findNextVolumeMountPoint, findVolumeMountPointClose,
                    getVolumePathName, getVolumeNameForVolumeMountPoint)) {
        return false;
      }
      search.Reset(findFirstVolume(name, kNameRoom));
    }
    if (search) {
      TakeName();
    } else {
      TakeDrive();
    }
    return true;
  }

  void Advance() noexcept override {
    if (atEnd) return;
    if (search) {
      Take(findNextVolume(search.Get(), name, kNameRoom) != FALSE);
    } else {
      TakeDrive();
    }
  }

 private:
  void TakeDrive() noexcept {
    while (letter <= L'Z') {
      const wchar_t root[] = {letter++, L':', L'\\', L'\0'};
      const UINT type = ::GetDriveTypeW(root);
      if (type == DRIVE_FIXED || type == DRIVE_CDROM || type == DRIVE_REMOVABLE) {
        value.assign(root);
        return;
      }
    }
    End();
  }

  const NoBoxes noBoxes;  // the first to come and the last to go
  Owned<VolumeSearchTraits> search;
  wchar_t letter = L'A';
};

class MountPointListing final : public Search {
 public:
  // False when there is nothing to list, and when a function is missing.
  bool Begin(const wchar_t* volume, Failure& failure) noexcept {
    if (!HasVolumeNames() || !AreBound(failure, findFirstVolumeMountPoint, findNextVolumeMountPoint,
                                       findVolumeMountPointClose)) {
      return false;
    }
    search.Reset(findFirstVolumeMountPoint(volume, name, kNameRoom));
    if (!search) return false;
    TakeName();
    return true;
  }

  void Advance() noexcept override {
    if (!atEnd) Take(findNextVolumeMountPoint(search.Get(), name, kNameRoom) != FALSE);
  }

 private:
  Owned<MountPointSearchTraits> search;
};

// A listing that has begun; null otherwise.
template <typename Listing, typename... Arguments>
border::Listing* Begun(Failure& failure, Arguments... arguments) noexcept {
  std::unique_ptr<Listing> listing;
  KeepFailure(failure, [&] { listing.reset(new Listing); });
  if (!listing || !listing->Begin(arguments..., failure)) return nullptr;
  return listing.release();
}

}  // namespace

}  // namespace vtclass::volumes

namespace vtclass::border {

Listing* ListVolumes(Failure& failure) noexcept {
  return volumes::Begun<volumes::VolumeListing>(failure);
}

Listing* ListMountPoints(const wchar_t* volume, Failure& failure) noexcept {
  return volumes::Begun<volumes::MountPointListing>(failure, volume);
}

}  // namespace vtclass::border
