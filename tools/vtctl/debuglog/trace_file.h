#ifndef VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_FILE_H
#define VTCLASS_TOOLS_VTCTL_DEBUGLOG_TRACE_FILE_H

#include <vtclass/win32.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/owned.h"
#include "tools/vtctl/debuglog/trace_text.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl::debuglog {

/* Tells one file from another whatever name it has at the moment. */
struct FileIdentity {
  DWORD volume = 0;
  uint64_t index = 0;

  bool operator==(const FileIdentity&) const = default;
};

/* A file of a debug log, opened so that its writer may go on writing, moving and deleting it. */
class TraceFile {
 public:
  /* The system's status, also of a path that it does not take. */
  DWORD Open(const Path& path);
  void Close() { file.Reset(); }
  bool IsOpen() const { return static_cast<bool>(file); }

  uint64_t Size() const;
  FileIdentity Identity() const;
  FILETIME LastWrite() const;
  Encoding TextEncoding() const;

  /* The bytes from `position` on, at most `most`; fewer at the end, none after a failure. */
  std::string Read(uint64_t position, std::size_t most) const;

 private:
  vtclass::platform::OwnedFile file;
};

/* A rotated file, as its name said at one moment. */
struct RotatedFile {
  Path path;
  RotatedPart part;
  uint64_t size = 0;
  uint64_t index = 0; /* of its identity: the volume is that of all files of the folder */
};

/* The rotated files of a log, oldest first; those of different extensions one after the other. None
 * of them is opened: the name of one that is deleted meanwhile would stay as long as it is open,
 * and its writer could move no other file there. */
std::vector<RotatedFile> RotatedFilesOf(const Path& live);

}  // namespace vtctl::debuglog

#endif
