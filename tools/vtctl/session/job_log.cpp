#include "tools/vtctl/session/job_log.h"

#include <cwchar>

namespace vtctl {
namespace {

constexpr int kMostNames = 1000;

std::wstring FileName(const SYSTEMTIME& time, int attempt) {
  wchar_t name[64];
  std::swprintf(name, ARRAYSIZE(name), L"joblog-%04u%02u%02u-%02u%02u%02u", time.wYear, time.wMonth,
                time.wDay, time.wHour, time.wMinute, time.wSecond);
  return name + (attempt > 1 ? L"-" + std::to_wstring(attempt) : std::wstring()) + L".xml";
}

}  // namespace

bool JobLog::Create(const Messages& messages, const vtctl::Path& folder, const SYSTEMTIME& now) {
  LogFileFactory factory(messages.Source(), 0);
  for (int attempt = 1; attempt <= kMostNames; ++attempt) {
    path = folder / FileName(now, attempt);
    log.reset(factory.Create(path.System().c_str()));
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
}

void JobLog::EndLine(int result, Section section) {
  Check(result);
  // White space between the elements: a reader of the bare file sees one entry a line.
  if (error == ERROR_SUCCESS) Check(log->printTMP(section, L"\n"));
}

void JobLog::Begin(const wchar_t* tag) {
  if (error == ERROR_SUCCESS) EndLine(log->printTMP(direct, tag), direct);
}

void JobLog::End(const wchar_t* tag) {
  if (error == ERROR_SUCCESS) EndLine(log->printclosingtag(direct, tag), direct);
}

void JobLog::Entry(const wchar_t* tag, const std::wstring& text, Section section) {
  if (error != ERROR_SUCCESS) return;
  if (section != direct) used[section] = true;
  EndLine(log->printTMP(section, tag, L"%ls", text.c_str()), section);
}

void JobLog::Finding(long code, const wchar_t* tag, const std::wstring& text) {
  if (error != ERROR_SUCCESS) return;
  EndLine(log->printerrorUMI(direct, code, tag, L"%ls", text.c_str()), direct);
}

void JobLog::Folder(const std::wstring& shownPath) {
  if (error != ERROR_SUCCESS) return;
  inFolder = true;
  EndLine(log->printTMPdir(direct, kTagDirectory, MSG_DIRECTORY, shownPath.c_str()), direct);
}

void JobLog::EndFolders() {
  // Without one the log has nothing to close and calls it a failure.
  if (error != ERROR_SUCCESS || !inFolder) return;
  inFolder = false;
  EndLine(log->printTMPdir(direct, nullptr, 0, nullptr), direct);
}

void JobLog::Flush(Section section, const wchar_t* tag, const std::wstring& heading) {
  if (error != ERROR_SUCCESS || !used[section]) return;
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

std::wstring FindingLine(long code, const std::wstring& text) {
  const auto bits = static_cast<unsigned long>(code);
  return L"Q-79-" + std::to_wstring(bits >> 16) + L"-" + std::to_wstring(bits & 0xFFFF) + L" - " +
         text;
}

}  // namespace vtctl
