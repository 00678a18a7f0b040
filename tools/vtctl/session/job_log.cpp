#include "tools/vtctl/session/job_log.h"

#include <cwchar>

namespace vtctl {
namespace {

constexpr int kMostNames = 1000;

// As LogFile's constructor and Open take them.
constexpr int kUnicode = 1;
constexpr int kNoLimit = -1;
constexpr int kCreateNew = 2;

std::wstring FileName(const SYSTEMTIME& time, int attempt) {
  wchar_t name[64];
  std::swprintf(name, ARRAYSIZE(name), L"joblog-%04u%02u%02u-%02u%02u%02u", time.wYear, time.wMonth,
                time.wDay, time.wHour, time.wMinute, time.wSecond);
  return name + (attempt > 1 ? L"-" + std::to_wstring(attempt) : std::wstring()) + L".xml";
}

}  // namespace

// A log that has lost a text has no end: every reader would call it complete.
class JobLogFile : public LogFile {
 public:
  explicit JobLogFile(StringResourceMgr& messages)
      : LogFile(messages, kUnicode, kNoLimit, kNoLimit) {}
  // Without JobLog::Close the session has not come to its end, and neither has its log.
  ~JobLogFile() {
    Stop();
    Close();
  }

  void Stop() { isStopped = true; }
  int WriteText() override {
    isStopped = isStopped || LogFile::WriteText() == 0;
    return isStopped ? 0 : 1;
  }

 private:
  bool isStopped = false;
};

JobLog::JobLog() = default;
JobLog::~JobLog() = default;

bool JobLog::Create(const Messages& messages, const vtctl::Path& folder, const SYSTEMTIME& now) {
  StringResourceMgr source = messages.Source();
  for (int attempt = 1; attempt <= kMostNames; ++attempt) {
    path = folder / FileName(now, attempt);
    log = std::make_unique<JobLogFile>(source);
    log->Open(kCreateNew, path.System().c_str());
    error = log->GetErrorCode();
    if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) break;
  }
  if (error != ERROR_SUCCESS) return false;
  log->EnterBufferedMode();
  for (const Section section : {skippedItems, largeFiles, extensions}) {
    if (log->AllocateBuffer(section) != 0) error = ERROR_NOT_ENOUGH_MEMORY;
  }
  return error == ERROR_SUCCESS;
}

void JobLog::Check(int result) {
  if (error != ERROR_SUCCESS) return;
  error = log->GetErrorCode();
  // A print that fails without a status of the system ran out of memory.
  if (error == ERROR_SUCCESS && result == 0) error = ERROR_NOT_ENOUGH_MEMORY;
  if (error != ERROR_SUCCESS) log->Stop();
}

void JobLog::EndLine(int result, Section section) {
  Check(result);
  // White space between the elements: a reader of the bare file sees one entry a line.
  if (error == ERROR_SUCCESS) Check(log->printTMP(section, L"\n"));
}

void JobLog::Begin(const wchar_t* tag) {
  if (IsWritten()) EndLine(log->printTMP(direct, tag), direct);
}

void JobLog::End(const wchar_t* tag) {
  if (IsWritten()) EndLine(log->printclosingtag(direct, tag), direct);
}

void JobLog::Entry(const wchar_t* tag, const std::wstring& text, Section section) {
  if (!IsWritten()) return;
  if (section != direct) used[section] = true;
  EndLine(log->printTMP(section, tag, L"%ls", text.c_str()), section);
}

void JobLog::Finding(long code, const wchar_t* tag, const std::wstring& text) {
  if (!IsWritten()) return;
  EndLine(log->printerrorUMI(direct, code, tag, L"%ls", text.c_str()), direct);
}

void JobLog::Folder(const std::wstring& shownPath) {
  if (!IsWritten()) return;
  inFolder = true;
  // The message is the path alone, in every language: readers of the log take no words off it.
  EndLine(log->printTMPdir(direct, kTagDirectory, MSG_DIRECTORY, shownPath.c_str()), direct);
}

void JobLog::EndFolders() {
  // Without one the log has nothing to close and calls it a failure.
  if (!IsWritten() || !inFolder) return;
  inFolder = false;
  EndLine(log->printTMPdir(direct, nullptr, 0, nullptr), direct);
}

void JobLog::Flush(Section section, const wchar_t* tag, const std::wstring& heading) {
  if (!IsWritten() || !used[section]) return;
  Begin(tag);
  Entry(kTagHeading, heading);
  if (error == ERROR_SUCCESS) Check(log->FlushBufferToFile(section));
  log->DeAllocateBuffer(section);
  used[section] = false;
  End(tag);
}

void JobLog::Close() {
  if (!log) return;
  // A buffer that was never flushed belongs to nobody else.
  for (const Section section : {skippedItems, largeFiles, extensions}) {
    log->DeAllocateBuffer(section);
  }
  log->LeaveBufferdMode();
  const int result = log->Close();
  Check(result);
}

std::wstring CodeText(long code) {
  const auto bits = static_cast<unsigned long>(code);
  return L"Q-79-" + std::to_wstring(bits >> 16) + L"-" + std::to_wstring(bits & 0xFFFF);
}

std::wstring FindingLine(long code, const std::wstring& text) {
  return CodeText(code) + L" - " + text;
}

}  // namespace vtctl
