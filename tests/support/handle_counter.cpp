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

struct Replacement {
  const char* library;
  const char* function;
  void* replacement;
};

const Replacement kReplacements[] = {
    {"ADVAPI32.dll", "RegOpenKeyExW", reinterpret_cast<void*>(&OpenKey)},
    {"ADVAPI32.dll", "RegCreateKeyExW", reinterpret_cast<void*>(&CreateKey)},
    {"ADVAPI32.dll", "RegConnectRegistryW", reinterpret_cast<void*>(&ConnectRegistry)},
    {"ADVAPI32.dll", "RegCloseKey", reinterpret_cast<void*>(&CloseKey)},
    {"KERNEL32.dll", "CreateFileW", reinterpret_cast<void*>(&OpenFile)},
    {"KERNEL32.dll", "LoadLibraryExW", reinterpret_cast<void*>(&LoadModule)},
    {"KERNEL32.dll", "FreeLibrary", reinterpret_cast<void*>(&UnloadModule)},
    {"KERNEL32.dll", "CloseHandle", reinterpret_cast<void*>(&CloseAnyHandle)},
};

}  // namespace

struct HandleCounter::Hook {
  explicit Hook(void** slot, void* replacement)
      : slot(slot), original(PatchSlot(slot, replacement)) {}
  ~Hook() { PatchSlot(slot, original); }
  Hook(const Hook&) = delete;
  Hook& operator=(const Hook&) = delete;

  void** slot;
  void* original;
};

HandleCounter::HandleCounter() {
  opened = 0;
  closed = 0;
  for (const Replacement& row : kReplacements) {
    // What the DLL does not import it cannot leak.
    void** const slot = FindImport(LibraryUnderTest(), row.library, row.function);
    if (slot) hooks.push_back(std::make_unique<Hook>(slot, row.replacement));
  }
}

HandleCounter::~HandleCounter() = default;

long HandleCounter::Opened() const { return opened; }
long HandleCounter::Closed() const { return closed; }

}  // namespace vtclass::test
