#include <vtclass/config.h>
#include <vtclass/settings_monitor.h>

#include <atomic>
#include <cstdio>

// Follows a number of its own in the product's logging key, and hears of a change of it. Here the
// program changes it itself; otherwise whoever may write the key does, with any tool.

constexpr wchar_t kName[] = L"vtclass_mini example";

struct Follower {
  std::atomic<unsigned long> number = 0;
  HANDLE told = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

// On the monitor's thread, and while it runs nobody else is told: it is short and waits for nobody.
long OnNumber(unsigned long number, void* context) {
  auto* const follower = static_cast<Follower*>(context);
  follower->number = number;
  ::SetEvent(follower->told);
  return 0;
}

// Whether the change from 1 to 2 has arrived.
bool Follow(const wchar_t* key) {
  // The first use starts the monitor's thread, and makes the key where it is missing.
  SettingsMonitor* const monitor = SettingsMonitor::GetInstance();
  Setting writer(HKEY_LOCAL_MACHINE, key, kName, Setting::rangeKind, 1, 9);
  if (const long status = writer.WriteNumber(1)) {
    std::printf("The number cannot be written: 0x%08lX\n", static_cast<unsigned long>(status));
    return false;
  }
  Follower follower;
  auto* const setting = new Setting(HKEY_LOCAL_MACHINE, key, kName, Setting::rangeKind, 1, 9);
  setting->AttachNumber(&OnNumber, &follower);
  setting->Read();  // what it is compared with at the first change
  const void* const cookie = monitor->RegisterSetting(setting);
  if (!cookie) {
    delete setting;  // it is the monitor's only where that has taken it
    return false;
  }
  writer.WriteNumber(2);
  const bool isTold = ::WaitForSingleObject(follower.told, 10000) == WAIT_OBJECT_0;
  if (isTold) std::printf("changed to %lu\n", follower.number.load());
  monitor->UnRegisterSetting(cookie);  // from here on OnNumber is not called any more
  ::CloseHandle(follower.told);
  return isTold;
}

int main() {
  // The monitor watches the keys of the product's own settings; a setting of another key would
  // register, and hear of nothing.
  MonitoredValue level;
  SettingsMonitor::GetMonitoredValue(SettingsMonitor::engineDebugLevel, level);
  std::printf("HKEY_LOCAL_MACHINE\\%ls\n", level.key);
  const bool isTold = Follow(level.key);
  SettingsMonitor::DestroyInstance();

  Configuration key;
  if (key.Open(Configuration::openExisting, level.key, nullptr, Configuration::accessWrite)) {
    key.DeleteValue(kName);
  }
  return isTold ? 0 : 1;
}
