#ifndef VTCLASS_TOOLS_VTCTL_SESSION_SESSION_TRACE_H
#define VTCLASS_TOOLS_VTCTL_SESSION_SESSION_TRACE_H

#include <memory>
#include <string>

#include "tools/vtctl/shared/paths.h"
#include "vtclass/debug_log.h"

namespace vtctl {

/*
 * The debug log of a session, vtctl-session.log beside the job log. It follows the product's
 * settings while the session runs: nothing is written, and no file made, before "CreateDebugLog" is
 * switched on. A trace that cannot be written is left out; the session does not depend on it. Any
 * thread.
 */
class SessionTrace {
 public:
  /* Without a log of its own where it may write none. */
  SessionTrace(const StringResourceMgr& messages, const Path& folder, bool mayWrite);
  ~SessionTrace();
  SessionTrace(const SessionTrace&) = delete;
  SessionTrace& operator=(const SessionTrace&) = delete;

  /* Level 1 tells how the session goes, 2 also what it meets in each folder. */
  void Write(unsigned long level, const std::wstring& text);

 private:
  std::unique_ptr<DebugLog> log;
};

}  // namespace vtctl

#endif
