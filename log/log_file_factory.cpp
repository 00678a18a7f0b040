#include <new>

#include "vtclass/log.h"

LogFileFactory::LogFileFactory(const StringResourceMgr& source, int mode)
    : messages(source), unicode(1), debugLogMode(mode) {}

LogFile* LogFileFactory::Create(const wchar_t* path) {
  constexpr int kCreateNew = 2;
  constexpr int kNoLimit = -1;
  LogFile* const log = new LogFile(messages, unicode, kNoLimit, kNoLimit);
  log->Open(kCreateNew, path);
  return log;
}
