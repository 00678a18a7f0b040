#include <vtclass/win32.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "vtclass/config.h"

// Registry reading beside the raw calls that do the same work: a number, texts around the length up
// to which one query must do, and the walk over subkeys and values. The key lies below the current
// user and is removed at the end.
namespace {

constexpr wchar_t kKey[] = L"Software\\vtclass_mini benchmark";
constexpr int kEntries = 200;

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

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RegisterTexts();
  Scene real;
  scene = &real;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
