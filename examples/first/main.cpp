#include <vtclass/vtclass.h>

// Reads a setting (writing its default back when it is missing) and writes a job log with it.
int main() {
  Configuration settings(HKEY_CURRENT_USER);
  unsigned long level = 0;
  if (!settings.Open(L"Software\\vtclass_mini example", nullptr, 3)) return 1;
  if (!settings.Load(L"Level", level, 3)) return 1;
  StringResourceMgr messages;
  LogFileFactory factory(messages, 0);
  LogFile* const log = factory.Create(L"first.xml");
  const int done = log->printTMP(-1, kTagCompression, L"level %u, <none> & more", level);
  delete log;  // closes the log
  return done ? 0 : 1;
}
