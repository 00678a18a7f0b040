#include <vtclass/win32.h>

#include <benchmark/benchmark.h>

namespace {

// Loading and unloading a DLL: ours beside one that holds nothing.
void LoadAndFree(benchmark::State& state, const wchar_t* name) {
  for (auto _ : state) {
    const HMODULE module = ::LoadLibraryW(name);
    if (!module) {
      state.SkipWithError("the DLL does not load");
      return;
    }
    ::FreeLibrary(module);
  }
}

}  // namespace

BENCHMARK_CAPTURE(LoadAndFree, ours, L"vtclass_mini.dll")->Name("Load/Dll/ours");
BENCHMARK_CAPTURE(LoadAndFree, limit, L"empty_dll.dll")->Name("Load/Dll/limit_empty_dll");

BENCHMARK_MAIN();
