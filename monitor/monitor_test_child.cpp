// monitor_test_child root component event: a client over a private HKEY_LOCAL_MACHINE, which lies
// at `root` below HKEY_CURRENT_USER. Prints 1 or 0 for each callback, ends when the event is set.
#include <vtclass/win32.h>

#include <shellapi.h>

#include <cstdio>

#include "vtclass/monitor.h"

namespace {

void Print(bool on) {
  std::putchar(on ? '1' : '0');
  std::fflush(stdout);
}

}  // namespace

int main() {
  int count = 0;
  wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  HKEY root = nullptr;
  if (!words || count != 4 ||
      ::RegOpenKeyExW(HKEY_CURRENT_USER, words[1], 0, KEY_ALL_ACCESS, &root) != ERROR_SUCCESS ||
      ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root) != ERROR_SUCCESS) {
    return 2;
  }
  const HANDLE end = ::OpenEventW(SYNCHRONIZE, FALSE, words[3]);
  const auto component = static_cast<SGMonClient::eClient>(words[2][0] - L'0');
  const RefPointer<SGMonClient> client(new SGMonClient(component, &Print));
  return ::WaitForSingleObject(end, 60000) == WAIT_OBJECT_0 ? 0 : 1;
}
