// A service that runs until it is stopped. Tests register it under the names they need.
#include <vtclass/win32.h>

namespace {

SERVICE_STATUS_HANDLE handle;
HANDLE stop;

void Report(DWORD state) {
  SERVICE_STATUS status = {};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
  ::SetServiceStatus(handle, &status);
}

void WINAPI Control(DWORD control) {
  if (control == SERVICE_CONTROL_STOP) ::SetEvent(stop);
}

void WINAPI Main(DWORD, LPWSTR*) {
  wchar_t anyName[] = L"";
  handle = ::RegisterServiceCtrlHandlerW(anyName, &Control);
  Report(SERVICE_RUNNING);
  ::WaitForSingleObject(stop, INFINITE);
  Report(SERVICE_STOPPED);
}

}  // namespace

int main() {
  stop = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  wchar_t anyName[] = L"";
  const SERVICE_TABLE_ENTRYW table[] = {{anyName, &Main}, {nullptr, nullptr}};
  return stop && ::StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
