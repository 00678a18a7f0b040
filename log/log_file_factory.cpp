#include <new>

#include "vtclass/log.h"

LogFileFactory::LogFileFactory(const StringResourceMgr& messages, int debugLogMode)
    : messages(messages), unicode(1), debugLogMode(debugLogMode) {}

LogFile* LogFileFactory::Create(const wchar_t* path) {
  constexpr int kCreateNew = 2;
  constexpr int kNoLimit = -1;
  auto* const log = new LogFile(messages, unicode, kNoLimit, kNoLimit);
  log->Open(kCreateNew, path);
  return log;
}
