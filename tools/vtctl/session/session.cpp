#include "tools/vtctl/session/session.h"

#include <algorithm>
#include <functional>
#include <tuple>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {

using namespace vtclass::messages;

namespace {

constexpr wchar_t kLeftOut[] = L"...";
constexpr ptrdiff_t kMostTextsOfACode = 10;

std::wstring FreeSpaceInTrace(const std::optional<uint64_t>& bytes) {
  return bytes ? L", " + std::to_wstring(*bytes) + L" bytes free" : std::wstring();
}

}  // namespace

Session::Session(const SessionRequest& request, const Messages& messages, Progress& progress)
    : request(request),
      messages(messages),
      progress(progress),
      settings(LoadSettings(request.settingsKey, !request.isDryRun)),
      stop(request.stopRequested),
      trace(messages.Source(), request.out, !request.isDryRun),
      statistics(settings.largestFiles) {
  if (request.isDryRun) settings.readFileData = 0;
}

bool Session::Start() {
  SYSTEMTIME now = {};
  ::GetLocalTime(&now);
  start = ::GetTickCount64();
  result.started = ToUtf8(IsoTime());
  AskVolume();
  const bool created = request.isDryRun || log.Create(messages, request.out, now);
  result.logPath = log.Path();
  if (created) WriteHeader();
  result.logError = log.Error();
  trace.Write(1, L"Session of " + request.root.Stored() + L" begins, job log " +
                     log.Path().Stored() + L", status " + std::to_wstring(result.logError) +
                     L", volume " + Shown(result.volume) +
                     FreeSpaceInTrace(result.volume.freeBefore) +
                     (request.reader.token ? L", read as " + request.reader.name : L""));
  return created;
}

SessionResult Session::Run() {
  log.Begin(kTagSet);
  WriteSetHeader();
  ReadTree();
  const bool isReported = log.Error() != ERROR_SUCCESS;
  result.milliseconds = ::GetTickCount64() - start;
  result.volume.freeAfter = AskFreeSpace();
  WriteSections();
  WriteSetTotals();
  log.End(kTagSet);
  WriteFooter();
  log.Close();
  if (log.Error() != ERROR_SUCCESS && !isReported) {
    ReportLogFailure();
    // The summary is made once more, for the operator alone.
    result.summary.clear();
    WriteSetTotals();
    WriteFooter();
  }
  result.logError = log.Error();
  result.ended = ToUtf8(IsoTime());
  std::ranges::sort(result.reasons, std::ranges::greater(), [](const ReasonCount& reason) {
    return std::tuple<bool, uint64_t, long, const std::wstring&>(reason.isError, reason.count,
                                                                 reason.code, reason.text);
  });
  trace.Write(1, L"Session ends after " + std::to_wstring(result.milliseconds) + L" ms, " +
                     std::to_wstring(result.totals.files) + L" files, " +
                     std::to_wstring(result.totals.errors) + L" errors, status " +
                     std::to_wstring(result.logError) + FreeSpaceInTrace(result.volume.freeAfter));
  return result;
}

// The tree's volume may be one that only the account that reads it can see.
void Session::AskVolume() {
  {
    const ReadingAs acting(request.reader.token.Get());
    if (acting.Error() == ERROR_SUCCESS) result.volume = VolumeOf(request.root);
  }
  result.volume.freeBefore = AskFreeSpace();
}

std::optional<uint64_t> Session::AskFreeSpace() const {
  const ReadingAs acting(request.reader.token.Get());
  return acting.Error() == ERROR_SUCCESS ? FreeSpaceOf(result.volume) : std::nullopt;
}

void Session::ReadTree() {
  ReadingPlan plan = {settings,
                      messages,
                      stop,
                      request.root,
                      log.Path(),
                      result.volume.name,
                      request.selection,
                      request.crossVolumes,
                      request.reader.token.Get()};
  {
    TreeWalk walk(plan, request.workers != 0 ? request.workers : settings.workers,
                  [this](const FolderRecord& record) { WriteFolder(record); });
    walk.Start();
    while (!walk.WaitForEnd(progress.UntilDue())) ShowProgress(walk);
  }
  progress.Finish();
  log.EndFolders();
  ReportEndOfReading();
}

void Session::ReportEndOfReading() {
  if (log.Error() != ERROR_SUCCESS) {
    ReportLogFailure();
  } else if (request.stopRequested()) {
    cancelled = true;
    wchar_t user[257] = L"?";
    DWORD length = ARRAYSIZE(user);
    ::GetUserNameW(user, &length);
    Report({kCodeJobCancelledBy, kTagErrorJobCancelled,
            messages.Text(MSG_JOB_CANCELLED_BY, {Storable(user)}), MSG_CATEGORY_JOB});
  } else if (result.totals.files == 0 && result.totals.skipped == 0) {
    Report({kCodeRootEmpty, kTagWarningSelectionEmpty,
            messages.Text(MSG_ROOT_EMPTY, {request.root.Stored()}), MSG_CATEGORY_JOB,
            request.root.Stored()});
  }
}

// The log cannot tell of it any more; the operator hears of it.
void Session::ReportLogFailure() {
  const std::wstring path = log.Path().Stored();
  Report({kCodeJobLogWriteFailed, kTagErrorJobLogWriteFailed,
          messages.Text(MSG_JOB_LOG_WRITE_FAILED, {path, SystemText(log.Error())}),
          MSG_CATEGORY_RESOURCE, path, log.Error()});
}

// On a worker's thread, one folder at a time.
void Session::WriteFolder(const FolderRecord& record) {
  if (log.Error() != ERROR_SUCCESS) {
    stop.Give();
    return;
  }
  const Totals& totals = record.totals;
  log.Folder(record.shownPath);
  trace.Write(2, record.shownPath + L": " + std::to_wstring(totals.files) + L" files, " +
                     std::to_wstring(totals.bytes) + L" bytes, " + std::to_wstring(totals.skipped) +
                     L" skipped");
  for (const FolderLine& line : record.lines) {
    if (line.code == 0) {
      log.Entry(line.tag, line.text);
    } else {
      Report(line);
    }
  }
  for (const FolderLine& item : record.skipped) {
    if (skippedListed == kMostSkippedListed) break;
    ++skippedListed;
    log.Entry(item.tag, item.text, JobLog::skippedItems);
  }
  if (totals.files > 0) {
    log.Entry(kTagTotalFiles, messages.Text(MSG_TOTAL_FILES, {messages.Number(totals.files)}));
    log.Entry(kTagTotalBytes, messages.Text(MSG_TOTAL_BYTES, {messages.Number(totals.bytes)}));
  }
  result.totals.files += totals.files;
  result.totals.bytes += totals.bytes;
  result.totals.folders += totals.folders;
  result.totals.skipped += totals.skipped;
  result.totals.excluded += totals.excluded;
  statistics.Add(record.statistics);
  if (log.Error() != ERROR_SUCCESS) stop.Give();
}

void Session::Report(const Finding& finding) {
  trace.Write(1, FindingLine(finding.code, finding.text));
  log.Finding(finding.code, finding.tag, finding.text);
  ++(finding.IsError() ? result.totals.errors : result.totals.warnings);
  // The first of the gravest findings names the job's category.
  if (category == MSG_CATEGORY_NONE || (finding.IsError() && !categoryIsError)) {
    category = finding.category;
    categoryIsError = finding.IsError();
  }
  if (result.findings.size() < request.keptFindings) result.findings.push_back(finding);
  CountReason(finding);
}

// There are some twenty codes. The texts of one differ by the system's status, and by numbers, of
// which there is no end.
void Session::CountReason(const Finding& finding) {
  std::wstring text = finding.text;
  const size_t path = finding.path.empty() ? std::wstring::npos : text.find(finding.path);
  if (path != std::wstring::npos) text.replace(path, finding.path.size(), kLeftOut);
  const auto find = [&] {
    return std::ranges::find_if(result.reasons, [&](const ReasonCount& reason) {
      return reason.code == finding.code && reason.text == text;
    });
  };
  auto known = find();
  if (known == result.reasons.end() &&
      std::ranges::count(result.reasons, finding.code, &ReasonCount::code) >= kMostTextsOfACode) {
    text = kLeftOut;
    known = find();
  }
  if (known == result.reasons.end()) {
    result.reasons.push_back({finding.code, finding.IsError(), text, 1});
  } else {
    ++known->count;
  }
}

void Session::ShowProgress(TreeWalk& walk) {
  LiveCount& count = walk.Count();
  const uint64_t milliseconds = ::GetTickCount64() - start;
  const uint64_t bytes = count.bytes;
  progress.Show({walk.FractionDone(), milliseconds,
                 messages.Text(MSG_TOTAL_FILES, {messages.Number(count.files)}),
                 messages.Size(bytes),
                 messages.Size(bytes * 1000 / std::max<uint64_t>(milliseconds, 1)),
                 Printable(count.Folder())});
}

}  // namespace vtctl
