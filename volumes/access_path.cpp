#include <vtclass/win32.h>

#include <cstddef>
#include <cwchar>
#include <deque>
#include <iterator>
#include <optional>
#include <ranges>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/border.h"
#include "volumes/kernel32.h"
#include "vtclass/volumes.h"

using vtclass::border::Failure;
using vtclass::border::ListMountPoints;
using vtclass::border::ListVolumes;
using vtclass::border::WideSink;
using vtclass::platform::HandOver;
using vtclass::platform::KeepFailure;

namespace vtclass::volumes {

namespace {

// A list that does not get on is given up after so many tries.
constexpr int kTries = 16;

// The values that a list has given so far. They stay where they are.
using Seen = std::unordered_set<std::wstring>;

// The value that the list stands at, or the first behind it, that is not among `seen`, which then
// holds it; null at the end, and where there is no getting on. A list that goes round and round
// would never end otherwise.
const std::wstring* NextNew(border::Listing& listing, Seen& seen) {
  for (int tries = 0; !listing.IsAtEnd(); ++tries) {
    const auto [value, isNew] = seen.insert(listing.Value());
    if (isNew) return &*value;
    if (tries == kTries) break;
    listing.Advance();
  }
  return nullptr;
}

struct Mount {
  const std::wstring* host;  // the volume on which it lies
  std::wstring point;        // below the host's root
};

// All mount points of the machine, as far as somebody has asked for them. The system's lists are
// read once at most, and each mount point is looked at once: looking again for the hosts of each
// host would multiply the lists.
class Mounts {
 public:
  explicit Mounts(Failure& failure) : failure(failure) {}

  // The mount point number `index` of all that lead to `volume`; null when there are no more.
  const Mount* Of(const std::wstring& volume, std::size_t index) {
    const std::vector<const Mount*>& known = byVolume[volume];
    while (index >= known.size()) {
      if (!ReadNext()) return nullptr;
    }
    return known[index];
  }

 private:
  bool ReadNext() {
    while (true) {
      const std::wstring* const point = points ? NextNew(*points, seenPoints) : nullptr;
      if (point) {
        const Mount& mount = all.emplace_back(host, *point);
        byVolume[get_volume_name_for_mount_point(*host + *point)].push_back(&mount);
        return true;
      }
      points = nullptr;
      if (!OpenNextHost()) return false;
    }
  }

  // False at the end of the volumes, and when a list could not be begun.
  bool OpenNextHost() {
    if (isAtEnd) return false;
    if (!volumes) volumes = ListVolumes(failure);
    host = volumes ? NextNew(*volumes, hosts) : nullptr;
    if (host) points = ListMountPoints(host->c_str(), failure);
    seenPoints.clear();
    isAtEnd = !host || failure.kind != Failure::none;
    return !isAtEnd;
  }

  Failure& failure;
  bool isAtEnd = false;
  RefPointer<border::Listing> volumes;
  Seen hosts;
  const std::wstring* host = nullptr;  // the last of them
  RefPointer<border::Listing> points;  // its own; null when it has none
  Seen seenPoints;
  std::deque<Mount> all;  // grows without moving what it holds
  std::unordered_map<std::wstring, std::vector<const Mount*>> byVolume;
};

// The fixed drives and their volumes. Asked one after the other, as far as needed: a drive may be
// slow to answer.
class Drives {
 public:
  explicit Drives(Failure& failure) noexcept {
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length = ::GetLogicalDriveStringsW(static_cast<DWORD>(std::size(roots)), roots);
    // A machine without drives is none of these.
    if (length < std::size(roots) && (length > 0 || ::GetLastError() == ERROR_SUCCESS)) return;
    failure.kind = Failure::systemCode;
    failure.code = ::GetLastError();
    *roots = L'\0';
  }

  // The root of a volume's drive; null when it has none.
  const std::wstring* RootOf(const std::wstring& volume) {
    for (std::size_t i = 0; i < known.size() || ReadNext(); ++i) {
      if (known[i].volume == volume) return &known[i].root;
    }
    return nullptr;
  }

 private:
  struct Drive {
    std::wstring root;
    std::wstring volume;
  };

  bool ReadNext() {
    while (*next) {
      const wchar_t* const root = next;
      next += std::wcslen(root) + 1;
      if (::GetDriveTypeW(root) != DRIVE_FIXED) continue;
      known.push_back({root, get_volume_name_for_mount_point(wcstring(root))});
      return true;
    }
    return false;
  }

  wchar_t roots[26 * 4 + 1] = {};  // "A:\" to "Z:\", each with its zero, and one behind them
  const wchar_t* next = roots;
  std::vector<Drive> known;
};

// Where a volume can be reached; nothing when it cannot, and when `failure` tells that the search
// failed. Mounts are followed in the order in which the system lists them, each as deep as it goes,
// and no volume twice: one that was met before is either looked for already, so that it hosts
// itself, or has no path.
std::optional<std::wstring> FindAccessPath(const std::wstring& volume, Failure& failure) {
  Drives drives(failure);
  if (failure.kind != Failure::none) return std::nullopt;
  if (const std::wstring* const root = drives.RootOf(volume)) return *root;

  struct Level {
    const std::wstring* volume;
    std::size_t next = 0;
    const Mount* mount = nullptr;  // by which the level below it goes on
  };
  Mounts mounts(failure);
  std::unordered_set<std::wstring> met{volume};
  std::vector<Level> chain{{&volume}};
  while (!chain.empty()) {
    Level& last = chain.back();
    last.mount = mounts.Of(*last.volume, last.next++);
    if (!last.mount) {
      chain.pop_back();
      continue;
    }
    const std::wstring& host = *last.mount->host;
    if (const std::wstring* const root = drives.RootOf(host)) {
      std::wstring path = *root;
      for (const Level& level : std::views::reverse(chain)) path += level.mount->point;
      return path;
    }
    if (met.insert(host).second) chain.push_back({&host});
  }
  return std::nullopt;
}

}  // namespace

}  // namespace vtclass::volumes

namespace vtclass {

bool unmounted_drive::operator()(const wcstring& volume) const noexcept {
  if (!volumes::HasVolumeNames()) return false;
  Failure failure;
  bool isMounted = false;
  KeepFailure(failure,
              [&] { isMounted = volumes::FindAccessPath(volume.c_str(), failure).has_value(); });
  return failure.kind == Failure::none && !isMounted;
}

void border::TranslateVolumeName(const WideSink& volume) noexcept {
  if (!volumes::HasVolumeNames()) return;
  Failure failure;
  KeepFailure(failure, [&] {
    // NOLINTNEXTLINE(readability-redundant-string-cstr): the text ends at its first zero
    const auto path = volumes::FindAccessPath(volume.Text().c_str(), failure);
    if (path) HandOver(volume, *path);
  });
}

}  // namespace vtclass
