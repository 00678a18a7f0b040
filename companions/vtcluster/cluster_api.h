#ifndef VTCLUSTER_CLUSTER_API_H
#define VTCLUSTER_CLUSTER_API_H

#include <algorithm>
#include <string>
#include <vector>

#include "companions/vtcluster/cluster_headers.h"
#include "platform/checked_cast.h"
#include "platform/owned.h"

/* The failover-cluster API, bound at the first call: a server without the feature need not have it,
 * and a process that asks nothing about clusters does not load it. */
namespace vtcluster {

struct ClusterTraits {
  using Type = HCLUSTER;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type cluster) noexcept;
};

struct ResourceTraits {
  using Type = HRESOURCE;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type resource) noexcept;
};

using OwnedCluster = vtclass::platform::Owned<ClusterTraits>;
using OwnedResource = vtclass::platform::Owned<ResourceTraits>;

/*
 * Fills a buffer by a call that wants more room each time it answers ERROR_MORE_DATA.
 * `read(Unit* buffer, DWORD* size)` gets and returns sizes in units and answers the status. Another
 * program may let the data grow between two calls, so there are several, and an end to them.
 */
template <typename Unit, typename Read>
DWORD ReadGrowing(std::vector<Unit>& buffer, Read read) {
  DWORD status = ERROR_MORE_DATA;
  size_t room = 256;
  for (int attempt = 0; attempt < 6 && status == ERROR_MORE_DATA; ++attempt) {
    buffer.assign(room, Unit());
    const auto given = vtclass::platform::CheckedCast<DWORD>(room);
    if (!given) break;
    DWORD size = *given;
    status = read(buffer.data(), &size);
    if (status == ERROR_SUCCESS) buffer.resize(std::min<size_t>(room, size));
    // Most calls answer the length of the text without its terminator.
    room = std::max<size_t>(room * 2, size_t{size} + 1);
  }
  return status;
}

/* The same for a text that ends at its terminator; the size that is answered is not relied upon. */
template <typename Read>
DWORD ReadText(std::wstring& text, Read read) {
  std::vector<wchar_t> buffer;
  size_t length = 0;
  const DWORD status = ReadGrowing(buffer, [&](wchar_t* units, DWORD* size) {
    const DWORD room = *size;
    const DWORD answer = read(units, size);
    length = wcsnlen(units, room);
    if (answer == ERROR_SUCCESS) *size = room;
    return answer;
  });
  if (status == ERROR_SUCCESS) text.assign(buffer.data(), length);
  return status;
}

/* The state of the cluster service on a node (null: this machine) is "running". */
bool ClusterRunsOn(const wchar_t* node) noexcept;

/*
 * The running cluster of this machine (null), or the one that a node or a name of it leads to.
 * Empty when there is none. The state is asked first: it tells a node without a cluster apart
 * where opening would have to time out, and some systems open a cluster that is none.
 */
OwnedCluster OpenRunningCluster(const wchar_t* name) noexcept;

std::wstring NameOfCluster(HCLUSTER cluster);

/* What follows answers ERROR_SUCCESS, or why it failed. */

DWORD OpenResource(HCLUSTER cluster, const std::wstring& name, OwnedResource& resource) noexcept;

/* The names of all resources; of those that a resource depends on. */
DWORD ResourceNames(HCLUSTER cluster, std::vector<std::wstring>& names);
DWORD DependencyNames(HRESOURCE resource, std::vector<std::wstring>& names);

/* The type's name, such as "Network Name". */
DWORD TypeOf(HRESOURCE resource, std::wstring& type);

/* The state, the node that owns the resource's group, and the group. */
DWORD StateOf(HRESOURCE resource, CLUSTER_RESOURCE_STATE& state, std::wstring& node,
              std::wstring& group);

/* A text among the resource's private properties, writable or read-only. ERROR_FILE_NOT_FOUND when
 * it has no such property. */
DWORD PrivateText(HRESOURCE resource, const wchar_t* property, std::wstring& text);

/* The name of the Network Name resource that a resource depends on. ERROR_DEPENDENCY_NOT_FOUND when
 * it depends on none. */
DWORD NetworkNameOf(HRESOURCE resource, std::wstring& name);

}  // namespace vtcluster

#endif
