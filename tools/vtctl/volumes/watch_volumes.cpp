#include "tools/vtctl/volumes/watch_volumes.h"

#include <algorithm>
#include <tuple>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/wait.h"
#include "tools/vtctl/volumes/volume_text.h"

namespace vtctl {
namespace {

// In the order of VolumeChange::Kind.
const wchar_t* const kKindNames[] = {L"arrived", L"left", L"changed", L"free space"};

// What a volume is, without its free space.
auto Nature(const Volume& volume) {
  return std::tie(volume.paths, volume.type, volume.isClusterShared, volume.error,
                  volume.fileSystem, volume.label, volume.totalSpace, volume.clusterSize,
                  volume.sectorSize);
}

uint64_t Difference(uint64_t a, uint64_t b) { return a > b ? a - b : b - a; }

// "68.9 GB of 107.3 GB, 1.2 GB less"
std::wstring FreeSpaceText(const VolumeChange& change) {
  const Volume& volume = change.volume;
  return WithUnit(volume.freeSpace) + L" of " + WithUnit(volume.totalSpace) + L", " +
         WithUnit(Difference(volume.freeSpace, change.freeSpaceBefore)) +
         (volume.freeSpace < change.freeSpaceBefore ? L" less" : L" more");
}

void PrintChange(const VolumeChange& change, bool json) {
  const bool isFreeSpace = change.kind == VolumeChange::freeSpace;
  if (json) {
    Json line = {{"time", ToUtf8(IsoTime())},
                 {"change", ToUtf8(kKindNames[change.kind])},
                 {"volume", ToJson(change.volume)}};
    if (isFreeSpace) line["freeSpaceBefore"] = change.freeSpaceBefore;
    PrintJsonLine(line);
    return;
  }
  std::wstring text = ClockTime() + L"  " + Fitted(kKindNames[change.kind], 12);
  if (isFreeSpace) {
    text += ShownPlace(change.volume) + L"  " + FreeSpaceText(change);
  } else {
    text += change.kind == VolumeChange::left ? ShownPlace(change.volume) : Line(change.volume);
  }
  Print(text + L"\n");
}

}  // namespace

std::vector<VolumeChange> Update(std::vector<Volume>& known, const std::vector<Volume>& now,
                                 uint64_t step) {
  std::vector<VolumeChange> changes;
  for (const Volume& old : known) {
    if (std::ranges::find(now, old.name, &Volume::name) == now.end()) {
      changes.push_back({VolumeChange::left, old});
    }
  }
  std::vector<Volume> next = now;
  for (Volume& volume : next) {
    const auto old = std::ranges::find(known, volume.name, &Volume::name);
    if (old == known.end()) {
      changes.push_back({VolumeChange::arrived, volume});
    } else if (Nature(volume) != Nature(*old)) {
      changes.push_back({VolumeChange::changed, volume});
    } else if (Difference(volume.freeSpace, old->freeSpace) >= std::max<uint64_t>(step, 1)) {
      changes.push_back({VolumeChange::freeSpace, volume, old->freeSpace});
    } else {
      volume.freeSpace = old->freeSpace;
    }
  }
  known = std::move(next);
  return changes;
}

int WatchVolumes(const WatchOptions& options) {
  const Deadline deadline(options.seconds);
  VolumeList list = ListVolumes(WriteTest::none);
  if (list.error != 0) {
    return Fail(kExitNoAnswer, L"The volumes cannot be listed", list.error);
  }
  std::vector<Volume> known = std::move(list.volumes);
  if (!options.json) Print(L"Watching " + CountText(known) + L"; Ctrl+C ends it.\n");
  for (;;) {
    const WaitEnd end = WaitFor(nullptr, std::min<DWORD>(options.pause, deadline.Left()));
    if (end != WaitEnd::timeout) return ExitCodeOf(end);
    list = ListVolumes(WriteTest::none);
    // A list that ends early would tell of volumes that have left and have not; the next look may
    // be a better one.
    if (list.error == 0) {
      for (const VolumeChange& change : Update(known, list.volumes, options.step)) {
        PrintChange(change, options.json);
      }
    }
    if (deadline.IsOver()) return kExitClean;
  }
}

}  // namespace vtctl
