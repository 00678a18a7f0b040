#include <memory>
#include <new>

#include "log/debug/debug_log_state.h"
#include "log/file_opening.h"
#include "platform/no_throw.h"
#include "vtclass/debug_log.h"
#include "vtclass/log.h"

static constexpr unsigned short kUtf16 = 1;

LogFileFactory::LogFileFactory(const StringResourceMgr& messages, int debugLogMode)
    : messages(messages), unicode(kUtf16), debugLogMode(debugLogMode) {}

LogFile* LogFileFactory::Create(const wchar_t* path) {
  constexpr int kCreateNew = 2;
  constexpr int kNoLimit = -1;
  auto* const log = new LogFile(messages, unicode, kNoLimit, kNoLimit);
  log->Open(kCreateNew, path);
  return log;
}

LogFile* LogFileFactory::CreateOrNull(const wchar_t* path) noexcept {
  return vtclass::platform::MadeOrNull([&] { return Create(path); });
}

DebugLog* LogFileFactory::CreateDebugLogOrNull(const wchar_t* pathValueName,
                                               const wchar_t* fileName) noexcept {
  return vtclass::platform::MadeOrNull([&] { return CreateDebugLog(pathValueName, fileName); });
}

DebugLog* LogFileFactory::CreateDebugLog(const wchar_t* pathValueName, const wchar_t* fileName) {
  auto log = std::make_unique<DebugLog>(messages, debugLogMode, pathValueName);
  {
    const vtclass::platform::ScopedLock hold(log->state->lock);
    log->state->fileName = vtclass::log::FullName(fileName);
  }
  log->state->Subscribe();
  return log.release();
}
