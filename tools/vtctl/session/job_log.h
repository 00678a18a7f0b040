#ifndef VTCLASS_TOOLS_VTCTL_SESSION_JOB_LOG_H
#define VTCLASS_TOOLS_VTCTL_SESSION_JOB_LOG_H

#include <memory>
#include <string>

#include "tools/vtctl/session/messages.h"
#include "tools/vtctl/shared/paths.h"
#include "vtclass/log.h"

namespace vtctl {

class JobLogFile;

/*
 * The session's job log. Texts are given as they are to be read; the log escapes them. After the
 * first failed operation Error is set, nothing more is written, its end neither, and what was
 * written stays. One that is never created takes everything and writes nothing.
 */
class JobLog {
 public:
  /* The buffers of the sections that are collected while the session runs. */
  enum Section : int { direct = -1, skippedItems = 0, largeFiles = 1, extensions = 2 };

  JobLog();
  ~JobLog();

  /*
   * Makes "joblog-YYYYMMDD-HHMMSS.xml" in the folder, with "-2", "-3", ... behind the time when
   * that name is taken: a log is never overwritten. False, with Error set, when it cannot be made.
   */
  bool Create(const Messages& messages, const vtctl::Path& folder, const SYSTEMTIME& now);

  const vtctl::Path& Path() const { return path; }
  DWORD Error() const { return error; }

  void Begin(const wchar_t* tag);
  void End(const wchar_t* tag);
  void Entry(const wchar_t* tag, const std::wstring& text, Section section = direct);
  /* A warning or error with its unique message identifier. */
  void Finding(long code, const wchar_t* tag, const std::wstring& text);
  /* The folder that the entries that follow belong to; nested as the paths are. */
  void Folder(const std::wstring& shownPath);
  void EndFolders();
  /* Writes what was collected, within `tag` and under `heading`; nothing if nothing was. */
  void Flush(Section section, const wchar_t* tag, const std::wstring& heading);
  void Close();

 private:
  bool IsWritten() const { return log && error == 0; }
  void Check(int result);
  void EndLine(int result, Section section);

  std::unique_ptr<JobLogFile> log;
  vtctl::Path path;
  DWORD error = 0;
  bool inFolder = false;
  bool used[3] = {};
};

/* "Q-79-41041-4001" */
std::wstring CodeText(long code);
/* "Q-79-41041-4001 - text": a finding as a reader of the log sees it. */
std::wstring FindingLine(long code, const std::wstring& text);

}  // namespace vtctl

#endif
