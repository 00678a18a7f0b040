#include "cluster/service_manager.h"

namespace vtclass::cluster {

ServiceManager::ServiceManager(const wchar_t* computer, const platform::Steps& steps)
    : steps(steps), manager(::OpenSCManagerW(computer, nullptr, SC_MANAGER_CONNECT)) {
  if (!manager) steps.Add(0, 0, ::GetLastError());
}

platform::OwnedService ServiceManager::Open(const std::wstring& service) const {
  return platform::OwnedService(
      manager ? ::OpenServiceW(manager.Get(), service.c_str(), SERVICE_QUERY_STATUS) : nullptr);
}

ServiceManager::Found ServiceManager::Look(const std::wstring& service) const {
  if (!manager) return {};
  const platform::OwnedService handle = Open(service);
  SERVICE_STATUS status = {};
  const bool isKnown = handle && ::QueryServiceStatus(handle.Get(), &status);
  const DWORD code = isKnown ? DWORD{ERROR_SUCCESS} : ::GetLastError();
  const DWORD state = isKnown ? status.dwCurrentState : 0;
  steps.Add(0, state, code, service);
  return {static_cast<bool>(handle), state};
}

// The state costs a question more.
bool ServiceManager::Exists(const std::wstring& service) const {
  return steps.AreWanted() ? Look(service).exists : static_cast<bool>(Open(service));
}

bool ServiceManager::IsRunning(const std::wstring& service) const {
  return Look(service).state == SERVICE_RUNNING;
}

}  // namespace vtclass::cluster
