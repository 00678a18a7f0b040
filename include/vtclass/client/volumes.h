#ifndef VTCLASS_CLIENT_VOLUMES_H
#define VTCLASS_CLIENT_VOLUMES_H

/* What vtclass/volumes.h compiles into its callers: what throws does so on the caller's side, and
 * texts are filled there. Included by that header. */

namespace vtclass {

namespace border {

/* The listings behind vol_it and mp_it; null when there is nothing to list, or on failure. */
VTCLASS_API Listing* ListVolumes(Failure& failure) noexcept;
VTCLASS_API Listing* ListMountPoints(const wchar_t* volume, Failure& failure) noexcept;

/* The texts behind get_volume_name_for_mount_point (false, with the text as it was, where the
 * system knows no volume), get_volume_path_name, get_raw_vol_name and translate_vol_name. */
VTCLASS_API bool GetVolumeNameForMountPoint(const wchar_t* mountPoint, const WideSink& out,
                                            Failure& failure) noexcept;
VTCLASS_API bool GetVolumeNameForMountPoint(const char* mountPoint, const NarrowSink& out,
                                            Failure& failure) noexcept;
VTCLASS_API void GetVolumeRoot(const wchar_t* path, const WideSink& out, Failure& failure) noexcept;
VTCLASS_API bool GetRawVolumeName(const WideSink& volume, Failure& failure) noexcept;
VTCLASS_API void TranslateVolumeName(const WideSink& volume) noexcept;

}  // namespace border

inline vol_it::vol_it() {
  border::Failure failure;
  listing = border::ListVolumes(failure);
  failure.Throw();
}

inline vol_it vol_it::end() noexcept { return vol_it(nullptr); }

inline mp_it::mp_it(const wcstring& volume) {
  border::Failure failure;
  listing = border::ListMountPoints(volume.c_str(), failure);
  failure.Throw();
}

inline wcstring get_volume_name_for_mount_point(const wcstring& mountPoint) {
  wcstring name;
  border::Failure failure;
  const bool isKnown = border::GetVolumeNameForMountPoint(mountPoint.c_str(), name, failure);
  failure.Throw();
  if (!isKnown) name = mountPoint;
  return name;
}

inline cstring get_volume_name_for_mount_point(const cstring& mountPoint) {
  cstring name(mountPoint.GetCodePage());
  border::Failure failure;
  const bool isKnown = border::GetVolumeNameForMountPoint(mountPoint.c_str(), name, failure);
  failure.Throw();
  if (!isKnown) name = mountPoint;
  return name;
}

inline wcstring get_volume_path_name(const wcstring& path) {
  wcstring root;
  border::Failure failure;
  border::GetVolumeRoot(path.c_str(), root, failure);
  failure.Throw();
  return root;
}

inline void translate_vol_name::operator()(wcstring& volume) const noexcept {
  border::TranslateVolumeName(volume);
}

inline bool get_raw_vol_name::operator()(wcstring& volume) const {
  border::Failure failure;
  const bool isReplaced = border::GetRawVolumeName(volume, failure);
  failure.Throw();
  return isReplaced;
}

}  // namespace vtclass

#endif
