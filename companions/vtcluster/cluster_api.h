#ifndef VTCLUSTER_CLUSTER_API_H
#define VTCLUSTER_CLUSTER_API_H

#include <algorithm>
#include <initializer_list>
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
  size_t room = 1024;
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

/* What follows answers ERROR_SUCCESS, or why it failed. */

/*
 * The running cluster of this machine (null), or the one that a node or a name of it leads to, for
 * reading where the system can open it so: an account that may not change the cluster can ask it,
 * too. `cluster` stays empty, with success, when there is none. The state is asked first: it tells
 * a node without a cluster apart where opening would have to time out, and some systems open a
 * cluster that is none.
 */
DWORD OpenRunningCluster(const wchar_t* name, OwnedCluster& cluster) noexcept;

DWORD NameOfCluster(HCLUSTER cluster, std::wstring& name);

DWORD OpenResource(HCLUSTER cluster, const std::wstring& name, OwnedResource& resource) noexcept;

/* The names of all resources; of those that a resource depends on. */
DWORD ResourceNames(HCLUSTER cluster, std::vector<std::wstring>& names);
DWORD DependencyNames(HRESOURCE resource, std::vector<std::wstring>& names);

/* The type's name, such as "Network Name". */
DWORD TypeOf(HRESOURCE resource, std::wstring& type);

/* The state, the node that owns the resource's group, and the group. */
DWORD StateOf(HRESOURCE resource, CLUSTER_RESOURCE_STATE& state, std::wstring& node,
              std::wstring& group);

/* A text among the resource's private properties, and what it holds; a property that the resource
 * does not have leaves its text empty. */
struct PrivateText {
  const wchar_t* property;
  std::wstring* text;
};

/* Fills the texts from the writable and the read-only properties, each of which is asked for once
 * at most. */
DWORD ReadPrivateTexts(HRESOURCE resource, std::initializer_list<PrivateText> texts);

/* The name of the Network Name resource that a resource depends on. ERROR_DEPENDENCY_NOT_FOUND when
 * it depends on none. */
DWORD NetworkNameOf(HRESOURCE resource, std::wstring& name);

}  // namespace vtcluster

#endif
