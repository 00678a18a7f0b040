#ifndef VTCLUSTER_RESOURCES_H
#define VTCLUSTER_RESOURCES_H

#include <string>
#include <vector>

#include "companions/vtcluster/cluster_api.h"

namespace vtcluster {

/* What the questions of the library need to know of one resource of a cluster. */
struct Resource {
  enum Kind { networkName, address, service, sqlServer, availabilityGroup, exchangeStore };

  Kind kind = networkName;
  std::wstring name; /* of the resource itself, in the cluster's administration */
  CLUSTER_RESOURCE_STATE state = ClusterResourceStateUnknown;
  std::wstring node;  /* the one that owns the group */
  std::wstring group; /* what moves between the nodes as a whole */

  /* A network name: as clients use it, short and in DNS. An application: the network name that it
   * depends on. */
  std::wstring netName;
  std::wstring dnsName;
  std::wstring property; /* the address, the service's name, or the SQL Server instance */
  std::vector<std::wstring> dependsOn; /* of a network name: resource names */

  bool IsOnline() const noexcept { return state == ClusterResourceOnline; }
};

using Resources = std::vector<Resource>;

/*
 * The resources of the kinds above, as they are now; others are left out. Resources that go in the
 * meantime are left out too. False when the cluster could not be read: it then holds a part only.
 */
bool ReadResources(HCLUSTER cluster, Resources& resources);

}  // namespace vtcluster

#endif
