#include "tools/vtctl/session/findings.h"

#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using namespace vtclass::messages;

// The states that files and folders share and that have a sentence of their own.
struct KnownStatus {
  DWORD error;
  unsigned id;
  long code;
  const wchar_t* const* tag;
  unsigned category;
};

// NOLINTNEXTLINE(cppcoreguidelines-interfaces-global-init): the addresses of tags are imported
const KnownStatus kKnownStatuses[] = {
    {ERROR_ACCESS_DENIED, MSG_ACCESS_DENIED, kCodeAccessDenied, &kTagWarningAccessDenied,
     MSG_CATEGORY_SECURITY},
    {ERROR_SHARING_VIOLATION, MSG_FILE_IN_USE, kCodeFileInUse, &kTagWarningFileInUseSkipped,
     MSG_CATEGORY_RESOURCE},
    {ERROR_LOCK_VIOLATION, MSG_FILE_IN_USE, kCodeFileInUse, &kTagWarningFileInUseSkipped,
     MSG_CATEGORY_RESOURCE},
    {ERROR_FILE_NOT_FOUND, MSG_FILE_DISAPPEARED, kCodeFileDisappeared, &kTagWarningFileDisappeared,
     MSG_CATEGORY_DATA},
    {ERROR_PATH_NOT_FOUND, MSG_FILE_DISAPPEARED, kCodeFileDisappeared, &kTagWarningFileDisappeared,
     MSG_CATEGORY_DATA},
    {ERROR_FILENAME_EXCED_RANGE, MSG_PATH_TOO_LONG, kCodePathTooLong,
     &kTagWarningPathTooLongSkipped, MSG_CATEGORY_DATA},
};

bool FindKnown(const Messages& messages, const std::wstring& shownPath, DWORD error,
               Finding& finding) {
  for (const KnownStatus& row : kKnownStatuses) {
    if (row.error != error) continue;
    finding = {row.code, *row.tag, messages.Text(row.id, {shownPath}), row.category};
    return true;
  }
  return false;
}

bool MediumIsDamaged(DWORD error) {
  return error == ERROR_CRC || error == ERROR_FILE_CORRUPT || error == ERROR_DISK_CORRUPT ||
         error == ERROR_IO_DEVICE || error == ERROR_SECTOR_NOT_FOUND;
}

Finding ReadFailure(const Messages& messages, const std::wstring& path, const ReadResult& result) {
  const std::wstring words = SystemText(result.error);
  if (MediumIsDamaged(result.error)) {
    return {kCodeFileCorrupt, kTagErrorFileCorrupt,
            messages.Text(MSG_FILE_CORRUPT, {path, messages.Number(result.read), words}),
            MSG_CATEGORY_DATA};
  }
  return {kCodeFileReadFailed, kTagErrorFileReadFailed,
          messages.Text(MSG_FILE_READ_FAILED, {path, words}), MSG_CATEGORY_RESOURCE};
}

Finding FolderReason(const Messages& messages, const std::wstring& shownPath,
                     const FolderListing& listing, bool isRoot) {
  const std::wstring words = SystemText(listing.Error());
  if (listing.Opened()) {
    return {kCodeFolderListInterrupted, kTagErrorFolderListFailed,
            messages.Text(MSG_FOLDER_LIST_INTERRUPTED, {shownPath, words}), MSG_CATEGORY_RESOURCE};
  }
  Finding finding;
  if (!isRoot && FindKnown(messages, shownPath, listing.Error(), finding)) return finding;
  const unsigned category =
      listing.Error() == ERROR_ACCESS_DENIED ? MSG_CATEGORY_SECURITY : MSG_CATEGORY_RESOURCE;
  return {kCodeFolderListFailed, kTagErrorFolderListFailed,
          messages.Text(MSG_FOLDER_LIST_FAILED, {shownPath, words}), category};
}

Finding FileReason(const Messages& messages, const std::wstring& shownPath,
                   const ReadResult& result) {
  if (result.outcome == ReadResult::changed) {
    return {kCodeFileChanged, kTagWarningFileChangedDuringBackup,
            messages.Text(MSG_FILE_CHANGED, {shownPath}), MSG_CATEGORY_DATA};
  }
  if (result.outcome == ReadResult::shorter) {
    return {kCodeFilePartlyRead, kTagWarningFilePartlyRead,
            messages.Text(MSG_FILE_PARTLY_READ,
                          {shownPath, messages.Number(result.read), messages.Number(result.size)}),
            MSG_CATEGORY_DATA};
  }
  Finding finding;
  if (FindKnown(messages, shownPath, result.error, finding)) return finding;
  if (result.outcome == ReadResult::cannotRead) return ReadFailure(messages, shownPath, result);
  const std::wstring words = SystemText(result.error);
  if (result.outcome == ReadResult::cannotAsk) {
    return {kCodeAttributesFailed, kTagErrorFileAttributesFailed,
            messages.Text(MSG_ATTRIBUTES_FAILED, {shownPath, words}), MSG_CATEGORY_RESOURCE};
  }
  return {kCodeFileOpenFailed, kTagErrorFileReadFailed,
          messages.Text(MSG_FILE_OPEN_FAILED, {shownPath, words}), MSG_CATEGORY_RESOURCE};
}

}  // namespace

bool Finding::IsError() const { return IsErrorCode(code); }

Finding FolderFinding(const Messages& messages, const std::wstring& shownPath,
                      const FolderListing& listing, bool isRoot) {
  Finding finding = FolderReason(messages, shownPath, listing, isRoot);
  finding.path = shownPath;
  finding.status = listing.Error();
  return finding;
}

Finding FileFinding(const Messages& messages, const std::wstring& shownPath,
                    const ReadResult& result) {
  Finding finding = FileReason(messages, shownPath, result);
  finding.path = shownPath;
  finding.status = result.error;
  return finding;
}

}  // namespace vtctl
