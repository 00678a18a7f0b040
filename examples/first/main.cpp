#include <vtclass/vtclass.h>

#include <cstdio>

// Reads a setting (writing its default back when it is missing) and writes a job log with it.
int main() {
  Configuration settings(HKEY_CURRENT_USER);
  unsigned long level = 0;
  if (!settings.Open(L"Software\\vtclass_mini example", nullptr,
                     Configuration::accessRead | Configuration::accessWrite) ||
      !settings.Load(L"Level", level, 3)) {
    std::printf("The setting cannot be read: %ld\n", settings.GetErrorCode());
    return 1;
  }

  StringResourceMgr messages;
  LogFile log(messages, 1, -1, -1);  // in UTF-16, of any size
  if (!log.Open(0, L"first.xml") ||
      !log.printTMP(-1, kTagCompression, L"level %u, <none> & more", level) || !log.Close()) {
    std::printf("The log cannot be written: %lu\n", log.GetErrorCode());
    return 1;
  }
  return 0;
}
