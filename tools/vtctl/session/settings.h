#ifndef VTCLASS_TOOLS_VTCTL_SESSION_SETTINGS_H
#define VTCLASS_TOOLS_VTCTL_SESSION_SETTINGS_H

#include <string>
#include <vector>

#include "tools/vtctl/shared/key_path.h"

namespace vtctl {

/* One setting as it was found, for the job log and the operator. */
struct SettingReport {
  enum Origin { read, defaultWritten, defaultUsed, outOfRange } origin;
  std::wstring name;
  std::wstring value; /* as stored; what is used when nothing usable was stored */
  std::wstring used;  /* the default, when `origin` is outOfRange */
};

/* How many threads a session has: more than a few gain nothing on most disks. */
inline constexpr unsigned long kMostWorkers = 64;
/* One for each processor, 8 at most. */
unsigned long UsualWorkers();

/* What the registry says of how a session works. */
struct SessionSettings {
  std::wstring jobName = L"Backup session";
  unsigned long readFileData = 1;         /* 0: folders are listed and no file is opened */
  unsigned long bufferSizeKB = 256;       /* of each reading */
  unsigned long reportLargeFilesMB = 100; /* files from that size on get an entry of their own */
  unsigned long largestFiles = 10;        /* how many the summary names */
  unsigned long reportLinks = 0;          /* 1: a link that is not followed is a warning */
  unsigned long workers = UsualWorkers(); /* threads that read and write, 1 to kMostWorkers */

  std::vector<SettingReport> reports;
  unsigned long error = 0; /* why the key could not be opened; everything is default then */
};

/* The key "Session" below the product's root. */
KeyPath SessionKey();

/* Reads the settings; missing ones are written back with their defaults where the key may be
 * written. */
SessionSettings LoadSettings(const KeyPath& path);

}  // namespace vtctl

#endif
