#include <vtclass/win32.h>

#include <delayimp.h>
#include <vtsocket/vtsocket.h>

#include <cstring>
#include <cwchar>
#include <exception>
#include <memory>
#include <new>

#include "platform/owned.h"
#include "platform/this_module.h"

// The libraries vtsocket, vtcluster and vtstdutl load at the first call of one of their functions.
// They lie beside this DLL. The linker's helper would look for them by name alone, in the folder of
// the host program and in the current one: it would miss them where the host lies elsewhere, or
// meet a stranger's file. Where one is missing, damaged or of another release, the helper would
// raise a structured exception, which nobody expects of a question for a name; the exception thrown
// here is one that every caller in this DLL turns into a status.
//
// They load with the rights of the process: the account of a job, which the calling thread may
// impersonate, need not be able to read the folder of the product.
namespace {

using vtclass::platform::OwnedKernelObject;
using vtclass::platform::ThisModule;

// More than any path has.
constexpr DWORD kPathRoom = 32768;

// The thread acts as the process for one scope.
class TokenSetAside {
 public:
  TokenSetAside() noexcept {
    // What cannot be opened could not be put back, and stays.
    if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, token.Receive())) return;
    if (!::SetThreadToken(nullptr, nullptr)) token.Reset();
  }
  ~TokenSetAside() {
    if (!token) return;
    const DWORD error = ::GetLastError();
    // Going on without it would give the job the rights of the service.
    if (!::SetThreadToken(nullptr, token.Get())) std::terminate();
    ::SetLastError(error);
  }
  TokenSetAside(const TokenSetAside&) = delete;
  TokenSetAside& operator=(const TokenSetAside&) = delete;

 private:
  OwnedKernelObject token;
};

// Null with the thread's last error.
HMODULE LoadBeside(const char* name) noexcept {
  const std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[kPathRoom]);
  if (!path) {
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  const DWORD length = ::GetModuleFileNameW(ThisModule(), path.get(), kPathRoom);
  wchar_t* const slash = length < kPathRoom ? std::wcsrchr(path.get(), L'\\') : nullptr;
  if (!slash || static_cast<std::size_t>(slash - path.get()) + 1 + std::strlen(name) >= kPathRoom) {
    ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return nullptr;
  }
  wchar_t* end = slash + 1;
  while (*name) *end++ = static_cast<wchar_t>(*name++);  // these names are ASCII
  *end = L'\0';
  const TokenSetAside asProcess;
  return ::LoadLibraryExW(path.get(), nullptr,
                          LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
}

// Null leaves the step to the linker's helper.
FARPROC WINAPI OnDelayLoad(unsigned step, PDelayLoadInfo load) {
  if (step != dliNotePreLoadLibrary) return nullptr;
  if (const HMODULE library = LoadBeside(load->szDll)) return reinterpret_cast<FARPROC>(library);
  const DWORD error = ::GetLastError();
  throw VTSocket::VTSocketError(error != ERROR_SUCCESS ? error : ERROR_MOD_NOT_FOUND);
}

FARPROC WINAPI OnFailure(unsigned, PDelayLoadInfo) {
  throw VTSocket::VTSocketError(ERROR_PROC_NOT_FOUND);
}

// Gives back what the linker's helper holds of each companion that has been loaded.
void ReleaseCompanions() noexcept {
  auto* const base = reinterpret_cast<BYTE*>(ThisModule());
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
      base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const DWORD table =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT].VirtualAddress;
  const auto* library = reinterpret_cast<const IMAGE_DELAYLOAD_DESCRIPTOR*>(base + table);
  for (; table != 0 && library->DllNameRVA != 0; ++library) {
    const auto* const held = reinterpret_cast<const HMODULE*>(base + library->ModuleHandleRVA);
    if (*held) ::FreeLibrary(*held);
  }
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE /*library*/, DWORD reason, void* processEnds) {
  // When the process ends, the system takes everything down in its own order.
  if (reason == DLL_PROCESS_DETACH && !processEnds) ReleaseCompanions();
  return TRUE;
}

decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = &OnDelayLoad;
decltype(__pfnDliFailureHook2) __pfnDliFailureHook2 = &OnFailure;
