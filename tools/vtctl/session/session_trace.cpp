#include "tools/vtctl/session/session_trace.h"

#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/settings_monitor.h"

namespace vtctl {

SessionTrace::SessionTrace(const StringResourceMgr& messages, const Path& folder, bool mayWrite) {
  if (!mayWrite) return;
  constexpr int kUnicode = 1;
  LogFileFactory factory(messages, kUnicode);
  // Beside each job log its own trace: the path is not one for all, so it is not stored.
  log.reset(factory.CreateDebugLog(nullptr, (folder / L"vtctl-session.log").System().c_str()));
}

SessionTrace::~SessionTrace() {
  if (!log) return;
  log.reset();
  SettingsMonitor::DestroyInstance();
}

void SessionTrace::Write(unsigned long level, const std::wstring& text) {
  if (!log || log->GetLogLevel() < level) return;
  log->print(L"%s %lu %s\n", ClockTime().c_str(), ::GetCurrentThreadId(), Printable(text).c_str());
}

}  // namespace vtctl
