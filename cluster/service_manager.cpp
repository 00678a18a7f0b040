#include "cluster/service_manager.h"

namespace vtclass::cluster {

ServiceManager::ServiceManager(const wchar_t* computer) noexcept
    : manager(::OpenSCManagerW(computer, nullptr, SC_MANAGER_CONNECT)) {}

platform::OwnedService ServiceManager::Find(const wchar_t* service) const noexcept {
  return platform::OwnedService(
      manager ? ::OpenServiceW(manager.Get(), service, SERVICE_QUERY_STATUS) : nullptr);
}

bool ServiceManager::Exists(const wchar_t* service) const noexcept {
  return static_cast<bool>(Find(service));
}

bool ServiceManager::IsRunning(const wchar_t* service) const noexcept {
  const platform::OwnedService handle = Find(service);
  SERVICE_STATUS status = {};
  return handle && ::QueryServiceStatus(handle.Get(), &status) &&
         status.dwCurrentState == SERVICE_RUNNING;
}

}  // namespace vtclass::cluster
