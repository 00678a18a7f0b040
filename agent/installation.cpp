#include "agent/installation.h"

#include "config/registry_values.h"
#include "platform/owned.h"
#include "vtclass/config.h"

namespace vtclass::agent {

namespace {

constexpr wchar_t kService[] = L"VantorelAgentSprintel";

// The registry of one machine, connected once: a hundred keys are looked for.
class MachineKeys {
 public:
  explicit MachineKeys(const std::wstring& machine)
      : connected(machine.empty() ? ERROR_SUCCESS
                                  : ::RegConnectRegistryW(machine.c_str(), HKEY_LOCAL_MACHINE,
                                                          remote.Receive())),
        key(remote ? remote.Get() : HKEY_LOCAL_MACHINE) {}

  bool Open(const wchar_t* path) {
    return connected == ERROR_SUCCESS &&
           key.Open(Configuration::openExisting, path, nullptr,
                    Configuration::accessRead | Configuration::access64BitView);
  }

  // Of the key that was opened last.
  bool Load(const config::RegistryValue& value, unsigned long& number) {
    return key.LoadDWORD(value.name, number);
  }

  // Why the last operation failed.
  unsigned long Failure() const {
    return static_cast<unsigned long>(connected == ERROR_SUCCESS ? key.GetErrorCode() : connected);
  }

 private:
  platform::OwnedRegistryKey remote;
  LSTATUS connected;
  Configuration key;
};

}  // namespace

Outcome WhyNoAgentsKey(const std::wstring& machine) {
  MachineKeys keys(machine);
  unsigned long failure = ERROR_FILE_NOT_FOUND;
  for (const wchar_t* path : config::kOlderAgentKeys) {
    if (keys.Open(path)) return {AgentAdvConfig::otherVersion, ERROR_FILE_NOT_FOUND};
    if (failure == ERROR_FILE_NOT_FOUND) failure = keys.Failure();
  }
  return RegistryFailed(failure);
}

Outcome CheckVersion(const std::wstring& machine) {
  MachineKeys keys(machine);
  std::wstring path = config::kInstallKey.Path();
  const std::size_t at = path.rfind(config::kInstalledVersion);
  // From the newest on: where several are installed, or left their keys behind, that one runs.
  for (int version = 199; version >= 100; --version) {
    const std::wstring digits = std::to_wstring(version);
    path.replace(at, digits.size() + 1, digits.substr(0, 2) + L'.' + digits[2]);
    if (keys.Open(path.c_str())) {
      unsigned long major = 0;
      if (keys.Load(config::kMajorVersion, major)) return VersionFound(major);
      break;
    }
    if (keys.Failure() != ERROR_FILE_NOT_FOUND) break;
  }
  return RegistryFailed(keys.Failure());
}

Outcome CheckService(const std::wstring& machine) {
  const wchar_t* name = machine.empty() ? nullptr : machine.c_str();
  const platform::OwnedService manager(::OpenSCManagerW(name, nullptr, SC_MANAGER_CONNECT));
  if (!manager) return ServiceManagerFailed(::GetLastError());
  const platform::OwnedService service(
      ::OpenServiceW(manager.Get(), kService, SERVICE_QUERY_STATUS));
  if (!service) return ServiceFailed(::GetLastError());
  SERVICE_STATUS status = {};
  if (!::QueryServiceStatus(service.Get(), &status)) {
    return {AgentAdvConfig::notRunning, ::GetLastError()};
  }
  if (status.dwCurrentState != SERVICE_RUNNING) return {AgentAdvConfig::notRunning};
  return {};
}

}  // namespace vtclass::agent
