#include "companions/vtcluster/resources.h"

#include <utility>

#include "companions/vtcluster/name_match.h"

namespace vtcluster {
namespace {

struct Type {
  const wchar_t* name;
  Resource::Kind kind;
  const wchar_t* property; /* the private property that matters; null: none */
};

/* The names of resource types are the same in every language of the system. */
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
    if (SameText(name, type.name)) return &type;
  }
  return nullptr;
}

/* A property that a resource does not have stays empty. */
DWORD ReadProperty(HRESOURCE handle, const wchar_t* property, std::wstring& text) {
  const DWORD status = PrivateText(handle, property, text);
  return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

DWORD ReadNetworkName(HRESOURCE handle, Resource& resource) {
  DWORD status = ReadProperty(handle, L"Name", resource.netName);
  if (status == ERROR_SUCCESS) status = ReadProperty(handle, L"DnsName", resource.dnsName);
  return status == ERROR_SUCCESS ? DependencyNames(handle, resource.dependsOn) : status;
}

DWORD ReadDetails(HRESOURCE handle, const Type& type, Resource& resource) {
  DWORD status = StateOf(handle, resource.state, resource.node, resource.group);
  if (status != ERROR_SUCCESS) return status;
  if (type.kind == Resource::networkName) return ReadNetworkName(handle, resource);
  if (type.kind != Resource::address) status = NetworkNameOf(handle, resource.netName);
  // An application without a network name of its own is found by its group.
  if (status != ERROR_SUCCESS && status != ERROR_DEPENDENCY_NOT_FOUND) return status;
  return type.property ? ReadProperty(handle, type.property, resource.property) : ERROR_SUCCESS;
}

DWORD AddResource(HCLUSTER cluster, const std::wstring& name, Resources& resources) {
  OwnedResource handle;
  DWORD status = OpenResource(cluster, name, handle);
  if (status != ERROR_SUCCESS) return status;
  std::wstring typeName;
  status = TypeOf(handle.Get(), typeName);
  const Type* type = FindType(typeName);
  if (status != ERROR_SUCCESS || !type) return status;
  Resource resource;
  resource.kind = type->kind;
  resource.name = name;
  status = ReadDetails(handle.Get(), *type, resource);
  if (status == ERROR_SUCCESS) resources.push_back(std::move(resource));
  return status;
}

/* The resource has been deleted since its name was read. */
bool IsGone(DWORD status) {
  return status == ERROR_RESOURCE_NOT_FOUND || status == ERROR_RESOURCE_NOT_AVAILABLE;
}

}  // namespace

bool ReadResources(HCLUSTER cluster, Resources& resources) {
  std::vector<std::wstring> names;
  if (ResourceNames(cluster, names) != ERROR_SUCCESS) return false;
  for (const std::wstring& name : names) {
    const DWORD status = AddResource(cluster, name, resources);
    if (status != ERROR_SUCCESS && !IsGone(status)) return false;
  }
  return true;
}

}  // namespace vtcluster
