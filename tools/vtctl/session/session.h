#ifndef VTCLASS_TOOLS_VTCTL_SESSION_SESSION_H
#define VTCLASS_TOOLS_VTCTL_SESSION_SESSION_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/vtctl/interrupt.h"
#include "tools/vtctl/session/files.h"
#include "tools/vtctl/session/findings.h"
#include "tools/vtctl/session/job_log.h"
#include "tools/vtctl/session/messages.h"
#include "tools/vtctl/session/progress.h"
#include "tools/vtctl/session/settings.h"
#include "tools/vtctl/session/statistics.h"

namespace vtctl {

/* What the operator asks of a session. */
struct SessionRequest {
  std::wstring root;     /* system path of the folder */
  std::wstring out;      /* system path of the folder for the job log */
  std::wstring jobName;  /* empty: the setting */
  std::wstring language; /* empty: the product's setting */
  KeyPath settingsKey;
  size_t shownFindings = 10;             /* how many SessionResult keeps */
  bool (*stopRequested)() = Interrupted; /* asked before each folder, entry and reading */
};

/* A warning or error as the job log has it. */
struct ShownFinding {
  std::wstring line;
  bool isError = false;
};

/* What a session came to. */
struct SessionResult {
  enum Status { successful, exceptions, failed, cancelled } status = successful;
  Totals totals;
  uint64_t milliseconds = 0;
  std::vector<ShownFinding> findings; /* the first ones */
  std::vector<std::wstring> settings; /* as the job log has them */
  std::vector<std::wstring> summary;  /* as the job log has them */
  std::wstring logPath;               /* system path */
  DWORD logError = 0; /* why the job log ends early; everything else is then incomplete */
};

/* Plays an agent's backup job over one folder tree: reads every file, keeps nothing, and writes
 * the job log. The texts are in the language of `messages`. */
class Session {
 public:
  Session(const SessionRequest& request, const Messages& messages, Progress& progress);

  /* Makes the job log and writes its header. False, with `logError` in the result, when it cannot
   * be made. */
  bool Start();
  /* Requires: Start returned true. */
  SessionResult Run();
  const SessionResult& Result() const { return result; }

 private:
  /* The summary of skipped items names so many; the folders above it name all of them. */
  static constexpr uint64_t kMostSkippedListed = 1000;

  /* A folder that is still to be read, and the part of the whole work that it stands for. */
  struct Waiting {
    std::wstring path;
    double weight;
  };

  void WriteHeader();
  void WriteSettings();
  void WriteSetHeader();
  void WriteSections();
  void WriteExtensions();
  void WriteSetTotals();
  void WriteFooter();

  void ReadTree();
  void ReadFolder(const Waiting& folder);
  void ReadEntry(const std::wstring& folder, const WIN32_FIND_DATAW& entry,
                 std::vector<std::wstring>& subfolders);
  void ReadFile(const std::wstring& path, const WIN32_FIND_DATAW& entry);
  void SkipLink(const std::wstring& path, const WIN32_FIND_DATAW& entry);
  void Skip(const wchar_t* tag, const std::wstring& text);
  void CountFile(const std::wstring& path, const wchar_t* name, uint64_t bytes);

  void Report(const Finding& finding);
  void Summarise(const wchar_t* tag, const std::wstring& text);
  void ShowProgress();
  bool Stopped() const;

  const SessionRequest& request;
  const Messages& messages;
  Progress& progress;
  SessionSettings settings;
  JobLog log;
  FileReader reader;
  FileStatistics statistics;
  SessionResult result;
  std::vector<Waiting> waiting;
  double fractionDone = 0;
  uint64_t skippedListed = 0;
  unsigned category = MSG_CATEGORY_NONE; /* message id */
  bool categoryIsError = false;
  bool cancelled = false;
  ULONGLONG start = 0;
};

}  // namespace vtctl

#endif
