#include <vtclass/win32.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "vtclass/settings_monitor.h"

// From a registry write to the subscriber's callback, beside a thread that does the least: it waits
// for the notification and reads the value from a key that it keeps open. With many settings all of
// them follow the value that is written; the limit then opens the key once and reads for each.
//
// Only the way to the last callback is timed. What comes after (asking for the next notification,
// the second look) runs in a pause. The registry is a private one below the current user.
namespace {

constexpr wchar_t kRoot[] = L"Software\\vtclass_mini benchmark registry";
constexpr wchar_t kValue[] = L"CreateDebugLog";

LONGLONG Now() {
  LARGE_INTEGER now;
  ::QueryPerformanceCounter(&now);
  return now.QuadPart;
}

// Open once the expected number of callbacks has come; keeps the time of the last one.
class Arrival {
 public:
  // A signal of an earlier change that came late must not count for the next one.
  void Expect(int callbacks) {
    ::ResetEvent(event);
    left = callbacks;
  }
  void One() {
    if (--left > 0) return;
    at = Now();
    ::SetEvent(event);
  }
  // False when they have not come, which the plain forms can do: they lose changes.
  bool Wait() { return ::WaitForSingleObject(event, kLongestWait) == WAIT_OBJECT_0; }
  LONGLONG At() const { return at; }

 private:
  static constexpr DWORD kLongestWait = 5000;

  HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  std::atomic<int> left{0};
  LONGLONG at = 0;
};

Arrival* arrival;
std::wstring watchedKey;
HKEY writer;

long OnChange(unsigned long, void*) {
  arrival->One();
  return 0;
}

class Ours {
 public:
  explicit Ours(int settings) {
    for (int i = 0; i < settings; ++i) {
      SettingsMonitor::GetInstance()->RegisterCreateDebugLog(&OnChange, nullptr);
    }
  }
  ~Ours() { SettingsMonitor::DestroyInstance(); }
  Ours(const Ours&) = delete;
  Ours& operator=(const Ours&) = delete;
  // A write at any time is followed.
  void AwaitReady() const {}
};

enum class Reading { keptOpen, openedOnce, openedEach };

// A thread with nothing but the notification and the reading.
template <Reading reading>
class Raw {
 public:
  explicit Raw(int settings) : settings(settings) {
    ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, watchedKey.c_str(), 0, KEY_READ, &key);
    Arm();
    thread = std::thread([this] { Run(); });
  }
  ~Raw() {
    ::SetEvent(stop);
    thread.join();
    ::RegCloseKey(key);
    ::CloseHandle(event);
    ::CloseHandle(armed);
    ::CloseHandle(stop);
  }
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;
  // A write before the next notification is asked for may be lost.
  void AwaitReady() const { ::WaitForSingleObject(armed, INFINITE); }

 private:
  void Arm() {
    ::RegNotifyChangeKeyValue(key, TRUE, 5, event, TRUE);
    ::SetEvent(armed);
  }
  static HKEY Open() {
    HKEY opened = nullptr;
    ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, watchedKey.c_str(), 0, KEY_READ | KEY_WRITE, &opened);
    return opened;
  }
  void Run() {
    // An event of its own: asking for the next notification resets the other one.
    const HANDLE events[] = {stop, event};
    while (::WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
      HKEY from = reading == Reading::openedOnce ? Open() : key;
      for (int i = 0; i < settings; ++i) {
        if (reading == Reading::openedEach) from = Open();
        DWORD value = 0;
        DWORD size = sizeof(value);
        DWORD type = 0;
        ::RegQueryValueExW(from, kValue, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
        if (reading == Reading::openedEach) ::RegCloseKey(from);
        OnChange(value, nullptr);
      }
      if (reading == Reading::openedOnce) ::RegCloseKey(from);
      Arm();
    }
  }

  int settings;
  HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  HANDLE armed = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  HANDLE stop = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  HKEY key = nullptr;
  std::thread thread;
};

template <typename Follower>
void WriteToCallback(benchmark::State& state, int settings) {
  static DWORD number = 0;
  LARGE_INTEGER frequency;
  ::QueryPerformanceFrequency(&frequency);
  const Follower follower(settings);
  for (auto _ : state) {
    follower.AwaitReady();
    ::Sleep(1 + static_cast<DWORD>(settings) / 100);
    arrival->Expect(settings);
    ++number;
    const LONGLONG start = Now();
    ::RegSetValueExW(writer, kValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                     sizeof(number));
    if (!arrival->Wait()) {
      state.SkipWithError("a change was lost");
      break;
    }
    const LONGLONG ticks = arrival->At() - start;
    state.SetIterationTime(static_cast<double>(ticks) / static_cast<double>(frequency.QuadPart));
  }
}

// The pauses take longer than what is timed, so the number of rounds cannot follow the time.
int RoundsFor(int settings) {
  if (settings == 1) return 500;
  return settings <= 100 ? 30 : 5;
}

template <typename Follower>
void Register(const std::string& name, int settings) {
  benchmark::RegisterBenchmark(name.c_str(), &WriteToCallback<Follower>, settings)
      ->UseManualTime()
      ->Iterations(RoundsFor(settings));
}

void RegisterAll() {
  Register<Ours>("Monitor/OneSetting/ours", 1);
  Register<Raw<Reading::keptOpen>>("Monitor/OneSetting/limit_notification", 1);
  Register<Raw<Reading::openedEach>>("Monitor/OneSetting/plain", 1);
  for (const int settings : {100, 1000, 10000}) {
    const std::string name = "Monitor/Settings" + std::to_string(settings);
    Register<Ours>(name + "/ours", settings);
    Register<Raw<Reading::openedOnce>>(name + "/limit_onequery", settings);
    if (settings == 100) Register<Raw<Reading::openedEach>>(name + "/plain", settings);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  HKEY root = nullptr;
  ::RegCreateKeyExW(HKEY_CURRENT_USER, kRoot, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                    nullptr, &root, nullptr);
  ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, root);
  MonitoredValue value = {};
  SettingsMonitor::GetMonitoredValue(0, value);
  watchedKey = value.key;
  ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, value.key, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                    nullptr, &writer, nullptr);
  const auto made = std::make_unique<Arrival>();
  arrival = made.get();
  RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  ::RegCloseKey(writer);
  ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
  ::RegCloseKey(root);
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kRoot);
  return 0;
}
