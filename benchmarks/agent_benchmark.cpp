#include <vtclass/win32.h>

#include <benchmark/benchmark.h>

#include <cwchar>
#include <iterator>
#include <string>
#include <vector>

#include "vtclass/agent.h"

// A name is added to a list and removed again, beside the bare registry calls: the list is read,
// with a second query where it is longer than most, and written. As the limit they neither look for
// the name nor make the list that they write, as the plain form they do, with the C run time's
// functions. HKEY_LOCAL_MACHINE is a key below the current user, which is removed at the end.
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
  names.reserve(static_cast<std::size_t>(count));
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

// The stored list, in `text`.
void Query(std::wstring& text) {
  DWORD size = kUsualSize;
  DWORD type = 0;
  text.resize(size / sizeof(wchar_t));
  if (::RegQueryValueExW(scene->agents, kList, nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                         &size) == ERROR_MORE_DATA) {
    text.resize(size / sizeof(wchar_t));
    ::RegQueryValueExW(scene->agents, kList, nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                       &size);
  }
  text.resize(size / sizeof(wchar_t));
}

void Set(const std::wstring& text) {
  ::RegSetValueExW(scene->agents, kList, 0, REG_MULTI_SZ,
                   reinterpret_cast<const BYTE*>(text.data()),
                   static_cast<DWORD>(text.size() * sizeof(wchar_t)));
}

void Calls(benchmark::State& state, int count) {
  std::vector<wcstring> names = Names(count);
  scene->adv.SetMyPublishedNamesList(names);
  std::wstring text;
  Query(text);
  const std::wstring without = text;
  const std::wstring with = without.substr(0, without.size() - 1) + kName + L'\0' + L'\0';
  for (auto _ : state) {
    Query(text);
    Set(with);
    Query(text);
    Set(without);
  }
}

// Where the name stands in the list; at its end where it does not.
std::size_t Find(const std::wstring& text) {
  const wchar_t* name = text.c_str();
  while (*name && ::_wcsicmp(name, kName) != 0) name += std::wcslen(name) + 1;
  return static_cast<std::size_t>(name - text.c_str());
}

void Plain(benchmark::State& state, int count) {
  std::vector<wcstring> names = Names(count);
  scene->adv.SetMyPublishedNamesList(names);
  for (auto _ : state) {
    std::wstring text;
    Query(text);
    text.insert(Find(text), std::wstring(kName) + L'\0');
    Set(text);
    Query(text);
    text.erase(Find(text), std::size(kName));
    Set(text);
  }
}

}  // namespace

BENCHMARK_CAPTURE(Ours, few, 10)->Name("Agent/List10/ours");
BENCHMARK_CAPTURE(Calls, few, 10)->Name("Agent/List10/limit_calls");
BENCHMARK_CAPTURE(Plain, few, 10)->Name("Agent/List10/plain_calls");
BENCHMARK_CAPTURE(Ours, many, 1000)->Name("Agent/List1000/ours");
BENCHMARK_CAPTURE(Calls, many, 1000)->Name("Agent/List1000/limit_calls");
BENCHMARK_CAPTURE(Plain, many, 1000)->Name("Agent/List1000/plain_calls");

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Scene real;
  scene = &real;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
