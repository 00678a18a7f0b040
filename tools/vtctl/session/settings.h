#ifndef VTCLASS_TOOLS_VTCTL_SESSION_SETTINGS_H
#define VTCLASS_TOOLS_VTCTL_SESSION_SETTINGS_H

#include <optional>
#include <string>
#include <vector>

#include "config/registry_values.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/seal.h"

namespace vtctl {

/* One setting as it was found, for the job log and the operator. */
struct SettingReport {
  enum Origin { read, defaultWritten, defaultUsed, outOfRange } origin;
  std::wstring name;
  std::wstring value; /* as stored; what is used when nothing usable was stored */
  std::wstring used;  /* the default, when `origin` is outOfRange */
};

/* The stored password, without itself. */
struct SettingCredential {
  std::wstring account; /* whose it is; empty: nothing says */
  OpenedSeal seal;
};

/* How many threads a session has: more than a few gain nothing on most disks. */
inline constexpr unsigned long kMostWorkers = vtclass::config::kSessionWorkers.maximum;
/* One for each processor, 8 at most. */
unsigned long UsualWorkers();

/* What the registry says of how a session works; config/registry_values.h tells what each is. */
struct SessionSettings {
  std::wstring jobName = vtclass::config::kSessionJobName.text;
  unsigned long readFileData = vtclass::config::kSessionReadFileData.number;
  unsigned long bufferSizeKB = vtclass::config::kSessionBufferSize.number;
  unsigned long reportLargeFilesMB = vtclass::config::kSessionReportLargeFiles.number;
  unsigned long largestFiles = vtclass::config::kSessionLargestFiles.number;
  unsigned long reportLinks = vtclass::config::kSessionReportLinks.number;
  unsigned long workers = UsualWorkers();

  std::optional<SettingCredential> credential;

  std::vector<SettingReport> reports;
  unsigned long error = 0; /* why the key could not be opened; everything is default then */
};

/* The key "Session" below the product's root. */
KeyPath SessionKey();

/* Reads the settings; missing ones are written back with their defaults where the key may be
 * written, and `mayStore`. */
SessionSettings LoadSettings(const KeyPath& path, bool mayStore = true);

/* The password of this account, where the settings name it and hold its password in a seal that
 * opens. */
bool LoadStoredPassword(const KeyPath& path, const std::wstring& account, Secret& password);

}  // namespace vtctl

#endif
