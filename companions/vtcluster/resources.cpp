#include "companions/vtcluster/resources.h"

#include <optional>

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

void ReadNames(HRESOURCE handle, Resource& resource) {
  switch (resource.kind) {
    case Resource::networkName:
      resource.netName = PrivateText(handle, L"Name");
      resource.dnsName = PrivateText(handle, L"DnsName");
      DependencyNames(handle, resource.dependsOn);
      break;
    case Resource::address:
      break;
    default:
      resource.netName = NetworkNameOf(handle);
  }
}

std::optional<Resource> ReadResource(HCLUSTER cluster, const std::wstring& name) {
  const OwnedResource handle = OpenResource(cluster, name);
  std::wstring typeName;
  if (!handle || TypeOf(handle.Get(), typeName) != ERROR_SUCCESS) return std::nullopt;
  const Type* type = FindType(typeName);
  if (!type) return std::nullopt;
  Resource resource;
  resource.kind = type->kind;
  resource.name = name;
  if (StateOf(handle.Get(), resource.state, resource.node, resource.group) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  if (type->property) resource.property = PrivateText(handle.Get(), type->property);
  ReadNames(handle.Get(), resource);
  return resource;
}

}  // namespace

bool ReadResources(HCLUSTER cluster, Resources& resources) {
  std::vector<std::wstring> names;
  const bool complete = ResourceNames(cluster, names);
  for (const std::wstring& name : names) {
    if (auto resource = ReadResource(cluster, name)) resources.push_back(std::move(*resource));
  }
  return complete;
}

}  // namespace vtcluster
