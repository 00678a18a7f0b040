#ifndef VTCLASS_TOOLS_VTCTL_SESSION_FILES_H
#define VTCLASS_TOOLS_VTCTL_SESSION_FILES_H

#include <vtclass/win32.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/owned.h"
#include "tools/vtctl/session/stop_sign.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {

/* The entries of one folder, without "." and "..", as the system lists them. */
class FolderListing {
 public:
  explicit FolderListing(const Path& folder);
  /* That of a folder that cannot be listed. */
  explicit FolderListing(DWORD error) : error(error) {}

  /* The next entry; false at the end and after a failure, which Error tells apart. */
  bool Next(WIN32_FIND_DATAW& entry);

  /* The status of the failure, or 0. */
  DWORD Error() const { return error; }
  /* True when the folder could be opened, so that a failure came in the middle. */
  bool Opened() const { return opened; }

 private:
  bool Advance(WIN32_FIND_DATAW& entry);

  vtclass::platform::OwnedFileSearch find;
  WIN32_FIND_DATAW first = {};
  bool firstPending = false;
  bool opened = false;
  DWORD error = 0;
};

/* How reading one file went. */
struct ReadResult {
  enum Outcome { complete, changed, shorter, cannotOpen, cannotAsk, cannotRead, stopped };
  Outcome outcome = complete;
  DWORD error = 0;
  uint64_t size = 0; /* when the file was opened */
  uint64_t read = 0;
};

/* Reads files as a backup does, into one buffer that is made for the first file and used again and
 * again. One thread at a time. */
class FileReader {
 public:
  FileReader(size_t bufferBytes, const StopSign& stop) : bufferBytes(bufferBytes), stop(stop) {}

  /* Reads the file up to the size that it has when it is opened: a file that grows as fast as it
   * is read would never end. Lets every other program go on reading, writing and deleting. Stops
   * between two chunks when the stop sign is given. */
  ReadResult Read(const Path& path);

 private:
  size_t bufferBytes;
  const StopSign& stop;
  std::vector<unsigned char> buffer;
};

}  // namespace vtctl

#endif
