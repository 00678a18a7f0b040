#include <vtclass/win32.h>

#include <benchmark/benchmark.h>
#include <vtclass/security.h>

#include <string>
#include <vector>

#include "hive/hive_reader.h"
#include "platform/owned.h"
#include "tests/support/hive_builder.h"
#include "tools/vtctl/hive/hive_file.h"

using vtclass::platform::OwnedFile;
using vtclass::platform::OwnedRegistryKey;
using vtclass::test::HiveKey;

// Going through a saved key, beside the system's saving of the same key.
namespace {

constexpr wchar_t kHive[] = L"hive_benchmark.dat";
constexpr wchar_t kSaved[] = L"hive_benchmark_saved.dat";
constexpr wchar_t kLiveKey[] = L"Software\\vtclass_hive_benchmark";
constexpr std::size_t kKeys = 1000;
constexpr std::size_t kValuesEach = 100;

// A thousand keys of a hundred values each, most of them short, as settings are.
const HiveKey& Contents() {
  static const HiveKey contents = [] {
    HiveKey root;
    for (std::size_t key = 0; key < kKeys; ++key) {
      HiveKey& below = root.subkeys.emplace_back();
      below.name = L"Key " + std::to_wstring(10000 + key);
      for (std::size_t value = 0; value < kValuesEach; ++value) {
        const std::wstring name = L"Value " + std::to_wstring(value);
        below.values.push_back(
            value % 2 == 0 ? vtclass::test::HiveValue{name, REG_DWORD, "1234"}
                           : vtclass::test::HiveValue{name, REG_BINARY, std::string(60, 'x')});
      }
    }
    return root;
  }();
  return contents;
}

// The file that is read, written once.
const vtctl::Path& HiveFile() {
  static const vtctl::Path path = [] {
    const std::string bytes = vtclass::test::BuildHive(Contents());
    const OwnedFile file(::CreateFileW(kHive, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    return vtctl::Path(kHive);
  }();
  return path;
}

// The same in the registry, for the length of the program.
class LiveKey {
 public:
  LiveKey() {
    ::RegCreateKeyW(HKEY_CURRENT_USER, kLiveKey, key.Receive());
    for (const HiveKey& below : Contents().subkeys) {
      OwnedRegistryKey subkey;
      ::RegCreateKeyW(key.Get(), below.name.c_str(), subkey.Receive());
      for (const vtclass::test::HiveValue& value : below.values) {
        ::RegSetValueExW(subkey.Get(), value.name.c_str(), 0, value.type,
                         reinterpret_cast<const BYTE*>(value.data.data()),
                         static_cast<DWORD>(value.data.size()));
      }
    }
  }
  ~LiveKey() {
    key.Reset();
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kLiveKey);
  }
  LiveKey(const LiveKey&) = delete;
  LiveKey& operator=(const LiveKey&) = delete;

  HKEY Get() const { return key.Get(); }

 private:
  OwnedRegistryKey key;
};

struct Nobody : vtclass::hive::HiveVisitor {
  bool OnKey(const vtclass::hive::Key&) override { return true; }
  bool OnValue(const vtclass::hive::StoredValue&) override { return true; }
};

void OursVerify(benchmark::State& state) {
  const vtctl::Path& path = HiveFile();
  for (auto _ : state) {
    std::vector<unsigned char> bytes;
    vtctl::ReadWholeFile(path, bytes);
    Nobody nobody;
    const auto summary =
        vtclass::hive::ReadHive(bytes, nobody, [](const vtclass::hive::Problem&) {});
    if (summary.values != kKeys * kValuesEach || summary.errors + summary.warnings != 0) {
      state.SkipWithError("the hive was not read");
      return;
    }
  }
}

void ReadAlone(benchmark::State& state) {
  const vtctl::Path& path = HiveFile();
  for (auto _ : state) {
    std::vector<unsigned char> bytes;
    if (vtctl::ReadWholeFile(path, bytes) != ERROR_SUCCESS) state.SkipWithError("not read");
    benchmark::DoNotOptimize(bytes.data());
  }
}

void SystemSaves(benchmark::State& state) {
  const LiveKey key;
  AssertPrivilege(SE_BACKUP_NAME, FALSE);
  for (auto _ : state) {
    // The system refuses a file that exists.
    ::DeleteFileW(kSaved);
    if (::RegSaveKeyW(key.Get(), kSaved, nullptr) != ERROR_SUCCESS) {
      state.SkipWithError("the key was not saved");
      return;
    }
  }
  ::DeleteFileW(kSaved);
}

BENCHMARK(OursVerify)->Name("Hive/Verify100000/ours");
BENCHMARK(ReadAlone)->Name("Hive/Verify100000/limit_read");
BENCHMARK(SystemSaves)->Name("Hive/Verify100000/peer_save");

}  // namespace

BENCHMARK_MAIN();
