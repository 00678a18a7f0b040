#ifndef VTCLASS_TOOLS_VTCTL_SESSION_FOLDER_READER_H
#define VTCLASS_TOOLS_VTCTL_SESSION_FOLDER_READER_H

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/critical_section.h"
#include "tools/vtctl/session/files.h"
#include "tools/vtctl/session/findings.h"
#include "tools/vtctl/session/messages.h"
#include "tools/vtctl/session/selection.h"
#include "tools/vtctl/session/settings.h"
#include "tools/vtctl/session/statistics.h"
#include "tools/vtctl/session/stop_sign.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {

/* A volume on the way from the root to a folder. */
struct EnteredVolume {
  std::wstring name;                          /* empty when it has none */
  std::shared_ptr<const EnteredVolume> above; /* that on which its mount point lies */
};

/* A folder to read, and the volume that it lies on. */
struct FolderPlace {
  Path path;
  std::shared_ptr<const EnteredVolume> volume;
};

/* One entry of a folder's part of the job log: a finding, or a plain entry with the code 0. */
using FolderLine = Finding;

/* What reading one folder, without those below it, has given. */
struct FolderRecord {
  explicit FolderRecord(size_t largestCount) : statistics(largestCount) {}

  std::wstring shownPath;
  Totals totals; /* without warnings and errors: those are among the lines */
  FileStatistics statistics;
  std::vector<FolderLine> lines;   /* in the order of the entries */
  std::vector<FolderLine> skipped; /* for the summary of skipped items: the first ones */
  std::vector<FolderPlace> subfolders;
};

/* What has been read so far, for the progress that is shown meanwhile. */
class LiveCount {
 public:
  std::atomic<uint64_t> files = 0;
  std::atomic<uint64_t> bytes = 0;

  /* The folder that a reader has begun last, as people may read it. */
  std::wstring Folder();
  void SetFolder(const std::wstring& shownPath);

 private:
  vtclass::platform::CriticalSection lock;
  std::wstring folder VTCLASS_GUARDED_BY(lock);
};

/* What all readers of a session share. */
struct ReadingPlan {
  const SessionSettings& settings;
  const Messages& messages;
  StopSign& stop;
  Path root;               /* a failure there is an error */
  Path logPath;            /* the one file that is not read */
  std::wstring rootVolume; /* the name of the volume that holds it; empty when it has none */
  const Selection& selection;
  bool crossVolumes; /* volumes mounted at folders are read as well */
  HANDLE reader;     /* the token of the account that reads; null: that of the process */
};

/* The summary of skipped items names so many; the folders above it name all of them. */
inline constexpr uint64_t kMostSkippedListed = 1000;

/* Lists folders and reads their files, one folder at a time. One thread at a time. */
class FolderReader {
 public:
  FolderReader(const ReadingPlan& plan, LiveCount& live);

  /* Ends in the middle of the folder, with what was read until then, when the stop sign is given.
   * Meanwhile the thread acts as the plan's account; where the system refuses that, the folder
   * counts as one that cannot be listed. */
  FolderRecord Read(const FolderPlace& folder);

 private:
  bool IsSelected(const Path& path, bool isFolder) const;
  void ReadEntry(const FolderPlace& folder, const WIN32_FIND_DATAW& entry, FolderRecord& record);
  void ReadFile(const Path& path, const WIN32_FIND_DATAW& entry, FolderRecord& record);
  void EnterOrSkipVolume(const FolderPlace& mountPoint, FolderRecord& record);
  void SkipLink(const Path& path, FolderRecord& record);
  void CountFile(const Path& path, const wchar_t* name, uint64_t bytes, FolderRecord& record);

  const ReadingPlan& plan;
  LiveCount& live;
  FileReader files;
};

}  // namespace vtctl

#endif
