#include "tests/support/handle_counter.h"

#include <vtclass/win32.h>

#include <atomic>

#include "tests/support/import_hook.h"

namespace vtclass::test {

namespace {

std::atomic<long> opened;
std::atomic<long> closed;

bool Count(std::atomic<long>& counter, bool success) {
  if (success) ++counter;
  return success;
}

LSTATUS CountOpened(LSTATUS status) {
  Count(opened, status == ERROR_SUCCESS);
  return status;
}

LSTATUS WINAPI OpenKey(HKEY key, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY result) {
  return CountOpened(::RegOpenKeyExW(key, subkey, options, access, result));
}

LSTATUS WINAPI CreateKey(HKEY key, LPCWSTR subkey, DWORD reserved, LPWSTR kind, DWORD options,
                         REGSAM access, LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD how) {
  return CountOpened(
      ::RegCreateKeyExW(key, subkey, reserved, kind, options, access, security, result, how));
}

LSTATUS WINAPI ConnectRegistry(LPCWSTR machine, HKEY key, PHKEY result) {
  return CountOpened(::RegConnectRegistryW(machine, key, result));
}

LSTATUS WINAPI CloseKey(HKEY key) {
  const LSTATUS status = ::RegCloseKey(key);
  Count(closed, status == ERROR_SUCCESS);
  return status;
}

HANDLE WINAPI OpenFile(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                       DWORD disposition, DWORD flags, HANDLE model) {
  const HANDLE file = ::CreateFileW(path, access, share, security, disposition, flags, model);
  Count(opened, file != INVALID_HANDLE_VALUE);
  return file;
}

HMODULE WINAPI LoadModule(LPCWSTR name, HANDLE file, DWORD flags) {
  const HMODULE module = ::LoadLibraryExW(name, file, flags);
  Count(opened, module != nullptr);
  return module;
}

BOOL WINAPI UnloadModule(HMODULE module) { return Count(closed, ::FreeLibrary(module) != FALSE); }
BOOL WINAPI CloseAnyHandle(HANDLE handle) { return Count(closed, ::CloseHandle(handle) != FALSE); }

}  // namespace

struct HandleCounter::Hooks {
  ImportHook<decltype(OpenKey)> openKey{nullptr, "RegOpenKeyExW", &OpenKey};
  ImportHook<decltype(CreateKey)> createKey{nullptr, "RegCreateKeyExW", &CreateKey};
  ImportHook<decltype(ConnectRegistry)> connect{nullptr, "RegConnectRegistryW", &ConnectRegistry};
  ImportHook<decltype(CloseKey)> closeKey{nullptr, "RegCloseKey", &CloseKey};
  ImportHook<decltype(OpenFile)> openFile{nullptr, "CreateFileW", &OpenFile};
  ImportHook<decltype(LoadModule)> loadModule{nullptr, "LoadLibraryExW", &LoadModule};
  ImportHook<decltype(UnloadModule)> unloadModule{nullptr, "FreeLibrary", &UnloadModule};
  ImportHook<decltype(CloseAnyHandle)> closeHandle{nullptr, "CloseHandle", &CloseAnyHandle};
};

HandleCounter::HandleCounter() {
  opened = closed = 0;
  hooks = std::make_unique<Hooks>();
}

HandleCounter::~HandleCounter() = default;

long HandleCounter::Opened() const { return opened; }
long HandleCounter::Closed() const { return closed; }

}  // namespace vtclass::test
