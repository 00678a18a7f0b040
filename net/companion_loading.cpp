#include <vtclass/win32.h>

#include <delayimp.h>

#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

/*
 * The libraries vtsocket and vtcluster load at the first call of one of their functions. They lie
 * beside this DLL. The linker's helper would look for them by name alone, in the folder of the host
 * program and in the current one: it would miss them where the host lies elsewhere, or meet a
 * stranger's file.
 */
namespace {

// More than any path has.
constexpr DWORD kPathRoom = 32768;

HMODULE LoadBeside(const char* name) noexcept {
  HMODULE self = nullptr;
  ::GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&LoadBeside), &self);
  const std::unique_ptr<wchar_t[]> path(new (std::nothrow) wchar_t[kPathRoom]);
  if (!self || !path) return nullptr;
  const DWORD length = ::GetModuleFileNameW(self, path.get(), kPathRoom);
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

// Null leaves the library to the linker's helper.
FARPROC WINAPI OnDelayLoad(unsigned step, PDelayLoadInfo load) {
  if (step != dliNotePreLoadLibrary) return nullptr;
  return reinterpret_cast<FARPROC>(LoadBeside(load->szDll));
}

}  // namespace

decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = &OnDelayLoad;
