#ifndef VTCLASS_TOOLS_VTCTL_HIVE_HIVE_FILE_H
#define VTCLASS_TOOLS_VTCTL_HIVE_HIVE_FILE_H

#include <cstdint>
#include <vector>

#include "hive/hive_reader.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {

/* No file beyond this is read: a saved key has a few megabytes. */
inline constexpr std::uint64_t kMostHiveBytes = std::uint64_t{1} << 30;

/*
 * All of a file in memory, so that it may shrink or go while it is looked at. Nobody is refused the
 * file meanwhile. The system's status; ERROR_FILE_TOO_LARGE beyond kMostHiveBytes.
 */
unsigned long ReadWholeFile(const Path& path, std::vector<unsigned char>& bytes);

/* Reads the file and sees to it that it begins as a hive does; otherwise says what it is, and
 * returns the exit code. */
int LoadHive(const Path& path, std::vector<unsigned char>& bytes);

/* What reading has found, as an exit code; says so when the file is no hive that can be read. */
int VerdictOn(const Path& path, const vtclass::hive::HiveSummary& summary);

}  // namespace vtctl

#endif
