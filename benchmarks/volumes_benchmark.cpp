#include <vtclass/win32.h>

#include <benchmark/benchmark.h>
#include <vtclass/volumes.h>

#include <filesystem>
#include <string>

#include "platform/meant_call.h"

// Listings and questions beside the bare calls, on the volumes and drives that the machine has.
namespace {

// Names and sizes of all volumes.
void OursListing(benchmark::State& state) {
  for (auto _ : state) {
    for (vtclass::vol_it it; it != vtclass::vol_it::end(); ++it) {
      const wcstring name = *it;
      benchmark::DoNotOptimize(ULARGE_INTEGER(vtclass::get<vtclass::total_space>(name)));
    }
  }
}

// The same calls without the library, the error mode included, with a text for each name.
void CallsListing(benchmark::State& state) {
  for (auto _ : state) {
    const UINT mode = ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    VTCLASS_MEANT_BEGIN
    ::GetVersionExW(&version);
    VTCLASS_MEANT_END
    wchar_t buffer[260];
    const HANDLE search = ::FindFirstVolumeW(buffer, 260);
    do {
      const std::wstring name(buffer);
      ULARGE_INTEGER free, total, allFree;
      ::GetDiskFreeSpaceExW(name.c_str(), &free, &total, &allFree);
      benchmark::DoNotOptimize(total);
    } while (::FindNextVolumeW(search, buffer, 260));
    ::FindVolumeClose(search);
    ::SetErrorMode(mode);
  }
}

void OursSpace(benchmark::State& state) {
  const wcstring root = L"C:\\";
  for (auto _ : state) {
    benchmark::DoNotOptimize(ULARGE_INTEGER(vtclass::get<vtclass::free_space>(root)));
  }
}

void CallSpace(benchmark::State& state) {
  for (auto _ : state) {
    ULARGE_INTEGER free, total, allFree;
    ::GetDiskFreeSpaceExW(L"C:\\", &free, &total, &allFree);
    benchmark::DoNotOptimize(allFree);
  }
}

void FilesystemSpace(benchmark::State& state) {
  const std::filesystem::path root = L"C:\\";
  for (auto _ : state) benchmark::DoNotOptimize(std::filesystem::space(root).free);
}

// The volume of a mount point.
void OursName(benchmark::State& state) {
  const wcstring root = L"C:\\";
  for (auto _ : state) {
    benchmark::DoNotOptimize(vtclass::get_volume_name_for_mount_point(root));
  }
}

void CallName(benchmark::State& state) {
  for (auto _ : state) {
    wchar_t name[512];
    ::GetVolumeNameForVolumeMountPointW(L"C:\\", name, 512);
    benchmark::DoNotOptimize(std::wstring(name));
  }
}

// Where a volume that has a drive is reached.
void OursAccessPath(benchmark::State& state) {
  const wcstring volume = vtclass::get_volume_name_for_mount_point(wcstring(L"C:\\"));
  for (auto _ : state) {
    wcstring text = volume;
    vtclass::translate_vol_name()(text);
    benchmark::DoNotOptimize(text);
  }
}

void CallsAccessPath(benchmark::State& state) {
  const std::wstring volume = vtclass::get_volume_name_for_mount_point(wcstring(L"C:\\"));
  for (auto _ : state) {
    wchar_t roots[105];
    ::GetLogicalDriveStringsW(105, roots);
    wchar_t name[512];
    for (const wchar_t* root = roots; *root; root += 4) {
      if (::GetDriveTypeW(root) != DRIVE_FIXED) continue;
      ::GetVolumeNameForVolumeMountPointW(root, name, 512);
      if (volume == name) break;
    }
    benchmark::DoNotOptimize(name);
  }
}

BENCHMARK(OursListing)->Name("Volumes/Listing/ours");
BENCHMARK(CallsListing)->Name("Volumes/Listing/limit_calls");
BENCHMARK(OursSpace)->Name("Volumes/Space/ours");
BENCHMARK(CallSpace)->Name("Volumes/Space/limit_call");
BENCHMARK(FilesystemSpace)->Name("Volumes/Space/peer_filesystem");
BENCHMARK(OursName)->Name("Volumes/Name/ours");
BENCHMARK(CallName)->Name("Volumes/Name/limit_call");
BENCHMARK(OursAccessPath)->Name("Volumes/AccessPath/ours");
BENCHMARK(CallsAccessPath)->Name("Volumes/AccessPath/limit_calls");

}  // namespace

BENCHMARK_MAIN();
