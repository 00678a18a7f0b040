#include "companions/vtcluster/resources.h"

#include <utility>

#include "companions/vtcluster/name_match.h"

namespace vtcluster {
namespace {

struct Type {
  const wchar_t* name;
  Resource::Kind kind;
  const wchar_t* property;  // the private property that matters; null: none
};

constexpr unsigned kAnyKind = ~0U;

// The names of resource types are the same in every language of the system.
constexpr Type kTypes[] = {
    {L"Network Name", Resource::networkName, nullptr},
    {L"Distributed Network Name", Resource::networkName, nullptr},
    {L"IP Address", Resource::address, L"Address"},
    {L"IPv6 Address", Resource::address, L"Address"},
    {L"IPv6 Tunnel Address", Resource::address, L"Address"},
    {L"Generic Service", Resource::service, L"ServiceName"},
    {L"SQL Server", Resource::sqlServer, L"InstanceName"},
    {L"SQL Server Availability Group", Resource::availabilityGroup, nullptr},
    {L"Microsoft Exchange Information Store", Resource::exchangeStore, nullptr},
};

const Type* FindType(const std::wstring& name) {
  for (const Type& type : kTypes) {
    if (IsSameName(name, type.name)) return &type;
  }
  return nullptr;
}

// One without any name would be found by none, and count as no virtual server.
DWORD ReadNames(HRESOURCE handle, Resource& resource) {
  const DWORD status =
      ReadPrivateTexts(handle, {{L"Name", &resource.netName}, {L"DnsName", &resource.dnsName}});
  const bool isNamed = !resource.netName.empty() || !resource.dnsName.empty();
  return status == ERROR_SUCCESS && !isNamed ? ERROR_INVALID_DATA : status;
}

// An application without a network name of its own is found by its group.
DWORD ReadApplicationsName(HRESOURCE handle, Resource& resource) {
  const DWORD status = NetworkNameOf(handle, resource.netName);
  return status == ERROR_DEPENDENCY_NOT_FOUND ? ERROR_SUCCESS : status;
}

DWORD ReadDetails(HRESOURCE handle, const Type& type, const Wanted& wanted, Resource& resource) {
  DWORD status = ERROR_SUCCESS;
  if (type.kind == Resource::networkName) {
    status = ReadNames(handle, resource);
    if (status == ERROR_SUCCESS && (wanted.kinds & Resource::address)) {
      status = DependencyNames(handle, resource.dependsOn);
    }
  } else if (type.kind != Resource::address) {
    status = ReadApplicationsName(handle, resource);
  }
  if (status == ERROR_SUCCESS && type.property) {
    status = ReadPrivateTexts(handle, {{type.property, &resource.property}});
  }
  if (status != ERROR_SUCCESS || !wanted.placement) return status;
  return StateOf(handle, resource.state, resource.node, resource.group);
}

// `kinds` becomes what the resource may be, as far as it is known.
DWORD AddResource(HCLUSTER cluster, const std::wstring& name, const Wanted& wanted,
                  std::vector<Resource>& all, unsigned& kinds) {
  kinds = kAnyKind;
  OwnedResource handle;
  DWORD status = OpenResource(cluster, name, handle);
  if (status != ERROR_SUCCESS) return status;
  std::wstring typeName;
  status = TypeOf(handle.Get(), typeName);
  const Type* type = FindType(typeName);
  if (status != ERROR_SUCCESS || !type || !(type->kind & wanted.kinds)) return status;
  kinds = type->kind;
  Resource resource;
  resource.kind = type->kind;
  resource.name = name;
  status = ReadDetails(handle.Get(), *type, wanted, resource);
  if (status == ERROR_SUCCESS) all.push_back(std::move(resource));
  return status;
}

// The resource has been deleted since its name was read. A cluster that answers of an open resource
// that it is not available has perhaps only lost sight of it.
bool IsGone(HCLUSTER cluster, const std::wstring& name, DWORD status) {
  if (status == ERROR_RESOURCE_NOT_AVAILABLE) {
    OwnedResource handle;
    status = OpenResource(cluster, name, handle);
  }
  return status == ERROR_RESOURCE_NOT_FOUND;
}

}  // namespace

Resources ReadResources(HCLUSTER cluster, const Wanted& wanted) {
  Resources resources;
  std::vector<std::wstring> names;
  resources.status = ResourceNames(cluster, names);
  if (resources.status != ERROR_SUCCESS) {
    resources.unread = kAnyKind;
    return resources;
  }
  for (const std::wstring& name : names) {
    unsigned kinds = 0;
    const DWORD status = AddResource(cluster, name, wanted, resources.all, kinds);
    if (status == ERROR_SUCCESS || IsGone(cluster, name, status)) continue;
    resources.unread |= kinds;
    if (resources.status == ERROR_SUCCESS) resources.status = status;
  }
  return resources;
}

}  // namespace vtcluster
