#ifndef VTCLUSTER_ANSWERS_H
#define VTCLUSTER_ANSWERS_H

#include <string>

#include "companions/vtcluster/resources.h"
#include "vtcluster/vtcluster.h"

/* The questions of the library, answered from what was read of a cluster. Pointers lead into the
 * resources that were given. Null is "none", and `noAnswer` "not known", also where resources that
 * could not be read might have made another answer of it: an answer is never half of the truth. */
namespace vtcluster {

/* The network name that `name` denotes: its short name, or its DNS name with or without domain. */
const Resource* FindNetworkName(const Resources& resources, const std::wstring& name);

/* What the name or the address of a server calls for, so that FindVirtualServer finds it. */
Wanted ForServer(const std::wstring& nameOrAddress);

/* The same by an address, too; of a group with several names the one that depends on it. */
const Resource* FindVirtualServer(const Resources& resources, const std::wstring& nameOrAddress);

/* The network name under which clients reach an application or a service. */
const Resource* NetworkNameFor(const Resources& resources, const Resource& application);

/* How a network name is spelled in answers: its DNS name, which is not cut to 15 characters. */
std::wstring VirtualName(const Resource& networkName);

/*
 * The service that makes the cluster run the product: a Generic Service whose service's name begins
 * with the product's. Where several groups hold one: that of the group of the network name
 * `server`, else one that runs on the node `server`, else the first.
 */
const Resource* FindProductService(const Resources& resources, const std::wstring& server);

/* See Cluster::IsServerRunningSQL and Cluster::IsServerRunningExchange. */
Cluster::appState StateOfSql(const Resources& resources, const std::wstring& server, bool& own);
Cluster::appState StateOfExchange(const Resources& resources, const std::wstring& server,
                                  bool& own);

/* See XCSCluster::IsServerRunningSQL2KInstance. */
Cluster::appState StateOfSqlInstance(const Resources& resources, const std::wstring& server,
                                     const std::wstring& instance);

}  // namespace vtcluster

#endif
