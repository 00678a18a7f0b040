#ifndef VTCLASS_TOOLS_VTCTL_SESSION_SESSION_H
#define VTCLASS_TOOLS_VTCTL_SESSION_SESSION_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/vtctl/session/findings.h"
#include "tools/vtctl/session/folder_reader.h"
#include "tools/vtctl/session/job_log.h"
#include "tools/vtctl/session/messages.h"
#include "tools/vtctl/session/progress.h"
#include "tools/vtctl/session/read_as.h"
#include "tools/vtctl/session/root_volume.h"
#include "tools/vtctl/session/session_trace.h"
#include "tools/vtctl/session/settings.h"
#include "tools/vtctl/session/statistics.h"
#include "tools/vtctl/session/stop_sign.h"
#include "tools/vtctl/session/tree_walk.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {

/* What the operator asks of a session. */
struct SessionRequest {
  Path root;
  Path out;              /* the folder for the job log */
  std::wstring jobName;  /* empty: the setting */
  std::wstring language; /* empty: the product's setting */
  KeyPath settingsKey;
  size_t keptFindings = SIZE_MAX;        /* how many SessionResult keeps */
  unsigned workers = 0;                  /* 0: the setting */
  Selection selection;                   /* of its files and folders */
  bool isDryRun = false;                 /* no file is opened, and nothing written anywhere */
  bool crossVolumes = false;             /* volumes mounted below the root are read as well */
  ReaderAccount reader;                  /* as whom the tree is read */
  std::wstring note;                     /* for the header of the job log; mostly empty */
  bool (*stopRequested)() = Interrupted; /* asked before each folder, entry and reading, by each
                                          * worker; once it says yes it never says no again */
};

/* How often one thing was found. Of a code there are some ten texts at most, and then one row for
 * all others. */
struct ReasonCount {
  long code = 0;
  bool isError = false;
  std::wstring text; /* with three dots in place of the path, or of all when there are too many */
  uint64_t count = 0;
};

/* What a session came to. */
struct SessionResult {
  enum Status { successful, exceptions, failed, cancelled } status = successful;
  RootVolume volume;
  Totals totals;
  uint64_t milliseconds = 0;
  std::string started, ended;         /* in UTC, ISO 8601 */
  std::vector<Finding> findings;      /* the first ones */
  std::vector<ReasonCount> reasons;   /* of all of them, the gravest and most frequent first */
  std::vector<std::wstring> settings; /* as the job log has them */
  std::vector<std::wstring> summary;  /* as the job log has them */
  Path logPath;
  DWORD logError = 0; /* why the job log ends early; everything else is then incomplete */
};

/* Plays an agent's backup job over one folder tree: reads every file, keeps nothing, and writes
 * the job log. The texts are in the language of `messages`. */
class Session {
 public:
  Session(const SessionRequest& request, const Messages& messages, Progress& progress);

  /* Makes the job log, but in a dry run, and writes its header. False, with `logError` in the
   * result, when it cannot be made. */
  bool Start();
  /* Requires: Start returned true. What an exception leaves behind is a log without its end. */
  SessionResult Run();
  const SessionResult& Result() const { return result; }

 private:
  void WriteHeader();
  void WriteSettings();
  void WriteCredential(const SettingCredential& credential);
  void WriteSetHeader();
  void WriteSections();
  void WriteExtensions();
  void WriteSetTotals();
  void WriteFooter();

  void ReadTree();
  void ReportEndOfReading();
  void ReportLogFailure();
  void WriteFolder(const FolderRecord& record);

  void Report(const Finding& finding);
  void CountReason(const Finding& finding);
  void AskVolume();
  std::optional<uint64_t> AskFreeSpace() const;
  std::wstring FreeSpaceText(unsigned id, uint64_t bytes) const;
  void Summarise(const wchar_t* tag, const std::wstring& text);
  void ShowProgress(TreeWalk& walk);

  const SessionRequest& request;
  const Messages& messages;
  Progress& progress;
  SessionSettings settings;
  StopSign stop;
  SessionTrace trace;
  /* From here on: while the tree is read, the writing call's alone. */
  JobLog log;
  FileStatistics statistics;
  SessionResult result;
  uint64_t skippedListed = 0;
  unsigned category = MSG_CATEGORY_NONE; /* message id */
  bool categoryIsError = false;
  bool cancelled = false;
  ULONGLONG start = 0;
};

}  // namespace vtctl

#endif
