#ifndef VTCLASS_MESSAGES_MESSAGE_CODES_H
#define VTCLASS_MESSAGES_MESSAGE_CODES_H

#include "message_ids.h"

/*
 * The unique message identifiers of the warnings and errors, for LogFile::printerrorUMI. A code has
 * the Windows message-id layout: bits 30 and 31 severity (2 warning, 3 error), bit 29 set, because
 * only then does the job log write an identifier, facility 0x051 in bits 16 to 27, and the message
 * id in the lower 16 bits. The message id ends each written identifier, so support staff find the
 * text by it: "Q-79-41041-4001" is the warning 4001, "Q-79-57425-5001" the error 5001.
 * FormatMessageW finds the text of a code in the message table of the message library.
 *
 * Operators and scripts filter by these identifiers; they stay the same in every release.
 */
namespace vtclass::messages {

constexpr long WarningCode(unsigned long id) { return static_cast<long>(0xA0510000UL | id); }
constexpr long ErrorCode(unsigned long id) { return static_cast<long>(0xE0510000UL | id); }

constexpr bool IsErrorCode(long code) {
  constexpr unsigned long kSeverity = 0xC0000000;
  return (static_cast<unsigned long>(code) & kSeverity) == kSeverity;
}

// Warnings.
// The account may not read the file or folder.
inline constexpr long kCodeAccessDenied = WarningCode(MSG_ACCESS_DENIED);
// Another program has the file open without sharing it.
inline constexpr long kCodeFileInUse = WarningCode(MSG_FILE_IN_USE);
// The entry was listed but was gone when it was to be read.
inline constexpr long kCodeFileDisappeared = WarningCode(MSG_FILE_DISAPPEARED);
// Size or time of the file changed while it was read.
inline constexpr long kCodeFileChanged = WarningCode(MSG_FILE_CHANGED);
// The file ended before the size that the listing gave.
inline constexpr long kCodeFilePartlyRead = WarningCode(MSG_FILE_PARTLY_READ);
// The entry is a symbolic link or a junction.
inline constexpr long kCodeLinkNotFollowed = WarningCode(MSG_LINK_NOT_FOLLOWED);
// Another volume is mounted at the folder.
inline constexpr long kCodeMountPointNotFollowed = WarningCode(MSG_MOUNT_POINT_NOT_FOLLOWED);
// The system takes no path of that length.
inline constexpr long kCodePathTooLong = WarningCode(MSG_PATH_TOO_LONG);
// The file's data are not on this machine.
inline constexpr long kCodePlaceholderSkipped = WarningCode(MSG_PLACEHOLDER_SKIPPED);
// The selection holds no file.
inline constexpr long kCodeRootEmpty = WarningCode(MSG_ROOT_EMPTY);
// A setting's value cannot be used.
inline constexpr long kCodeSettingOutOfRange = WarningCode(MSG_SETTING_OUT_OF_RANGE);
// The settings key cannot be opened; the session runs on defaults.
inline constexpr long kCodeSettingsUnreadable = WarningCode(MSG_SETTINGS_UNREADABLE);
// The message library of the chosen language is not installed.
inline constexpr long kCodeLanguageMissing = WarningCode(MSG_LANGUAGE_MISSING);
// The volume mounted at the folder is one that the folder lies on.
inline constexpr long kCodeVolumeCycle = WarningCode(MSG_VOLUME_CYCLE);
// A stored password is plain text, or its seal is damaged.
inline constexpr long kCodeCredentialNotSealed = WarningCode(MSG_CREDENTIAL_NOT_SEALED);
// A sealed password does not open here.
inline constexpr long kCodeCredentialNotOpened = WarningCode(MSG_CREDENTIAL_NOT_OPENED);

// Errors.
// The file could not be opened, for a reason without a warning of its own.
inline constexpr long kCodeFileOpenFailed = ErrorCode(MSG_FILE_OPEN_FAILED);
// Reading the file failed.
inline constexpr long kCodeFileReadFailed = ErrorCode(MSG_FILE_READ_FAILED);
// The medium holds unreadable data inside the file.
inline constexpr long kCodeFileCorrupt = ErrorCode(MSG_FILE_CORRUPT);
// Size, times or attributes of the entry could not be read.
inline constexpr long kCodeAttributesFailed = ErrorCode(MSG_ATTRIBUTES_FAILED);
// The folder could not be listed; nothing below it was read.
inline constexpr long kCodeFolderListFailed = ErrorCode(MSG_FOLDER_LIST_FAILED);
// The listing of the folder broke off; entries may be missing.
inline constexpr long kCodeFolderListInterrupted = ErrorCode(MSG_FOLDER_LIST_INTERRUPTED);
// The operator stopped the session.
inline constexpr long kCodeJobCancelledBy = ErrorCode(MSG_JOB_CANCELLED_BY);
// The job log could not be made or written.
inline constexpr long kCodeJobLogWriteFailed = ErrorCode(MSG_JOB_LOG_WRITE_FAILED);

}  // namespace vtclass::messages

#endif
