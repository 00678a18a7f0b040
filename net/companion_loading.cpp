#include <vtclass/win32.h>

#include <delayimp.h>
#include <vtsocket/vtsocket.h>

#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

#include "platform/this_module.h"

/*
 * The libraries vtsocket and vtcluster load at the first call of one of their functions. They lie
 * beside this DLL. The linker's helper would look for them by name alone, in the folder of the host
 * program and in the current one: it would miss them where the host lies elsewhere, or meet a
 * stranger's file. Where one is missing, damaged or of another release, the helper would raise a
 * structured exception, which nobody expects of a question for a name; the exception thrown here is
 * one that every caller in this DLL turns into a status.
 */
namespace {

using vtclass::platform::ThisModule;

// More than any path has.
constexpr DWORD kPathRoom = 32768;

HMODULE LoadBeside(const char* name) noexcept {
  const std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[kPathRoom]);
  if (!path) return nullptr;
  const DWORD length = ::GetModuleFileNameW(ThisModule(), path.get(), kPathRoom);
  wchar_t* const slash = length < kPathRoom ? std::wcsrchr(path.get(), L'\\') : nullptr;
  if (!slash || static_cast<std::size_t>(slash - path.get()) + 1 + std::strlen(name) >= kPathRoom) {
    return nullptr;
  }
  wchar_t* end = slash + 1;
  while (*name) *end++ = static_cast<wchar_t>(*name++);  // these names are ASCII
  *end = L'\0';
  return ::LoadLibraryExW(path.get(), nullptr,
                          LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
}

// Null leaves the step to the linker's helper.
FARPROC WINAPI OnDelayLoad(unsigned step, PDelayLoadInfo load) {
  if (step != dliNotePreLoadLibrary) return nullptr;
  if (const HMODULE library = LoadBeside(load->szDll)) return reinterpret_cast<FARPROC>(library);
  throw VTSocket::VTSocketError(ERROR_MOD_NOT_FOUND);
}

FARPROC WINAPI OnFailure(unsigned, PDelayLoadInfo) {
  throw VTSocket::VTSocketError(ERROR_PROC_NOT_FOUND);
}

}  // namespace

decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = &OnDelayLoad;
decltype(__pfnDliFailureHook2) __pfnDliFailureHook2 = &OnFailure;
