// What a session writes around its folders: header, settings, sections, totals, end.
#include <algorithm>

#include "tools/vtctl/session/session.h"
#include "tools/vtctl/shared/joined.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/config.h"

namespace vtctl {
namespace {

using namespace vtclass::messages;

constexpr size_t kMostExtensions = 20;

// The same form in every language and time zone, and sortable.
std::wstring LocalTime() {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  const auto two = [](WORD number) { return (number < 10 ? L"0" : L"") + std::to_wstring(number); };
  return std::to_wstring(now.wYear) + L"-" + two(now.wMonth) + L"-" + two(now.wDay) + L" " +
         two(now.wHour) + L":" + two(now.wMinute) + L":" + two(now.wSecond);
}

std::wstring ComputerName() {
  wchar_t name[256] = L"?";
  DWORD length = ARRAYSIZE(name);
  ::GetComputerNameExW(ComputerNameDnsHostname, name, &length);
  return Storable(name);
}

// "Windows Server 2022 Standard, build 20348"; empty when the registry does not say.
std::wstring PlatformName() {
  Configuration key;
  wcstring product;
  wcstring build;
  if (!key.Open(Configuration::openExisting, L"Software\\Microsoft\\Windows NT\\CurrentVersion",
                nullptr, Configuration::accessRead) ||
      !key.Load(L"ProductName", product)) {
    return {};
  }
  return key.Load(L"CurrentBuild", build) ? Storable(product) + L" (" + Storable(build) + L")"
                                          : Storable(product);
}

}  // namespace

void Session::WriteHeader() {
  const std::wstring& name = request.jobName.empty() ? settings.jobName : request.jobName;
  log.Begin(kTagHeader);
  log.Entry(kTagJobServer, messages.Text(MSG_JOB_SERVER, {ComputerName()}));
  log.Entry(kTagJobName, messages.Text(MSG_JOB_NAME, {Storable(name)}));
  log.Entry(kTagJobType, messages.Text(MSG_JOB_TYPE, {messages.Text(MSG_JOB_TYPE_BACKUP)}));
  log.Entry(kTagJobStarted, messages.Text(MSG_JOB_STARTED, {LocalTime()}));
  log.Entry(kTagJobLogName, messages.Text(MSG_JOB_LOG_FILE, {log.Path().Stored()}));
  log.Entry(kTagJobLogLanguage,
            messages.Text(MSG_JOB_LANGUAGE, {messages.Text(MSG_LANGUAGE_NAME)}));
  const std::wstring platform = PlatformName();
  if (!platform.empty()) {
    log.Entry(kTagAgentPlatform, messages.Text(MSG_AGENT_PLATFORM, {platform}));
  }
  if (!request.note.empty()) log.Entry(kTagNote, request.note);
  WriteSettings();
  if (messages.LanguageMissing()) {
    Report({kCodeLanguageMissing, kTagWarningLanguageMissing,
            messages.Text(MSG_LANGUAGE_MISSING, {request.language}), MSG_CATEGORY_JOB});
  }
  log.End(kTagHeader);
}

void Session::WriteSettings() {
  const std::wstring key = Storable(KeyName(request.settingsKey));
  if (settings.error != ERROR_SUCCESS) {
    const std::wstring words = SystemText(settings.error);
    Report({kCodeSettingsUnreadable, kTagWarningSettingsNotUsed,
            messages.Text(MSG_SETTINGS_UNREADABLE, {key, words}), MSG_CATEGORY_JOB, key,
            settings.error});
    return;
  }
  const auto write = [this](const wchar_t* tag, const std::wstring& line) {
    log.Entry(tag, line);
    result.settings.push_back(line);
  };
  write(kTagSettingRead, messages.Text(MSG_SETTINGS_READ, {key}));
  for (const SettingReport& setting : settings.reports) {
    const std::wstring value = Storable(setting.value);
    if (setting.origin == SettingReport::outOfRange) {
      Report({kCodeSettingOutOfRange, kTagWarningSettingsNotUsed,
              messages.Text(MSG_SETTING_OUT_OF_RANGE, {setting.name, value, setting.used}),
              MSG_CATEGORY_JOB, key});
    } else if (setting.origin == SettingReport::defaultWritten) {
      write(kTagSettingDefaulted,
            messages.Text(MSG_SETTING_DEFAULT_WRITTEN, {setting.name, value}));
    } else {
      write(kTagSettingRead, messages.Text(MSG_SETTING, {setting.name, value}));
    }
  }
  if (settings.credential) WriteCredential(*settings.credential);
}

// Whose the password is, and never what it is.
void Session::WriteCredential(const SettingCredential& credential) {
  const std::wstring key = Storable(KeyName(request.settingsKey));
  const std::wstring account = credential.account.empty() ? messages.Text(MSG_ACCOUNT_NOT_NAMED)
                                                          : Storable(credential.account);
  const auto text = [&](unsigned id) {
    return messages.Text(id, {vtclass::config::kSessionAccountPassword.name, account});
  };
  if (credential.seal.opens) {
    result.settings.push_back(text(MSG_SETTING_CREDENTIAL));
    log.Entry(kTagSettingRead, result.settings.back());
  } else if (credential.seal.form == SealForm::none) {
    Report({kCodeCredentialNotSealed, kTagWarningSettingsNotUsed, text(MSG_CREDENTIAL_NOT_SEALED),
            MSG_CATEGORY_JOB, key});
  } else {
    Report({kCodeCredentialNotOpened, kTagWarningSettingsNotUsed, text(MSG_CREDENTIAL_NOT_OPENED),
            MSG_CATEGORY_JOB, key, credential.seal.status});
  }
}

void Session::WriteSetHeader() {
  log.Entry(kTagSetNumber, messages.Text(MSG_SET_NUMBER, {L"1"}));
  log.Entry(kTagBackupMethod, messages.Text(MSG_BACKUP_METHOD, {messages.Text(MSG_METHOD_COPY)}));
  const RootVolume& volume = result.volume;
  if (!volume.path.empty()) {
    log.Entry(kTagVolumeName, messages.Text(MSG_VOLUME_NAME, {Shown(volume)}));
  }
  if (volume.freeBefore) {
    log.Entry(kTagNote, FreeSpaceText(MSG_FREE_SPACE_BEFORE, *volume.freeBefore));
  }
  log.Entry(kTagRootFolder, messages.Text(MSG_ROOT_FOLDER, {request.root.Stored()}));
  if (request.reader.token) {
    log.Entry(kTagJobAccount, messages.Text(MSG_READ_AS, {Storable(request.reader.name)}));
  }
  if (request.crossVolumes) {
    log.Entry(kTagMountPointsFollowed, messages.Text(MSG_MOUNTED_VOLUMES_READ));
  }
  const auto writePatterns = [this](unsigned id, const std::vector<std::wstring>& patterns) {
    if (patterns.empty()) return;
    log.Entry(kTagNote, messages.Text(id, {Storable(Joined(patterns))}));
  };
  writePatterns(MSG_ONLY_THESE_READ, request.selection.Included());
  writePatterns(MSG_THESE_LEFT_OUT, request.selection.Excluded());
  log.Entry(kTagBackupDestination,
            messages.Text(MSG_DESTINATION,
                          {messages.Text(settings.readFileData ? MSG_DESTINATION_DISCARDED
                                                               : MSG_DESTINATION_DRY_RUN)}));
  log.Entry(kTagSetStarted, messages.Text(MSG_SET_STARTED, {LocalTime()}));
}

void Session::WriteSections() {
  if (result.totals.skipped > skippedListed) {
    log.Entry(
        kTagNote,
        messages.Text(MSG_MORE_ENTRIES, {messages.Number(result.totals.skipped - skippedListed)}),
        JobLog::skippedItems);
  }
  for (const LargeFile& file : statistics.Largest()) {
    log.Entry(kTagLargestFile,
              messages.Text(MSG_LARGE_FILE_LINE, {file.path, messages.Number(file.bytes)}),
              JobLog::largeFiles);
  }
  WriteExtensions();
  log.Flush(JobLog::skippedItems, kTagSkippedItemsSummary, messages.Text(MSG_SKIPPED_SUMMARY));
  log.Flush(JobLog::largeFiles, kTagLargeFilesSummary, messages.Text(MSG_LARGE_FILES_SUMMARY));
  log.Flush(JobLog::extensions, kTagExtensionStatistics, messages.Text(MSG_EXTENSIONS_SUMMARY));
}

void Session::WriteExtensions() {
  const std::vector<ExtensionTotal> totals = statistics.ByExtension();
  for (size_t i = 0; i < std::min(totals.size(), kMostExtensions); ++i) {
    const std::wstring extension =
        totals[i].extension.empty() ? messages.Text(MSG_NO_EXTENSION) : totals[i].extension;
    log.Entry(kTagParagraph,
              messages.Text(MSG_EXTENSION_LINE, {extension, messages.Number(totals[i].files),
                                                 messages.Number(totals[i].bytes)}),
              JobLog::extensions);
  }
  if (totals.size() > kMostExtensions) {
    log.Entry(kTagNote,
              messages.Text(MSG_MORE_ENTRIES, {messages.Number(totals.size() - kMostExtensions)}),
              JobLog::extensions);
  }
}

std::wstring Session::FreeSpaceText(unsigned id, uint64_t bytes) const {
  return messages.Text(id, {messages.Number(bytes), messages.Size(bytes)});
}

void Session::Summarise(const wchar_t* tag, const std::wstring& text) {
  log.Entry(tag, text);
  result.summary.push_back(text);
}

void Session::WriteSetTotals() {
  const Totals& totals = result.totals;
  const uint64_t perSecond = totals.bytes * 1000 / std::max<uint64_t>(result.milliseconds, 1);
  log.Entry(kTagSetEnded, messages.Text(MSG_SET_ENDED, {LocalTime()}));
  log.Begin(kTagSetSummary);
  Summarise(kTagTotalDirectories,
            messages.Text(MSG_TOTAL_DIRECTORIES, {messages.Number(totals.folders)}));
  Summarise(kTagTotalFiles, messages.Text(MSG_TOTAL_FILES, {messages.Number(totals.files)}));
  Summarise(kTagTotalBytes, messages.Text(MSG_TOTAL_BYTES, {messages.Number(totals.bytes) + L" (" +
                                                            messages.Size(totals.bytes) + L")"}));
  Summarise(kTagTotalSkipped, messages.Text(MSG_TOTAL_SKIPPED, {messages.Number(totals.skipped)}));
  if (!request.selection.IsEmpty()) {
    Summarise(kTagNote, messages.Text(MSG_TOTAL_EXCLUDED, {messages.Number(totals.excluded)}));
  }
  Summarise(kTagTotalWarnings,
            messages.Text(MSG_TOTAL_WARNINGS, {messages.Number(totals.warnings)}));
  Summarise(kTagTotalErrors, messages.Text(MSG_TOTAL_ERRORS, {messages.Number(totals.errors)}));
  Summarise(kTagElapsedTime,
            messages.Text(MSG_ELAPSED_TIME, {messages.Elapsed(result.milliseconds)}));
  Summarise(kTagByteRate, messages.Text(MSG_THROUGHPUT_PER_SECOND, {messages.Size(perSecond)}));
  if (result.volume.freeAfter) {
    Summarise(kTagNote, FreeSpaceText(MSG_FREE_SPACE_AFTER, *result.volume.freeAfter));
  }
  log.End(kTagSetSummary);
}

void Session::WriteFooter() {
  unsigned status = MSG_STATUS_SUCCESSFUL;
  if (result.totals.warnings > 0) {
    result.status = SessionResult::exceptions;
    status = MSG_STATUS_EXCEPTIONS;
  }
  if (result.totals.errors > 0) {
    result.status = SessionResult::failed;
    status = MSG_STATUS_FAILED;
  }
  if (cancelled && log.Error() == ERROR_SUCCESS) {
    result.status = SessionResult::cancelled;
    status = MSG_STATUS_CANCELLED;
  }
  log.Begin(kTagFooter);
  log.Entry(kTagJobEnded, messages.Text(MSG_JOB_ENDED, {LocalTime()}));
  Summarise(kTagJobCompletionStatus, messages.Text(MSG_JOB_STATUS, {messages.Text(status)}));
  log.Entry(kTagJobErrorCategory, messages.Text(MSG_ERROR_CATEGORY, {messages.Text(category)}));
  log.End(kTagFooter);
}

}  // namespace vtctl
