#include <vtclass/win32.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "vtclass/config.h"
#include "vtclass/replication.h"
#include "vtclass/security.h"

// Registry reading beside the raw calls that do the same work: a number, texts around the length up
// to which one query must do, the walk over subkeys and values, and the saving of a key to a file.
// The key lies below the current user and is removed at the end.
namespace {

constexpr wchar_t kKey[] = L"Software\\vtclass_mini benchmark";
constexpr int kEntries = 200;

// Where keys are saved to.
std::wstring ReplicaFolder() {
  std::wstring folder(MAX_PATH, L'\0');
  folder.resize(::GetTempPathW(MAX_PATH, folder.data()));
  return folder + L"vtclass_mini benchmark";
}

class Scene {
 public:
  Scene() : settings(HKEY_CURRENT_USER) {
    settings.Open(kKey, nullptr, Configuration::accessRead | Configuration::accessWrite);
    settings.SaveDWORD(L"number", 42);
    for (int bytes : {32, 512, 8192}) Fill(bytes);
    walk.Open((std::wstring(kKey) + L"\\walk").c_str(), nullptr, Configuration::accessWrite);
    for (int i = 0; i < kEntries; ++i) {
      const std::wstring name = L"entry " + std::to_wstring(i);
      Configuration subkey(HKEY_CURRENT_USER);
      subkey.Open((kKey + (L"\\walk\\" + name)).c_str(), nullptr, Configuration::accessWrite);
      walk.Save(name.c_str(), wcstring(L"some text of a value"));
    }
    ::RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key);
  }
  ~Scene() {
    walk.Close();
    settings.Close();
    ::RegCloseKey(key);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
    const std::wstring folder = ReplicaFolder();
    ::DeleteFileW((folder + L"\\raw.dat").c_str());
    ::DeleteFileW((folder + L"\\Software_vtclass_mini benchmark_walk.dat").c_str());
    ::RemoveDirectoryW(folder.c_str());
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  static std::wstring TextName(int bytes) { return L"text " + std::to_wstring(bytes); }

  Configuration settings;
  HKEY key = nullptr;

 private:
  void Fill(int bytes) {
    const std::size_t units = static_cast<std::size_t>(bytes) / sizeof(wchar_t) - 1;
    settings.Save(TextName(bytes).c_str(), wcstring(std::wstring(units, L'x')));
  }

  Configuration walk{HKEY_CURRENT_USER};
};

Scene* scene;

void NumberOurs(benchmark::State& state) {
  unsigned long value = 0;
  for (auto _ : state) benchmark::DoNotOptimize(scene->settings.LoadDWORD(L"number", value));
}

void NumberRaw(benchmark::State& state) {
  for (auto _ : state) {
    DWORD value = 0;
    DWORD size = sizeof(value);
    DWORD type = 0;
    benchmark::DoNotOptimize(::RegQueryValueExW(scene->key, L"number", nullptr, &type,
                                                reinterpret_cast<BYTE*>(&value), &size));
  }
}

void TextOurs(benchmark::State& state, int bytes) {
  const std::wstring name = Scene::TextName(bytes);
  wcstring text;
  for (auto _ : state) benchmark::DoNotOptimize(scene->settings.Load(name.c_str(), text));
}

void TextRaw(benchmark::State& state, int bytes) {
  const std::wstring name = Scene::TextName(bytes);
  std::vector<BYTE> buffer(16384);
  for (auto _ : state) {
    auto size = static_cast<DWORD>(buffer.size());
    DWORD type = 0;
    benchmark::DoNotOptimize(
        ::RegQueryValueExW(scene->key, name.c_str(), nullptr, &type, buffer.data(), &size));
  }
}

// The length is asked for first, then the text is fetched into a buffer of that length.
void TextPlain(benchmark::State& state, int bytes) {
  const std::wstring name = Scene::TextName(bytes);
  std::wstring text;
  for (auto _ : state) {
    DWORD size = 0;
    ::RegQueryValueExW(scene->key, name.c_str(), nullptr, nullptr, nullptr, &size);
    std::vector<wchar_t> buffer(size / sizeof(wchar_t));
    ::RegQueryValueExW(scene->key, name.c_str(), nullptr, nullptr,
                       reinterpret_cast<BYTE*>(buffer.data()), &size);
    text.assign(buffer.data(), buffer.size() - 1);
    benchmark::DoNotOptimize(text.data());
  }
}

const std::wstring& WalkKey() {
  static const std::wstring name = std::wstring(kKey) + L"\\walk";
  return name;
}

template <typename Iterator>
void WalkOurs(benchmark::State& state) {
  for (auto _ : state) {
    Iterator entries(WalkKey().c_str(), HKEY_CURRENT_USER, 0);
    int met = 0;
    for (const wchar_t* name = entries.First(); name; name = entries.Next()) ++met;
    if (met != kEntries) state.SkipWithError("not every entry was met");
  }
}

void WalkRaw(benchmark::State& state, bool values) {
  static wchar_t name[256];
  static BYTE data[1024];
  for (auto _ : state) {
    HKEY key = nullptr;
    ::RegOpenKeyExW(HKEY_CURRENT_USER, WalkKey().c_str(), 0, KEY_READ, &key);
    LSTATUS status = ERROR_SUCCESS;
    for (DWORD index = 0; status == ERROR_SUCCESS; ++index) {
      DWORD chars = ARRAYSIZE(name);
      DWORD size = sizeof(data);
      DWORD type = 0;
      status = values
                   ? ::RegEnumValueW(key, index, name, &chars, nullptr, &type, data, &size)
                   : ::RegEnumKeyExW(key, index, name, &chars, nullptr, nullptr, nullptr, nullptr);
    }
    ::RegCloseKey(key);
  }
}

class Replica : public RegistryKeyReplicator {
 public:
  ~Replica() { TerminateReplication(); }

 private:
  void OnReplicationError(unsigned long, const wcstring&) override {}
};

// A replication from its start to its end, with one save.
void ReplicateOurs(benchmark::State& state) {
  const std::wstring folder = ReplicaFolder();
  Replica replica;
  for (auto _ : state) {
    replica.InitiateReplication(HKEY_CURRENT_USER, WalkKey(), folder, true);
    replica.TerminateReplication();
    if (replica.GetSaveCount() != 1) state.SkipWithError("not saved");
  }
}

// The calls of such a save on a thread of their own.
DWORD WINAPI SaveRaw(void*) {
  const std::wstring folder = ReplicaFolder();
  const std::wstring temporary = folder + L"\\raw.tmp", data = folder + L"\\raw.dat";
  HKEY key = nullptr;
  ::RegOpenKeyExW(HKEY_CURRENT_USER, WalkKey().c_str(), 0, KEY_READ, &key);
  LSTATUS status = ::RegSaveKeyW(key, temporary.c_str(), nullptr);
  ::RegCloseKey(key);
  const HANDLE file = ::CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  ::FlushFileBuffers(file);
  ::CloseHandle(file);
  ::DeleteFileW(data.c_str());
  if (!::MoveFileW(temporary.c_str(), data.c_str())) status = ERROR_CANNOT_MAKE;
  return static_cast<DWORD>(status);
}

void ReplicateRaw(benchmark::State& state) {
  CreateDirectoryPath(ReplicaFolder());
  AssertPrivilege(SE_BACKUP_NAME, TRUE);
  for (auto _ : state) {
    DWORD status = ERROR_SUCCESS;
    const HANDLE thread = ::CreateThread(nullptr, 0, &SaveRaw, nullptr, 0, nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    ::GetExitCodeThread(thread, &status);
    ::CloseHandle(thread);
    if (status != ERROR_SUCCESS) state.SkipWithError("not saved");
  }
}

void RegisterTexts() {
  for (const int bytes : {32, 512, 8192}) {
    const std::string name = "Config/Text" + std::to_string(bytes);
    benchmark::RegisterBenchmark((name + "/ours").c_str(), &TextOurs, bytes);
    benchmark::RegisterBenchmark((name + "/limit_onequery").c_str(), &TextRaw, bytes);
    benchmark::RegisterBenchmark((name + "/plain").c_str(), &TextPlain, bytes);
  }
}

}  // namespace

BENCHMARK(NumberOurs)->Name("Config/Dword/ours");
BENCHMARK(NumberRaw)->Name("Config/Dword/limit_query");
BENCHMARK(WalkOurs<CRegistryKeysIterator>)->Name("Config/WalkKeys/ours");
BENCHMARK_CAPTURE(WalkRaw, keys, false)->Name("Config/WalkKeys/limit_loop");
BENCHMARK(WalkOurs<CRegistryValuesIterator>)->Name("Config/WalkValues/ours");
BENCHMARK_CAPTURE(WalkRaw, values, true)->Name("Config/WalkValues/limit_loop");
BENCHMARK(ReplicateOurs)->Name("Config/Replicate/ours")->UseRealTime();
BENCHMARK(ReplicateRaw)->Name("Config/Replicate/limit_calls")->UseRealTime();

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RegisterTexts();
  Scene real;
  scene = &real;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
