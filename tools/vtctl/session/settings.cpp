#include "tools/vtctl/session/settings.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "vtclass/config.h"
#include "vtclass/product.h"

namespace vtctl {
namespace {

constexpr unsigned long kSiblingProduct = 1;

struct NumberSetting {
  const wchar_t* name;
  unsigned long SessionSettings::* member;
  unsigned long least;
  unsigned long most;
};

const NumberSetting kNumbers[] = {
    {L"Read File Data", &SessionSettings::readFileData, 0, 1},
    {L"Buffer Size KB", &SessionSettings::bufferSizeKB, 4, 65536},
    {L"Report Large Files MB", &SessionSettings::reportLargeFilesMB, 1, 1048576},
    {L"Largest Files Listed", &SessionSettings::largestFiles, 0, 100},
    {L"Report Links", &SessionSettings::reportLinks, 0, 1},
    {L"Workers", &SessionSettings::workers, 1, kMostWorkers},
};

/* Agents run with the right to write; an operator may have less, and reads then. */
bool Open(Configuration& key, const KeyPath& path) {
  return key.Open(Configuration::openOrCreate, path.subkey.c_str(), nullptr,
                  Configuration::accessRead | Configuration::accessWrite) ||
         key.Open(Configuration::openExisting, path.subkey.c_str(), nullptr,
                  Configuration::accessRead);
}

void LoadNumber(Configuration& key, const NumberSetting& setting, SessionSettings& settings) {
  const unsigned long standard = settings.*setting.member;
  unsigned long number = 0;
  SettingReport report = {SettingReport::read, setting.name, L"", L""};
  if (!key.LoadDWORD(setting.name, number)) {
    report.origin = key.Load(setting.name, number, standard) ? SettingReport::defaultWritten
                                                             : SettingReport::defaultUsed;
  } else if (number < setting.least || number > setting.most) {
    report.origin = SettingReport::outOfRange;
    report.used = std::to_wstring(standard);
  }
  report.value = std::to_wstring(number);
  settings.*setting.member = report.origin == SettingReport::outOfRange ? standard : number;
  settings.reports.push_back(report);
}

void LoadJobName(Configuration& key, SessionSettings& settings) {
  wcstring name;
  SettingReport report = {SettingReport::read, L"Job Name", L"", L""};
  if (!key.Load(L"Job Name", name)) {
    report.origin = key.Load(L"Job Name", name, settings.jobName.c_str())
                        ? SettingReport::defaultWritten
                        : SettingReport::defaultUsed;
  }
  settings.jobName = name;
  report.value = name;
  settings.reports.push_back(report);
}

}  // namespace

unsigned long UsualWorkers() {
  constexpr unsigned long kMostUsual = 8;
  SYSTEM_INFO system = {};
  ::GetSystemInfo(&system);
  return std::clamp<unsigned long>(system.dwNumberOfProcessors, 1, kMostUsual);
}

KeyPath SessionKey() {
  const wchar_t* root = CMS_GetProd() == kSiblingProduct
                            ? L"Software\\Quorrel\\Strandel\\VTDS"
                            : L"Software\\Norvane\\Vantorel For Windows\\Vantorel";
  return {HKEY_LOCAL_MACHINE, std::wstring(root) + L"\\Session"};
}

SessionSettings LoadSettings(const KeyPath& path) {
  SessionSettings settings;
  Configuration key(path.root);
  if (!Open(key, path)) {
    settings.error = static_cast<unsigned long>(key.GetErrorCode());
    return settings;
  }
  LoadJobName(key, settings);
  for (const NumberSetting& setting : kNumbers) LoadNumber(key, setting, settings);
  return settings;
}

}  // namespace vtctl
