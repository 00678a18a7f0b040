#ifndef VTCLASS_CLUSTER_SERVICE_MANAGER_H
#define VTCLASS_CLUSTER_SERVICE_MANAGER_H

#include <vtclass/win32.h>

#include <string>

#include "platform/owned.h"
#include "platform/steps.h"

namespace vtclass::cluster {

/*
 * The services of one computer, looked at with the least rights. Where the service manager cannot
 * be reached, or does not let this user in, no service exists. Keeps the connection.
 */
class ServiceManager {
 public:
  /* `computer` as the system takes it, with two leading backslashes; null is this machine. The
   * services that are looked at are noted in `steps`, which outlive this object. */
  ServiceManager(const wchar_t* computer, const platform::Steps& steps);

  /* Both throw only when the steps find no memory. */
  bool Exists(const std::wstring& service) const;
  bool IsRunning(const std::wstring& service) const;

 private:
  struct Found {
    bool exists = false;
    DWORD state = 0; /* 0: not to be had */
  };
  platform::OwnedService Open(const std::wstring& service) const;
  Found Look(const std::wstring& service) const;

  const platform::Steps& steps;
  platform::OwnedService manager;
};

}  // namespace vtclass::cluster

#endif
