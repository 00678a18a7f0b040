#include "tools/vtctl/session/folder_reader.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/reparse_point.h"
#include "platform/same_name.h"
#include "tools/vtctl/session/read_as.h"
#include "tools/vtctl/session/root_volume.h"
#include "tools/vtctl/shared/printable.h"
#include "vtclass/volumes.h"

namespace vtctl {
namespace {

using namespace vtclass::messages;
using vtclass::platform::IsLink;

// True when the data lie elsewhere and reading would fetch them.
bool IsPlaceholder(const WIN32_FIND_DATAW& entry) {
  // By number: not every SDK that builds this has their names.
  constexpr DWORD kRecallOnOpen = 0x00040000;
  constexpr DWORD kRecallOnDataAccess = 0x00400000;
  constexpr DWORD kElsewhere = FILE_ATTRIBUTE_OFFLINE | kRecallOnOpen | kRecallOnDataAccess;
  return (entry.dwFileAttributes & kElsewhere) != 0;
}

// True for a folder where another volume is mounted; a junction leads to a folder.
bool IsMountPoint(const Path& path, const WIN32_FIND_DATAW& entry) {
  if (entry.dwReserved0 != IO_REPARSE_TAG_MOUNT_POINT) return false;
  bool isVolumeMount = false;
  vtclass::get_reparse_tag(path.System().c_str(), &isVolumeMount);
  return isVolumeMount;
}

bool IsOnTheWay(const std::wstring& volume, const EnteredVolume* entered) {
  for (; entered; entered = entered->above.get()) {
    if (entered->name == volume) return true;
  }
  return false;
}

void Skip(const wchar_t* tag, const std::wstring& text, FolderRecord& record) {
  if (++record.totals.skipped <= kMostSkippedListed) record.skipped.push_back({0, tag, text});
}

}  // namespace

std::wstring LiveCount::Folder() {
  const vtclass::platform::ScopedLock hold(lock);
  return folder;
}

void LiveCount::SetFolder(const std::wstring& shownPath) {
  const vtclass::platform::ScopedLock hold(lock);
  folder = shownPath;
}

FolderReader::FolderReader(const ReadingPlan& plan, LiveCount& live)
    : plan(plan), live(live), files(size_t{plan.settings.bufferSizeKB} * 1024, plan.stop) {}

FolderRecord FolderReader::Read(const FolderPlace& folder) {
  const Path& path = folder.path;
  FolderRecord record(plan.settings.largestFiles);
  record.shownPath = path.Stored();
  live.SetFolder(record.shownPath);
  const ReadingAs acting(plan.reader);
  FolderListing listing =
      acting.Error() == ERROR_SUCCESS ? FolderListing(path) : FolderListing(acting.Error());
  WIN32_FIND_DATAW entry;
  while (!plan.stop.IsGiven() && listing.Next(entry)) {
    ReadEntry({path / entry.cFileName, folder.volume}, entry, record);
  }
  if (listing.Error() != ERROR_SUCCESS) {
    record.lines.push_back(FolderFinding(plan.messages, record.shownPath, listing,
                                         path.System() == plan.root.System()));
    Skip(kTagExcludedItem, record.lines.back().text, record);
  }
  if (listing.Opened()) ++record.totals.folders;
  return record;
}

bool FolderReader::IsSelected(const Path& path, bool isFolder) const {
  if (plan.selection.IsEmpty()) return true;
  std::wstring_view below = path.System();
  below.remove_prefix(std::min(plan.root.System().size(), below.size()));
  if (below.starts_with(L'\\')) below.remove_prefix(1);
  return isFolder ? plan.selection.TakesFolder(below) : plan.selection.TakesFile(below);
}

// `folder` is the entry's own path and volume.
void FolderReader::ReadEntry(const FolderPlace& folder, const WIN32_FIND_DATAW& entry,
                             FolderRecord& record) {
  const Path& path = folder.path;
  if (!IsSelected(path, (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)) {
    ++record.totals.excluded;
    return;
  }
  if (IsLink(entry)) {
    IsMountPoint(path, entry) ? EnterOrSkipVolume(folder, record) : SkipLink(path, record);
  } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
    record.subfolders.push_back(folder);
  } else if (IsPlaceholder(entry)) {
    const std::wstring text = plan.messages.Text(MSG_PLACEHOLDER_SKIPPED, {path.Stored()});
    record.lines.push_back({kCodePlaceholderSkipped, kTagWarningFilePlaceholderSkipped, text,
                            MSG_CATEGORY_DATA, path.Stored()});
    Skip(kTagOfflineFile, text, record);
  } else if (!vtclass::platform::IsSameName(path.System(), plan.logPath.System())) {
    ReadFile(path, entry, record);
  }
}

void FolderReader::ReadFile(const Path& path, const WIN32_FIND_DATAW& entry, FolderRecord& record) {
  if (plan.settings.readFileData == 0) {
    CountFile(path, entry.cFileName, uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow,
              record);
    return;
  }
  const ReadResult read = files.Read(path);
  if (read.outcome == ReadResult::stopped) return;
  if (read.outcome != ReadResult::complete) {
    record.lines.push_back(FileFinding(plan.messages, path.Stored(), read));
  }
  if (read.outcome == ReadResult::complete || read.outcome == ReadResult::changed ||
      read.outcome == ReadResult::shorter) {
    CountFile(path, entry.cFileName, read.read, record);
  } else {
    Skip(kTagExcludedItem, record.lines.back().text, record);
  }
}

void FolderReader::CountFile(const Path& path, const wchar_t* name, uint64_t bytes,
                             FolderRecord& record) {
  ++record.totals.files;
  record.totals.bytes += bytes;
  ++live.files;
  live.bytes += bytes;
  const std::wstring shown = path.Stored();
  record.statistics.Add(shown, Storable(ExtensionOf(name)), bytes);
  if (bytes >= uint64_t{plan.settings.reportLargeFilesMB} << 20) {
    record.lines.push_back(
        {0, kTagFileName,
         plan.messages.Text(MSG_FILE_WITH_SIZE, {shown, plan.messages.Number(bytes)})});
  }
}

// A volume that is already on the way is not entered again: volumes may be mounted in a circle.
void FolderReader::EnterOrSkipVolume(const FolderPlace& mountPoint, FolderRecord& record) {
  const std::wstring shown = mountPoint.path.Stored();
  const std::wstring volume =
      plan.crossVolumes ? VolumeNameAt(mountPoint.path.System()) : std::wstring();
  const bool isCircle = !volume.empty() && IsOnTheWay(volume, mountPoint.volume.get());
  if (!volume.empty() && !isCircle) {
    record.lines.push_back(
        {0, kTagReparsePoint, plan.messages.Text(MSG_MOUNT_POINT_FOLLOWED, {shown, volume})});
    record.subfolders.push_back({mountPoint.path, std::make_shared<const EnteredVolume>(
                                                      EnteredVolume{volume, mountPoint.volume})});
    return;
  }
  const std::wstring text =
      plan.messages.Text(isCircle ? MSG_VOLUME_CYCLE : MSG_MOUNT_POINT_NOT_FOLLOWED, {shown});
  if (isCircle) {
    record.lines.push_back(
        {kCodeVolumeCycle, kTagWarningFolderCycleSkipped, text, MSG_CATEGORY_JOB, shown});
  } else {
    record.lines.push_back({kCodeMountPointNotFollowed, kTagWarningMountPointNotFollowed, text,
                            MSG_CATEGORY_JOB, shown});
  }
  Skip(kTagReparsePoint, text, record);
}

void FolderReader::SkipLink(const Path& path, FolderRecord& record) {
  const std::wstring text = plan.messages.Text(MSG_LINK_NOT_FOLLOWED, {path.Stored()});
  if (plan.settings.reportLinks != 0) {
    record.lines.push_back(
        {kCodeLinkNotFollowed, kTagWarningLinkNotFollowed, text, MSG_CATEGORY_JOB, path.Stored()});
  }
  Skip(kTagReparsePoint, text, record);
}

}  // namespace vtctl
