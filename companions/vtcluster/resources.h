#ifndef VTCLUSTER_RESOURCES_H
#define VTCLUSTER_RESOURCES_H

#include <string>
#include <vector>

#include "companions/vtcluster/cluster_api.h"

namespace vtcluster {

/* What the questions of the library need to know of one resource of a cluster. */
struct Resource {
  enum Kind : unsigned {
    networkName = 1,
    address = 2,
    service = 4,
    sqlServer = 8,
    availabilityGroup = 16,
    exchangeStore = 32
  };

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
  std::vector<std::wstring> dependsOn; /* of a network name, where addresses are read: resources */
};

/* What one question needs. A resource of another kind, or a fact that is not asked for, may be as
 * unreadable as it likes. */
struct Wanted {
  unsigned kinds = 0;    /* of Resource::Kind */
  bool placement = true; /* state, node and group, too */
};

/*
 * The wanted resources of a cluster, as they are now. One that cannot be read is left out, and so
 * is one whose kind is not to be had. What is found in such a part is so; that something is not
 * there, or is the first or the best, only the whole of its kind can tell.
 */
struct Resources {
  std::vector<Resource> all;
  unsigned unread = 0;          /* of which Resource::Kind something may be left out */
  DWORD status = ERROR_SUCCESS; /* why the first that is left out could not be read */

  bool AreWhole(unsigned kinds) const noexcept { return (unread & kinds) == 0; }
};

/* Resources that are deleted in the meantime do not count as unreadable. */
Resources ReadResources(HCLUSTER cluster, const Wanted& wanted);

}  // namespace vtcluster

#endif
