#include "tools/vtctl/session/settings.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "platform/same_name.h"
#include "tools/vtctl/shared/console.h"
#include "vtclass/config.h"

namespace vtctl {
namespace {

using namespace vtclass::config;

struct NumberSetting {
  const RegistryValue& value;
  unsigned long SessionSettings::* member;
};

const NumberSetting kNumbers[] = {
    {kSessionReadFileData, &SessionSettings::readFileData},
    {kSessionBufferSize, &SessionSettings::bufferSizeKB},
    {kSessionReportLargeFiles, &SessionSettings::reportLargeFilesMB},
    {kSessionLargestFiles, &SessionSettings::largestFiles},
    {kSessionReportLinks, &SessionSettings::reportLinks},
    {kSessionWorkers, &SessionSettings::workers},
};

// Agents run with the right to write; an operator may have less, and reads then. A root opens with
// all the rights that the process has, whatever was asked for.
bool Open(Configuration& key, const KeyPath& path, bool mayStore) {
  return (mayStore && key.Open(Configuration::openOrCreate, path.subkey.c_str(), nullptr,
                               Configuration::accessRead | Configuration::accessWrite)) ||
         key.Open(Configuration::openExisting, path.subkey.c_str(), nullptr,
                  Configuration::accessRead);
}

void LoadNumber(Configuration& key, const NumberSetting& setting, bool mayStore,
                SessionSettings& settings) {
  const RegistryValue& value = setting.value;
  const unsigned long standard = settings.*setting.member;
  unsigned long number = 0;
  SettingReport report = {SettingReport::read, value.name, L"", L""};
  if (!key.LoadDWORD(value.name, number)) {
    number = standard;
    report.origin = mayStore && key.Load(value.name, number, standard)
                        ? SettingReport::defaultWritten
                        : SettingReport::defaultUsed;
  } else if (number < value.minimum || number > value.maximum) {
    report.origin = SettingReport::outOfRange;
    report.used = std::to_wstring(standard);
  }
  report.value = std::to_wstring(number);
  settings.*setting.member = report.origin == SettingReport::outOfRange ? standard : number;
  settings.reports.push_back(report);
}

void LoadJobName(Configuration& key, bool mayStore, SessionSettings& settings) {
  wcstring name;
  SettingReport report = {SettingReport::read, kSessionJobName.name, L"", L""};
  if (!key.Load(kSessionJobName.name, name)) {
    name = settings.jobName.c_str();
    report.origin = mayStore && key.Load(kSessionJobName.name, name, settings.jobName.c_str())
                        ? SettingReport::defaultWritten
                        : SettingReport::defaultUsed;
  }
  settings.jobName = name;
  report.value = name;
  settings.reports.push_back(report);
}

// Neither of the two has a default that could be stored.
std::optional<SettingCredential> LoadCredential(Configuration& key, Secret& opened) {
  wcstring account;
  wcstring password;
  if (!key.Load(kSessionAccountPassword.name, password) || password.empty()) return std::nullopt;
  key.Load(kSessionAccount.name, account);
  SettingCredential credential = {account, OpenSeal(ToUtf8(password), opened)};
  ::SecureZeroMemory(password.data(), password.size() * sizeof(wchar_t));
  return credential;
}

}  // namespace

unsigned long UsualWorkers() {
  constexpr unsigned long kMostUsual = 8;
  SYSTEM_INFO system = {};
  ::GetSystemInfo(&system);
  return std::clamp<unsigned long>(system.dwNumberOfProcessors, 1, kMostUsual);
}

KeyPath SessionKey() { return {HKEY_LOCAL_MACHINE, kSessionKey.Path()}; }

SessionSettings LoadSettings(const KeyPath& path, bool mayStore) {
  SessionSettings settings;
  Configuration key(path.root);
  if (!Open(key, path, mayStore)) {
    settings.error = static_cast<unsigned long>(key.GetErrorCode());
    // Where nothing may be stored, a key that is not there means the defaults.
    if (!mayStore && settings.error == ERROR_FILE_NOT_FOUND) settings.error = ERROR_SUCCESS;
    return settings;
  }
  LoadJobName(key, mayStore, settings);
  for (const NumberSetting& setting : kNumbers) LoadNumber(key, setting, mayStore, settings);
  Secret opened;
  settings.credential = LoadCredential(key, opened);
  return settings;
}

bool LoadStoredPassword(const KeyPath& path, const std::wstring& account, Secret& password) {
  Configuration key(path.root);
  if (!key.Open(Configuration::openExisting, path.subkey.c_str(), nullptr,
                Configuration::accessRead)) {
    return false;
  }
  const std::optional<SettingCredential> stored = LoadCredential(key, password);
  return stored && stored->seal.opens && !account.empty() &&
         vtclass::platform::IsSameName(stored->account, account);
}

}  // namespace vtctl
