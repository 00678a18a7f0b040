#ifndef VTCLASS_TOOLS_VTCTL_DEBUGLOG_FOLLOW_H
#define VTCLASS_TOOLS_VTCTL_DEBUGLOG_FOLLOW_H

#include <functional>
#include <optional>
#include <string>

#include "tools/vtctl/debuglog/trace_file.h"

namespace vtctl::debuglog {

/*
 * Reads a debug log while it is written, across everything that its limits do to it:
 * - rename: the live file becomes a rotated one. What is left of it is read to the end, then all
 *   files that were begun since, each to its end.
 * - wrap: the file's newest part moves to its front. What was read last is looked for there, and
 *   reading goes on behind it.
 * - simple roll: the log goes on in the file with the next number.
 * Where lines are gone before they could be read, the notice says so.
 *
 * Asked now and then: the system tells of a growing file only when its writer closes it. In between
 * no file is open: where a system keeps the name of a deleted file that somebody has open, the
 * writer could not roll.
 */
class Follower {
 public:
  using Sink = std::function<void(const std::wstring&)>;

  /* `print` takes the log's text, `notice` a sentence for the operator. */
  Follower(Path log, Sink print, Sink notice);

  /* Opens the log and prints its last lines. The system's status. */
  DWORD Start(std::size_t lines);

  /* Prints what has come since. */
  void Poll();

 private:
  struct Successor {
    Path path;
    std::optional<FileIdentity> identity; /* none for the live file */
    bool isGap = false;
  };

  bool IsLive() const;
  void OpenMine();
  bool ReadOn();
  void Take(const std::string& bytes);
  void Flush();
  bool IsStillOurs() const;
  void FindPlaceAfterWrap();
  bool GoToNextFile();
  Successor FindSuccessor() const;
  void GoTo(TraceFile&& next);
  bool GoToFurtherFile();

  const Path firstPath;
  Path path; /* of the live file */
  const Sink print;
  const Sink notice;
  TraceFile file; /* open while it is looked at */
  FileIdentity mine;
  Encoding encoding = Encoding::ansi;
  uint64_t position = 0;
  std::string lastRead; /* the bytes in front of `position` */
  std::string pending;  /* read, but not yet a whole line */
  bool wasIdle = false;
  unsigned long number = 1; /* of the simple roll */
};

}  // namespace vtctl::debuglog

#endif
