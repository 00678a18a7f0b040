#include "cluster/service_manager.h"

namespace vtclass::cluster {

ServiceManager::ServiceManager(const wchar_t* computer) noexcept
    : manager(::OpenSCManagerW(computer, nullptr, SC_MANAGER_CONNECT)) {}

ServiceManager::Handle ServiceManager::Find(const wchar_t* service) const noexcept {
  return Handle(manager ? ::OpenServiceW(manager.Get(), service, SERVICE_QUERY_STATUS) : nullptr);
}

bool ServiceManager::Exists(const wchar_t* service) const noexcept {
  return static_cast<bool>(Find(service));
}

bool ServiceManager::IsRunning(const wchar_t* service) const noexcept {
  const Handle handle = Find(service);
  SERVICE_STATUS status = {};
  return handle && ::QueryServiceStatus(handle.Get(), &status) &&
         status.dwCurrentState == SERVICE_RUNNING;
}

}  // namespace vtclass::cluster
