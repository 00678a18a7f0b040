// monitor_test_child root component event: the process's client over a private HKEY_LOCAL_MACHINE,
// which lies at `root` below HKEY_CURRENT_USER. Prints 1 or 0 for each callback, and ends when the
// event is set, with the client running.
#include <vtclass/win32.h>

#include <cstdio>
#include <cstdlib>

#include "vtclass/monitor.h"

int main(int, char** words) {
  HKEY root = nullptr;
  ::RegOpenKeyExA(HKEY_CURRENT_USER, words[1], 0, KEY_ALL_ACCESS, &root);
  if (::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root) != ERROR_SUCCESS) return 2;
  const auto component = static_cast<SGMonClient::eClient>(std::atoi(words[2]));
  // Dropped at once: the client holds itself.
  SGMonClient::GetInstance(component, [](bool on) {
    std::putchar(on ? '1' : '0');
    std::fflush(stdout);
  });
  const auto client = SGMonClient::GetInstance(SGMonClient::eNdmp, nullptr);
  const HANDLE end = ::OpenEventA(SYNCHRONIZE, FALSE, words[3]);
  if (::WaitForSingleObject(end, 60000) != WAIT_OBJECT_0) return 1;
  return client->AddRef() == 3 ? 0 : 3;  // its own, `client`'s, this one
}
