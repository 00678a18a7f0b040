#include <vtclass/win32.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "vtclass/agent.h"

// A name is added to a list and removed again, beside the bare registry calls: the list is read,
// with a second query where it is longer than most, and written. The bare calls neither look for
// the name nor make the list that they write. HKEY_LOCAL_MACHINE is a key below the current user,
// which is removed at the end.
namespace {

constexpr wchar_t kRoot[] = L"Software\\vtclass_mini benchmark agent";
constexpr wchar_t kAgents[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents";
constexpr wchar_t kList[] = L"Advertised Name Ok List";
constexpr wchar_t kName[] = L"media-server-9999";
constexpr DWORD kUsualSize = 2048;

class Scene {
 public:
  Scene() {
    ::RegCreateKeyExW(HKEY_CURRENT_USER, kRoot, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &root,
                      nullptr);
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root);
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kAgents, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &agents,
                      nullptr);
    // No agent is installed; the key stays open all the same.
    adv.Open(nullptr, nullptr, nullptr, Configuration::accessRead | Configuration::accessWrite);
  }
  ~Scene() {
    adv.Close();
    ::RegCloseKey(agents);
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegCloseKey(root);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kRoot);
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  HKEY agents = nullptr;
  AgentAdvConfig adv;

 private:
  HKEY root = nullptr;
};

Scene* scene;

std::vector<wcstring> Names(int count) {
  std::vector<wcstring> names;
  for (int i = 0; i < count; ++i) names.emplace_back(L"media-server-" + std::to_wstring(1000 + i));
  return names;
}

void Ours(benchmark::State& state, int count) {
  std::vector<wcstring> names = Names(count);
  scene->adv.SetMyPublishedNamesList(names);
  for (auto _ : state) {
    bool found = true;
    if (scene->adv.AddPublishedNameToList(kName, found) != 0 || found ||
        scene->adv.DelPublishedNameFromList(kName, found) != 0 || found) {
      state.SkipWithError("the name was not added and removed");
    }
  }
}

void Bare(benchmark::State& state, int count) {
  std::vector<wcstring> names = Names(count);
  scene->adv.SetMyPublishedNamesList(names);
  const auto stored = [](const std::vector<wcstring>& list) {
    std::wstring text;
    for (const wcstring& name : list) text.append(name).push_back(L'\0');
    return text + L'\0';
  };
  const std::wstring without = stored(names);
  names.emplace_back(kName);
  const std::wstring with = stored(names);
  std::vector<BYTE> buffer(with.size() * sizeof(wchar_t) + kUsualSize);
  for (auto _ : state) {
    for (const std::wstring* next : {&with, &without}) {
      DWORD size = kUsualSize;
      DWORD type = 0;
      if (::RegQueryValueExW(scene->agents, kList, nullptr, &type, buffer.data(), &size) ==
          ERROR_MORE_DATA) {
        ::RegQueryValueExW(scene->agents, kList, nullptr, &type, buffer.data(), &size);
      }
      ::RegSetValueExW(scene->agents, kList, 0, REG_MULTI_SZ,
                       reinterpret_cast<const BYTE*>(next->data()),
                       static_cast<DWORD>(next->size() * sizeof(wchar_t)));
    }
  }
}

}  // namespace

BENCHMARK_CAPTURE(Ours, few, 10)->Name("Agent/List10/ours");
BENCHMARK_CAPTURE(Bare, few, 10)->Name("Agent/List10/limit_calls");
BENCHMARK_CAPTURE(Ours, many, 1000)->Name("Agent/List1000/ours");
BENCHMARK_CAPTURE(Bare, many, 1000)->Name("Agent/List1000/limit_calls");

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Scene real;
  scene = &real;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
