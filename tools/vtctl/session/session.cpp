#include "tools/vtctl/session/session.h"

#include <ranges>
#include <utility>

#include "tools/vtctl/session/paths.h"
#include "tools/vtctl/system_text.h"

namespace vtctl {
namespace {

using namespace vtclass::messages;

bool SamePath(const std::wstring& a, const std::wstring& b) {
  return ::CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_EQUAL;
}

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

bool IsMountPoint(const std::wstring& path, const WIN32_FIND_DATAW& entry) {
  if (entry.dwReserved0 != IO_REPARSE_TAG_MOUNT_POINT) return false;
  wchar_t volume[64];
  return ::GetVolumeNameForVolumeMountPointW((path + L"\\").c_str(), volume, ARRAYSIZE(volume));
}

}  // namespace

Session::Session(const SessionRequest& request, const Messages& messages, Progress& progress)
    : request(request),
      messages(messages),
      progress(progress),
      settings(LoadSettings(request.settingsKey)),
      reader(size_t{settings.bufferSizeKB} * 1024, request.stopRequested),
      statistics(settings.largestFiles) {}

bool Session::Start() {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  start = ::GetTickCount64();
  const bool created = log.Create(messages, request.out, now);
  result.logPath = log.Path();
  if (created) WriteHeader();
  result.logError = log.Error();
  return created;
}

SessionResult Session::Run() {
  log.Begin(kTagSet);
  WriteSetHeader();
  ReadTree();
  progress.Finish();
  result.milliseconds = ::GetTickCount64() - start;
  WriteSections();
  WriteSetTotals();
  log.End(kTagSet);
  WriteFooter();
  log.Close();
  result.logError = log.Error();
  return result;
}

void Session::ReadTree() {
  waiting.push_back({request.root, 1.0});
  while (!waiting.empty() && !Stopped()) {
    const Waiting folder = std::move(waiting.back());
    waiting.pop_back();
    ReadFolder(folder);
  }
  log.EndFolders();
  if (log.Error() != ERROR_SUCCESS) {
    /* The log cannot tell of it any more; the operator hears of it. */
    Report({kCodeJobLogWriteFailed, kTagErrorJobLogWriteFailed,
            messages.Text(MSG_JOB_LOG_WRITE_FAILED,
                          {ShownPath(log.Path()), Printable(SystemText(log.Error()))}),
            MSG_CATEGORY_RESOURCE});
  } else if (request.stopRequested()) {
    cancelled = true;
    wchar_t user[257] = L"?";
    DWORD length = ARRAYSIZE(user);
    ::GetUserNameW(user, &length);
    Report({kCodeJobCancelledBy, kTagErrorJobCancelled,
            messages.Text(MSG_JOB_CANCELLED_BY, {Printable(user)}), MSG_CATEGORY_JOB});
  } else if (result.totals.files == 0 && result.totals.skipped == 0) {
    Report({kCodeRootEmpty, kTagWarningSelectionEmpty,
            messages.Text(MSG_ROOT_EMPTY, {ShownPath(request.root)}), MSG_CATEGORY_JOB});
  }
}

void Session::ReadFolder(const Waiting& folder) {
  const std::wstring shown = ShownPath(folder.path);
  const Totals before = result.totals;
  log.Folder(shown);
  FolderListing listing(folder.path);
  std::vector<std::wstring> subfolders;
  WIN32_FIND_DATAW entry;
  while (!Stopped() && listing.Next(entry)) ReadEntry(folder.path, entry, subfolders);
  if (listing.Error() != ERROR_SUCCESS) {
    const Finding finding = FolderFinding(messages, shown, listing, folder.path == request.root);
    Report(finding);
    ++result.totals.skipped;
    Skip(kTagExcludedItem, finding.text);
  }
  if (listing.Opened()) ++result.totals.folders;
  if (result.totals.files > before.files) {
    log.Entry(kTagTotalFiles, messages.Text(MSG_TOTAL_FILES,
                                            {messages.Number(result.totals.files - before.files)}));
    log.Entry(kTagTotalBytes, messages.Text(MSG_TOTAL_BYTES,
                                            {messages.Number(result.totals.bytes - before.bytes)}));
  }
  /* Each subfolder and the files of this folder count as equal parts of its work. */
  const double part = folder.weight / static_cast<double>(subfolders.size() + 1);
  fractionDone += part;
  for (std::wstring& name : std::views::reverse(subfolders)) {
    waiting.push_back({std::move(name), part});
  }
  ShowProgress();
}

void Session::ReadEntry(const std::wstring& folder, const WIN32_FIND_DATAW& entry,
                        std::vector<std::wstring>& subfolders) {
  std::wstring path = Joined(folder, entry.cFileName);
  if (IsLink(entry)) {
    SkipLink(path, entry);
  } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
    subfolders.push_back(std::move(path));
  } else if (IsPlaceholder(entry)) {
    const std::wstring text = messages.Text(MSG_PLACEHOLDER_SKIPPED, {ShownPath(path)});
    Report({kCodePlaceholderSkipped, kTagWarningFilePlaceholderSkipped, text, MSG_CATEGORY_DATA});
    ++result.totals.skipped;
    Skip(kTagOfflineFile, text);
  } else if (!SamePath(path, log.Path())) {
    ReadFile(path, entry);
  }
}

void Session::ReadFile(const std::wstring& path, const WIN32_FIND_DATAW& entry) {
  if (settings.readFileData == 0) {
    CountFile(path, entry.cFileName, uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow);
    return;
  }
  const ReadResult read = reader.Read(path);
  switch (read.outcome) {
    case ReadResult::stopped:
      return;
    case ReadResult::complete:
      break;
    case ReadResult::changed:
    case ReadResult::shorter:
      Report(FileFinding(messages, ShownPath(path), read));
      break;
    default: {
      const Finding finding = FileFinding(messages, ShownPath(path), read);
      Report(finding);
      ++result.totals.skipped;
      Skip(kTagExcludedItem, finding.text);
      return;
    }
  }
  CountFile(path, entry.cFileName, read.read);
}

void Session::CountFile(const std::wstring& path, const wchar_t* name, uint64_t bytes) {
  ++result.totals.files;
  result.totals.bytes += bytes;
  const std::wstring shown = ShownPath(path);
  statistics.Add(shown, Printable(ExtensionOf(name)), bytes);
  if (bytes >= uint64_t{settings.reportLargeFilesMB} << 20) {
    log.Entry(kTagFileName, messages.Text(MSG_FILE_WITH_SIZE, {shown, messages.Number(bytes)}));
  }
  ShowProgress();
}

void Session::SkipLink(const std::wstring& path, const WIN32_FIND_DATAW& entry) {
  ++result.totals.skipped;
  const bool isMountPoint = IsMountPoint(path, entry);
  const std::wstring text = messages.Text(
      isMountPoint ? MSG_MOUNT_POINT_NOT_FOLLOWED : MSG_LINK_NOT_FOLLOWED, {ShownPath(path)});
  if (isMountPoint) {
    Report({kCodeMountPointNotFollowed, kTagWarningMountPointNotFollowed, text, MSG_CATEGORY_JOB});
  } else if (settings.reportLinks != 0) {
    Report({kCodeLinkNotFollowed, kTagWarningLinkNotFollowed, text, MSG_CATEGORY_JOB});
  }
  Skip(kTagReparsePoint, text);
}

void Session::Skip(const wchar_t* tag, const std::wstring& text) {
  if (++skippedListed <= kMostSkippedListed) log.Entry(tag, text, JobLog::skippedItems);
}

void Session::Report(const Finding& finding) {
  log.Finding(finding.code, finding.tag, finding.text);
  ++(finding.IsError() ? result.totals.errors : result.totals.warnings);
  /* The first of the gravest findings names the job's category. */
  if (category == MSG_CATEGORY_NONE || (finding.IsError() && !categoryIsError)) {
    category = finding.category;
    categoryIsError = finding.IsError();
  }
  if (result.findings.size() < request.shownFindings) {
    result.findings.push_back({FindingLine(finding.code, finding.text), finding.IsError()});
  }
}

void Session::ShowProgress() {
  if (!progress.Due()) return;
  progress.Show(fractionDone,
                messages.Text(MSG_TOTAL_FILES, {messages.Number(result.totals.files)}) + L", " +
                    messages.Size(result.totals.bytes));
}

bool Session::Stopped() const { return request.stopRequested() || log.Error() != ERROR_SUCCESS; }

}  // namespace vtctl
