#include <vtclass/win32.h>

#include <delayimp.h>

#include <stdexcept>
#include <string>

// The companions load at their first call, so that vtctl runs where one is missing or damaged: it
// is the tool that says so. A command that needs one ends with the exception thrown here; the
// linker's helper would raise a structured one.
namespace {

[[noreturn]] void Refuse(const DelayLoadInfo& load, DWORD error) {
  throw std::runtime_error(std::string(load.szDll) +
                           " cannot be loaded, or is of another release (Win32 " +
                           std::to_string(error) + "); vtctl doctor --only libraries tells more");
}

// From the program's folder alone: by its name, the system would look for it in others too.
FARPROC WINAPI OnDelayLoad(unsigned step, PDelayLoadInfo load) {
  if (step != dliNotePreLoadLibrary) return nullptr;
  const HMODULE library = ::LoadLibraryExA(
      load->szDll, nullptr, LOAD_LIBRARY_SEARCH_APPLICATION_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (!library) Refuse(*load, ::GetLastError());
  return reinterpret_cast<FARPROC>(library);
}

FARPROC WINAPI OnFailure(unsigned, PDelayLoadInfo load) { Refuse(*load, ERROR_PROC_NOT_FOUND); }

}  // namespace

decltype(__pfnDliNotifyHook2) __pfnDliNotifyHook2 = &OnDelayLoad;
decltype(__pfnDliFailureHook2) __pfnDliFailureHook2 = &OnFailure;
