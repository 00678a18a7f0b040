#include "tools/vtctl/session/folder_reader.h"

#include <utility>

#include "platform/same_name.h"

namespace vtctl {
namespace {

using namespace vtclass::messages;

/* True for what stands for another place of the file system. Other reparse points of files, such
 * as compressed and deduplicated ones, read like any file. */
bool IsLink(const WIN32_FIND_DATAW& entry) {
  if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)) return false;
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ||
         IsReparseTagNameSurrogate(entry.dwReserved0);
}

/* True when the data lie elsewhere and reading would fetch them. */
bool IsPlaceholder(const WIN32_FIND_DATAW& entry) {
  /* By number: not every SDK that builds this has their names. */
  constexpr DWORD kRecallOnOpen = 0x00040000;
  constexpr DWORD kRecallOnDataAccess = 0x00400000;
  constexpr DWORD kElsewhere = FILE_ATTRIBUTE_OFFLINE | kRecallOnOpen | kRecallOnDataAccess;
  return (entry.dwFileAttributes & kElsewhere) != 0;
}

bool IsMountPoint(const Path& path, const WIN32_FIND_DATAW& entry) {
  if (entry.dwReserved0 != IO_REPARSE_TAG_MOUNT_POINT) return false;
  wchar_t volume[64];
  return ::GetVolumeNameForVolumeMountPointW((path.System() + L"\\").c_str(), volume,
                                             ARRAYSIZE(volume));
}

void Skip(const wchar_t* tag, const std::wstring& text, FolderRecord& record) {
  if (++record.totals.skipped <= kMostSkippedListed) record.skipped.push_back({0, tag, text});
}

}  // namespace

FolderReader::FolderReader(const ReadingPlan& plan, LiveCount& live)
    : plan(plan), live(live), files(size_t{plan.settings.bufferSizeKB} * 1024, plan.stop) {}

FolderRecord FolderReader::Read(const Path& path) {
  FolderRecord record(plan.settings.largestFiles);
  record.shownPath = path.Shown();
  FolderListing listing(path);
  WIN32_FIND_DATAW entry;
  while (!plan.stop.IsGiven() && listing.Next(entry)) {
    ReadEntry(path / entry.cFileName, entry, record);
  }
  if (listing.Error() != ERROR_SUCCESS) {
    record.lines.push_back(FolderFinding(plan.messages, record.shownPath, listing,
                                         path.System() == plan.root.System()));
    Skip(kTagExcludedItem, record.lines.back().text, record);
  }
  if (listing.Opened()) ++record.totals.folders;
  return record;
}

void FolderReader::ReadEntry(const Path& path, const WIN32_FIND_DATAW& entry,
                             FolderRecord& record) {
  if (IsLink(entry)) {
    SkipLink(path, entry, record);
  } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
    record.subfolders.push_back(path);
  } else if (IsPlaceholder(entry)) {
    const std::wstring text = plan.messages.Text(MSG_PLACEHOLDER_SKIPPED, {path.Shown()});
    record.lines.push_back(
        {kCodePlaceholderSkipped, kTagWarningFilePlaceholderSkipped, text, MSG_CATEGORY_DATA});
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
    record.lines.push_back(FileFinding(plan.messages, path.Shown(), read));
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
  const std::wstring shown = path.Shown();
  record.statistics.Add(shown, Printable(ExtensionOf(name)), bytes);
  if (bytes >= uint64_t{plan.settings.reportLargeFilesMB} << 20) {
    record.lines.push_back(
        {0, kTagFileName,
         plan.messages.Text(MSG_FILE_WITH_SIZE, {shown, plan.messages.Number(bytes)})});
  }
}

void FolderReader::SkipLink(const Path& path, const WIN32_FIND_DATAW& entry, FolderRecord& record) {
  const bool isMountPoint = IsMountPoint(path, entry);
  const std::wstring text = plan.messages.Text(
      isMountPoint ? MSG_MOUNT_POINT_NOT_FOLLOWED : MSG_LINK_NOT_FOLLOWED, {path.Shown()});
  if (isMountPoint) {
    record.lines.push_back(
        {kCodeMountPointNotFollowed, kTagWarningMountPointNotFollowed, text, MSG_CATEGORY_JOB});
  } else if (plan.settings.reportLinks != 0) {
    record.lines.push_back(
        {kCodeLinkNotFollowed, kTagWarningLinkNotFollowed, text, MSG_CATEGORY_JOB});
  }
  Skip(kTagReparsePoint, text, record);
}

}  // namespace vtctl
