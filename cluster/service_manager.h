#ifndef VTCLASS_CLUSTER_SERVICE_MANAGER_H
#define VTCLASS_CLUSTER_SERVICE_MANAGER_H

#include <vtclass/win32.h>

#include "platform/owned.h"

namespace vtclass::cluster {

/*
 * The services of one computer, looked at with the least rights. Where the service manager cannot
 * be reached, or does not let this user in, no service exists. Keeps the connection.
 */
class ServiceManager {
 public:
  /* `computer` as the system takes it, with two leading backslashes; null is this machine. */
  explicit ServiceManager(const wchar_t* computer) noexcept;

  bool Exists(const wchar_t* service) const noexcept;
  bool IsRunning(const wchar_t* service) const noexcept;

 private:
  platform::OwnedService Find(const wchar_t* service) const noexcept;

  platform::OwnedService manager;
};

}  // namespace vtclass::cluster

#endif
