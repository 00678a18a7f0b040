// threads_test_child scenario exit|unload: runs a scenario of the plugin and ends, or unloads the
// plugin before. Exit code: 0; after unloading 1 when the library is still there; 2 on failure.
#include <vtclass/win32.h>

#include <bit>
#include <cstring>

int main(int argc, char** argv) {
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  const HMODULE plugin = ::LoadLibraryW(L"threads_test_plugin.dll");
  if (argc != 3 || !plugin) return 2;
  const auto scenario = std::bit_cast<void (*)(const char*)>(::GetProcAddress(plugin, "Scenario"));
  scenario(argv[1]);
  if (std::strcmp(argv[2], "exit") == 0) return 0;
  ::FreeLibrary(plugin);
  // A thread that is about to end takes the library along.
  for (int i = 0; i < 100; ++i) {
    if (!::GetModuleHandleW(L"vtclass_mini.dll")) return 0;
    ::Sleep(5);
  }
  return 1;
}
