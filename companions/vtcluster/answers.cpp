#include "companions/vtcluster/answers.h"

#include <algorithm>

#include "companions/vtcluster/name_match.h"

namespace vtcluster {
namespace {

constexpr wchar_t kProductServices[] = L"Vantorel";

// How SQL Server itself names the instance that has no name.
constexpr wchar_t kDefaultInstance[] = L"MSSQLSERVER";

// What virtual servers are found by, and the applications under them.
constexpr unsigned kServers = Resource::networkName | Resource::address;
constexpr unsigned kApplications =
    Resource::sqlServer | Resource::availabilityGroup | Resource::exchangeStore;

template <typename Condition>
const Resource* FindFirst(const Resources& resources, Condition condition) {
  const auto found = std::ranges::find_if(resources.all, condition);
  return found == resources.all.end() ? nullptr : &*found;
}

// Which of a group's names is the first, or that nothing leads to another one, is only known when
// all names are.
const Resource* FirstNameOfGroup(const Resources& resources, const std::wstring& group) {
  if (!resources.AreWhole(Resource::networkName)) return nullptr;
  return FindFirst(resources, [&](const Resource& resource) {
    return resource.kind == Resource::networkName && IsSameName(resource.group, group);
  });
}

bool DependsOn(const Resource& resource, const std::wstring& name) {
  return std::ranges::any_of(resource.dependsOn,
                             [&](const std::wstring& other) { return IsSameName(other, name); });
}

const Resource* FindNameOfAddress(const Resources& resources, const std::wstring& address) {
  const Resource* holder = FindFirst(resources, [&](const Resource& resource) {
    return resource.kind == Resource::address && SameAddress(resource.property, address);
  });
  if (!holder) return nullptr;
  const Resource* dependent = FindFirst(resources, [&](const Resource& resource) {
    return resource.kind == Resource::networkName && DependsOn(resource, holder->name);
  });
  return dependent ? dependent : FirstNameOfGroup(resources, holder->group);
}

bool IsInstance(const Resource& sqlServer, const std::wstring& instance) {
  const auto name = [](const std::wstring& text) {
    return text.empty() ? std::wstring_view(kDefaultInstance) : std::wstring_view(text);
  };
  return IsSameName(name(sqlServer.property), name(instance));
}

bool IsSqlInstance(const Resource& resource, const std::wstring& instance) {
  return resource.kind == Resource::sqlServer && IsInstance(resource, instance);
}

Cluster::appState StateOfResource(const Resource& resource) {
  switch (resource.state) {
    case ClusterResourceOnline:
      return Cluster::running;
    case ClusterResourceOffline:
    case ClusterResourceFailed:
      return Cluster::notRunning;
    default:
      return Cluster::unknown;  // on its way up or down
  }
}

// The best state among the applications of a virtual server for which `condition` holds; `none`
// when it has no such application. What is running stays so, whatever else there is.
template <typename Condition>
Cluster::appState StateUnder(const Resources& resources, const Resource& networkName,
                             Cluster::appState none, Condition condition) {
  Cluster::appState best = none;
  bool isCertain = resources.AreWhole(kApplications);
  for (const Resource& resource : resources.all) {
    if (!condition(resource)) continue;
    const Resource* name = NetworkNameFor(resources, resource);
    if (!name && !resources.AreWhole(Resource::networkName)) isCertain = false;
    if (name != &networkName) continue;
    const Cluster::appState state = StateOfResource(resource);
    if (best == none || state < best) best = state;
  }
  return isCertain || best == Cluster::running ? best : Cluster::noAnswer;
}

// A service that was found on a node is the node's own unless the cluster runs it there.
template <typename Condition>
Cluster::appState StateOnNode(const Resources& resources, const std::wstring& node, bool& own,
                              Condition condition) {
  const bool isClusters = FindFirst(resources, [&](const Resource& resource) {
    return condition(resource) && IsSameName(resource.node, HostPart(node));
  });
  if (!isClusters && !resources.AreWhole(kServers | kApplications)) return Cluster::noAnswer;
  own = !isClusters;
  return Cluster::runningIfOwn;
}

}  // namespace

const Resource* FindNetworkName(const Resources& resources, const std::wstring& name) {
  return FindFirst(resources, [&](const Resource& resource) {
    return resource.kind == Resource::networkName &&
           (NamesHost(name, resource.netName) || NamesHost(name, resource.dnsName));
  });
}

Wanted ForServer(const std::wstring& nameOrAddress) {
  return {IsAddress(nameOrAddress) ? Resource::networkName | Resource::address
                                   : unsigned{Resource::networkName}};
}

const Resource* FindVirtualServer(const Resources& resources, const std::wstring& nameOrAddress) {
  const Resource* name = FindNetworkName(resources, nameOrAddress);
  return name ? name : FindNameOfAddress(resources, nameOrAddress);
}

const Resource* NetworkNameFor(const Resources& resources, const Resource& application) {
  const Resource* named = FindFirst(resources, [&](const Resource& resource) {
    return resource.kind == Resource::networkName && !application.netName.empty() &&
           IsSameName(resource.netName, application.netName);
  });
  return named ? named : FirstNameOfGroup(resources, application.group);
}

std::wstring VirtualName(const Resource& networkName) {
  return networkName.dnsName.empty() ? networkName.netName : networkName.dnsName;
}

const Resource* FindProductService(const Resources& resources, const std::wstring& server) {
  const Resource* virtualServer = FindVirtualServer(resources, server);
  const int ofAnyNode = server.empty() ? 1 : 2;
  const int bestRank = virtualServer ? 3 : ofAnyNode;
  const auto rank = [&](const Resource& resource) {
    if (virtualServer && IsSameName(resource.group, virtualServer->group)) return 3;
    return IsSameName(resource.node, HostPart(server)) ? 2 : 1;
  };
  const Resource* best = nullptr;
  for (const Resource& resource : resources.all) {
    if (resource.kind != Resource::service || !BeginsWith(resource.property, kProductServices)) {
      continue;
    }
    if (!best || rank(resource) > rank(*best)) best = &resource;
  }
  const bool isCertain =
      resources.AreWhole(Resource::service) && (virtualServer || resources.AreWhole(kServers));
  return isCertain || (best && rank(*best) == bestRank) ? best : nullptr;
}

Cluster::appState StateOfSql(const Resources& resources, const std::wstring& server, bool& own) {
  own = false;
  if (const Resource* name = FindVirtualServer(resources, server)) {
    return StateUnder(resources, *name, Cluster::notRunning, [](const Resource& resource) {
      return resource.kind == Resource::sqlServer || resource.kind == Resource::availabilityGroup;
    });
  }
  // An availability group stands on the nodes' own instances.
  return StateOnNode(resources, server, own,
                     [](const Resource& resource) { return IsSqlInstance(resource, {}); });
}

Cluster::appState StateOfExchange(const Resources& resources, const std::wstring& server,
                                  bool& own) {
  own = false;
  const auto isExchange = [](const Resource& resource) {
    return resource.kind == Resource::exchangeStore;
  };
  if (const Resource* name = FindVirtualServer(resources, server)) {
    return StateUnder(resources, *name, Cluster::notRunning, isExchange);
  }
  return StateOnNode(resources, server, own, isExchange);
}

Cluster::appState StateOfSqlInstance(const Resources& resources, const std::wstring& server,
                                     const std::wstring& instance) {
  const auto isInstance = [&](const Resource& resource) {
    return IsSqlInstance(resource, instance);
  };
  if (const Resource* name = FindVirtualServer(resources, server)) {
    return StateUnder(resources, *name, Cluster::noAnswer, isInstance);
  }
  const Resource* here = FindFirst(resources, [&](const Resource& resource) {
    return isInstance(resource) && IsSameName(resource.node, HostPart(server));
  });
  if (here) return StateOfResource(*here);
  if (!resources.AreWhole(kServers | kApplications)) return Cluster::noAnswer;
  return FindFirst(resources, isInstance) ? Cluster::notRunning : Cluster::noAnswer;
}

}  // namespace vtcluster
