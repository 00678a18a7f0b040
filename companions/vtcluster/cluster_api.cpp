#include "companions/vtcluster/cluster_api.h"

#include <cstddef>

#include "platform/bound_function.h"

namespace vtcluster {
namespace {

using vtclass::platform::BoundFunction;
using vtclass::platform::CheckedCast;
using vtclass::platform::Owned;

constexpr wchar_t kClusApi[] = L"clusapi.dll";
constexpr wchar_t kResUtils[] = L"resutils.dll";
constexpr DWORD kMissing = ERROR_PROC_NOT_FOUND;

constinit BoundFunction<decltype(::GetNodeClusterState)> getNodeClusterState(kClusApi,
                                                                             "GetNodeClusterState",
                                                                             kMissing);
constinit BoundFunction<decltype(::OpenCluster)> openCluster(kClusApi, "OpenCluster", nullptr);
// Present from system version 6.1 on; not every SDK declares these two.
constinit BoundFunction<HCLUSTER WINAPI(LPCWSTR, DWORD, LPDWORD)> openClusterEx(kClusApi,
                                                                                "OpenClusterEx",
                                                                                nullptr);
constinit BoundFunction<HRESOURCE WINAPI(HCLUSTER, LPCWSTR, DWORD, LPDWORD)> openClusterResourceEx(
    kClusApi, "OpenClusterResourceEx", nullptr);
constinit BoundFunction<decltype(::CloseCluster)> closeCluster(kClusApi, "CloseCluster", FALSE);
constinit BoundFunction<decltype(::GetClusterInformation)> getClusterInformation(
    kClusApi, "GetClusterInformation", kMissing);
constinit BoundFunction<decltype(::ClusterOpenEnum)> clusterOpenEnum(kClusApi, "ClusterOpenEnum",
                                                                     nullptr);
constinit BoundFunction<decltype(::ClusterEnum)> clusterEnum(kClusApi, "ClusterEnum", kMissing);
constinit BoundFunction<decltype(::ClusterCloseEnum)> clusterCloseEnum(kClusApi, "ClusterCloseEnum",
                                                                       kMissing);
constinit BoundFunction<decltype(::OpenClusterResource)> openClusterResource(kClusApi,
                                                                             "OpenClusterResource",
                                                                             nullptr);
constinit BoundFunction<decltype(::CloseClusterResource)> closeClusterResource(
    kClusApi, "CloseClusterResource", FALSE);
constinit BoundFunction<decltype(::ClusterResourceOpenEnum)> clusterResourceOpenEnum(
    kClusApi, "ClusterResourceOpenEnum", nullptr);
constinit BoundFunction<decltype(::ClusterResourceEnum)> clusterResourceEnum(kClusApi,
                                                                             "ClusterResourceEnum",
                                                                             kMissing);
constinit BoundFunction<decltype(::ClusterResourceCloseEnum)> clusterResourceCloseEnum(
    kClusApi, "ClusterResourceCloseEnum", kMissing);
constinit BoundFunction<decltype(::GetClusterResourceState)> getClusterResourceState(
    kClusApi, "GetClusterResourceState", ClusterResourceStateUnknown);
constinit BoundFunction<decltype(::GetClusterResourceNetworkName)> getClusterResourceNetworkName(
    kClusApi, "GetClusterResourceNetworkName", FALSE);
constinit BoundFunction<decltype(::ClusterResourceControl)> clusterResourceControl(
    kClusApi, "ClusterResourceControl", kMissing);
constinit BoundFunction<decltype(::ResUtilFindSzProperty)> resUtilFindSzProperty(
    kResUtils, "ResUtilFindSzProperty", kMissing);

struct ClusterEnumTraits {
  using Type = HCLUSENUM;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type walk) noexcept { return clusterCloseEnum(walk) == ERROR_SUCCESS; }
};

struct ResourceEnumTraits {
  using Type = HRESENUM;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type walk) noexcept { return clusterResourceCloseEnum(walk) == ERROR_SUCCESS; }
};

// The last error of a call that has failed; never success.
DWORD FailureCode() noexcept {
  const DWORD error = ::GetLastError();
  return error == ERROR_SUCCESS ? ERROR_GEN_FAILURE : error;
}

// What `openFor` opens for reading, or `open` with whatever access it takes where this system or
// the cluster's is older than the other.
template <typename OpenFor, typename Open, typename... Arguments>
auto OpenForReading(OpenFor& openFor, Open& open, Arguments... arguments) noexcept {
  if (openFor.Get()) {
    DWORD granted = 0;
    const auto handle = openFor(arguments..., GENERIC_READ, &granted);
    if (handle || ::GetLastError() != RPC_S_PROCNUM_OUT_OF_RANGE) return handle;
  }
  return open(arguments...);
}

// Appends what `next(index, buffer, size)` names until it answers that there is no more.
template <typename Next>
DWORD CollectNames(std::vector<std::wstring>& names, Next next) {
  for (DWORD index = 0;; ++index) {
    std::wstring name;
    const DWORD status =
        ReadText(name, [&](wchar_t* buffer, DWORD* size) { return next(index, buffer, size); });
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    names.push_back(std::move(name));
  }
}

// What a control code without input answers, in bytes.
DWORD Ask(HRESOURCE resource, DWORD code, std::vector<std::byte>& answer) {
  return ReadGrowing(answer, [&](std::byte* buffer, DWORD* size) {
    const DWORD room = *size;
    return clusterResourceControl(resource, nullptr, code, nullptr, 0, buffer, room, size);
  });
}

DWORD FindText(std::vector<std::byte>& list, const PrivateText& wanted) {
  const auto size = CheckedCast<DWORD>(list.size());
  if (!size) return ERROR_INVALID_DATA;
  LPWSTR found = nullptr;
  const DWORD status = resUtilFindSzProperty(list.data(), *size, wanted.property, &found);
  const vtclass::platform::OwnedLocalMemory memory(found);
  if (status == ERROR_SUCCESS && found) *wanted.text = found;
  return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

bool AreFound(std::initializer_list<PrivateText> texts) {
  return std::ranges::none_of(texts, [](const PrivateText& each) { return each.text->empty(); });
}

// Fills those that are still empty from the list of properties that the control code answers.
DWORD AddTexts(HRESOURCE resource, DWORD code, std::initializer_list<PrivateText> texts) {
  std::vector<std::byte> list;
  DWORD status = Ask(resource, code, list);
  // The type of the resource need not know the control code.
  if (status == ERROR_INVALID_FUNCTION) return ERROR_SUCCESS;
  if (status == ERROR_SUCCESS && list.empty()) return ERROR_SUCCESS;
  for (const PrivateText& each : texts) {
    if (status == ERROR_SUCCESS && each.text->empty()) status = FindText(list, each);
  }
  return status;
}

DWORD NodeAndState(HRESOURCE resource, CLUSTER_RESOURCE_STATE& state, std::wstring& node) {
  return ReadText(node, [&](wchar_t* buffer, DWORD* size) {
    state = getClusterResourceState(resource, buffer, size, nullptr, nullptr);
    return state == ClusterResourceStateUnknown ? FailureCode() : ERROR_SUCCESS;
  });
}

}  // namespace

bool ClusterTraits::Close(Type cluster) noexcept { return closeCluster(cluster) != FALSE; }

bool ResourceTraits::Close(Type resource) noexcept {
  return closeClusterResource(resource) != FALSE;
}

bool ClusterRunsOn(const wchar_t* node) noexcept {
  DWORD state = ClusterStateNotInstalled;
  return getNodeClusterState(node, &state) == ERROR_SUCCESS && state == ClusterStateRunning;
}

DWORD OpenRunningCluster(const wchar_t* name, OwnedCluster& cluster) noexcept {
  DWORD state = ClusterStateNotInstalled;
  const DWORD status = getNodeClusterState(name, &state);
  if (status != ERROR_SUCCESS) return status == kMissing ? ERROR_SUCCESS : status;
  if (state != ClusterStateRunning) return ERROR_SUCCESS;
  cluster.Reset(OpenForReading(openClusterEx, openCluster, name));
  return cluster ? ERROR_SUCCESS : FailureCode();
}

DWORD NameOfCluster(HCLUSTER cluster, std::wstring& name) {
  return ReadText(name, [&](wchar_t* buffer, DWORD* size) {
    return getClusterInformation(cluster, buffer, size, nullptr);
  });
}

DWORD OpenResource(HCLUSTER cluster, const std::wstring& name, OwnedResource& resource) noexcept {
  resource.Reset(OpenForReading(openClusterResourceEx, openClusterResource, cluster, name.c_str()));
  return resource ? ERROR_SUCCESS : FailureCode();
}

DWORD ResourceNames(HCLUSTER cluster, std::vector<std::wstring>& names) {
  const Owned<ClusterEnumTraits> walk(clusterOpenEnum(cluster, CLUSTER_ENUM_RESOURCE));
  if (!walk) return FailureCode();
  return CollectNames(names, [&](DWORD index, wchar_t* buffer, DWORD* size) {
    DWORD type = 0;
    return clusterEnum(walk.Get(), index, &type, buffer, size);
  });
}

DWORD DependencyNames(HRESOURCE resource, std::vector<std::wstring>& names) {
  const Owned<ResourceEnumTraits> walk(
      clusterResourceOpenEnum(resource, CLUSTER_RESOURCE_ENUM_DEPENDS));
  if (!walk) return FailureCode();
  return CollectNames(names, [&](DWORD index, wchar_t* buffer, DWORD* size) {
    DWORD type = 0;
    return clusterResourceEnum(walk.Get(), index, &type, buffer, size);
  });
}

DWORD TypeOf(HRESOURCE resource, std::wstring& type) {
  std::vector<std::byte> answer;
  const DWORD status = Ask(resource, CLUSCTL_RESOURCE_GET_RESOURCE_TYPE, answer);
  if (status != ERROR_SUCCESS) return status;
  const auto* text = reinterpret_cast<const wchar_t*>(answer.data());
  type.assign(text, wcsnlen(text, answer.size() / sizeof(wchar_t)));
  return type.empty() ? ERROR_INVALID_DATA : ERROR_SUCCESS;
}

DWORD StateOf(HRESOURCE resource, CLUSTER_RESOURCE_STATE& state, std::wstring& node,
              std::wstring& group) {
  const DWORD status = NodeAndState(resource, state, node);
  if (status != ERROR_SUCCESS) return status;
  return ReadText(group, [&](wchar_t* buffer, DWORD* size) {
    const auto answer = getClusterResourceState(resource, nullptr, nullptr, buffer, size);
    return answer == ClusterResourceStateUnknown ? FailureCode() : ERROR_SUCCESS;
  });
}

DWORD ReadPrivateTexts(HRESOURCE resource, std::initializer_list<PrivateText> texts) {
  // Which of the two lists holds a property ("Name" of a Network Name) differs between systems.
  const DWORD status = AddTexts(resource, CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES, texts);
  if (status != ERROR_SUCCESS || AreFound(texts)) return status;
  return AddTexts(resource, CLUSCTL_RESOURCE_GET_RO_PRIVATE_PROPERTIES, texts);
}

DWORD NetworkNameOf(HRESOURCE resource, std::wstring& name) {
  return ReadText(name, [&](wchar_t* buffer, DWORD* size) {
    return getClusterResourceNetworkName(resource, buffer, size) ? ERROR_SUCCESS : FailureCode();
  });
}

}  // namespace vtcluster
