#include "tests/support/fake_cluster.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <cwchar>
#include <list>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tests/support/answered_look_ups.h"

namespace vtclass::test {
namespace {

// Behind every handle that the fake gives out.
struct Handle {
  const FakeResource* resource = nullptr;
  std::vector<std::wstring> names;  // of a walk
};

const FakeCluster* current = nullptr;
std::list<Handle> handles;
long callsUntilFailure = 0;
long calls = 0;
long readings = 0;

template <typename Result>
Result Give(Handle handle) {
  return reinterpret_cast<Result>(&handles.emplace_back(std::move(handle)));
}

const Handle& Find(const void* handle) {
  EXPECT_TRUE(std::ranges::any_of(handles, [&](const Handle& open) { return &open == handle; }));
  return *static_cast<const Handle*>(handle);
}

template <typename Result, typename Type>
Result WINAPI FakeClose(Type handle) {
  const void* const address = handle;
  EXPECT_EQ(std::erase_if(handles, [&](const Handle& open) { return &open == address; }), 1u);
  return std::is_same_v<Result, BOOL> ? TRUE : ERROR_SUCCESS;
}

const FakeResource* FindResource(const std::wstring& name) {
  const auto& all = current->table.resources;
  return &*std::ranges::find(all, name, &FakeResource::name);
}

bool Succeeds(DWORD status) {
  ::SetLastError(status);
  return status == ERROR_SUCCESS;
}

// `size` counts characters: the room before, the length without the terminator after the call.
DWORD CopyText(const std::wstring& text, wchar_t* buffer, DWORD* size) {
  const DWORD room = std::exchange(*size, static_cast<DWORD>(text.size()));
  if (room <= text.size() || current->table.neverFits) return ERROR_MORE_DATA;
  std::wmemcpy(buffer, text.c_str(), text.size() + 1);
  return ERROR_SUCCESS;
}

DWORD WINAPI FakeGetNodeClusterState(LPCWSTR node, DWORD* state) {
  const bool found =
      current && (!node || std::ranges::any_of(current->table.reachedBy, [&](auto& name) {
        return ::_wcsicmp(name.c_str(), node) == 0;
      }));
  *state = found ? ClusterStateRunning : ClusterStateNotInstalled;
  return ERROR_SUCCESS;
}

template <typename Result>
Result Refuse(DWORD error) {
  ::SetLastError(error);
  return nullptr;
}

HCLUSTER WINAPI FakeOpenCluster(LPCWSTR) {
  // As some systems do where there is no cluster.
  if (!current) return reinterpret_cast<HCLUSTER>(static_cast<INT_PTR>(0xdeadbeef));
  if (current->table.isReadOnly) return Refuse<HCLUSTER>(ERROR_ACCESS_DENIED);
  return Give<HCLUSTER>({});
}

HCLUSTER WINAPI FakeOpenClusterEx(LPCWSTR name, DWORD access, LPDWORD) {
  EXPECT_EQ(access, DWORD{GENERIC_READ});
  if (!current) return FakeOpenCluster(name);
  return current->table.isOld ? Refuse<HCLUSTER>(RPC_S_PROCNUM_OUT_OF_RANGE) : Give<HCLUSTER>({});
}

DWORD WINAPI FakeGetClusterInformation(HCLUSTER, LPWSTR name, DWORD* size, LPCLUSTERVERSIONINFO) {
  return CopyText(current->table.name, name, size);
}

HCLUSENUM WINAPI FakeClusterOpenEnum(HCLUSTER cluster, DWORD) {
  Find(cluster);
  ++readings;
  Handle walk;
  for (const FakeResource& resource : current->table.resources) walk.names.push_back(resource.name);
  return Give<HCLUSENUM>(std::move(walk));
}

template <typename Walk>
DWORD WINAPI FakeStep(Walk walk, DWORD index, DWORD*, LPWSTR name, DWORD* size) {
  const auto& names = Find(walk).names;
  return index < names.size() ? CopyText(names[index], name, size) : ERROR_NO_MORE_ITEMS;
}

HRESOURCE GiveResource(HCLUSTER cluster, LPCWSTR name) {
  Find(cluster);
  const FakeResource* resource = FindResource(name);
  if (resource->openError) return Refuse<HRESOURCE>(resource->openError);
  return Give<HRESOURCE>({resource, {}});
}

HRESOURCE WINAPI FakeOpenClusterResource(HCLUSTER cluster, LPCWSTR name) {
  if (current->table.isReadOnly) return Refuse<HRESOURCE>(ERROR_ACCESS_DENIED);
  return GiveResource(cluster, name);
}

HRESOURCE WINAPI FakeOpenClusterResourceEx(HCLUSTER cluster, LPCWSTR name, DWORD access, LPDWORD) {
  EXPECT_EQ(access, DWORD{GENERIC_READ});
  if (current->table.isOld) return Refuse<HRESOURCE>(RPC_S_PROCNUM_OUT_OF_RANGE);
  return GiveResource(cluster, name);
}

HRESENUM WINAPI FakeClusterResourceOpenEnum(HRESOURCE resource, DWORD) {
  const FakeResource& of = *Find(resource).resource;
  if (of.factsError) return Refuse<HRESENUM>(of.factsError);
  return Give<HRESENUM>({nullptr, of.dependsOn});
}

CLUSTER_RESOURCE_STATE WINAPI FakeGetClusterResourceState(HRESOURCE resource, LPWSTR node,
                                                          DWORD* nodeSize, LPWSTR group,
                                                          DWORD* groupSize) {
  const FakeResource& of = *Find(resource).resource;
  if (of.factsError && !Succeeds(of.factsError)) return ClusterResourceStateUnknown;
  const bool fits =
      (!node || Succeeds(CopyText(current->table.groups.at(of.group), node, nodeSize))) &&
      (!group || Succeeds(CopyText(of.group, group, groupSize)));
  return fits ? of.state : ClusterResourceStateUnknown;
}

BOOL WINAPI FakeGetClusterResourceNetworkName(HRESOURCE resource, LPWSTR name, DWORD* size) {
  const FakeResource& of = *Find(resource).resource;
  if (of.factsError) return Succeeds(of.factsError);
  const auto& dependencies = of.dependsOn;
  if (dependencies.empty()) return Succeeds(ERROR_DEPENDENCY_NOT_FOUND);
  const auto& properties = FindResource(dependencies[0])->readOnlyProperties;
  return Succeeds(CopyText(properties.at(L"Name"), name, size));
}

// A list of properties is their address, and long. The real one has another form, which only
// ResUtilFindSzProperty reads.
DWORD WINAPI FakeClusterResourceControl(HRESOURCE resource, HNODE, DWORD code, LPVOID, DWORD,
                                        LPVOID out, DWORD room, DWORD* size) {
  const FakeResource& of = *Find(resource).resource;
  const bool isType = code == CLUSCTL_RESOURCE_GET_RESOURCE_TYPE;
  if (const DWORD error = isType ? of.typeError : of.factsError) return error;
  const auto* const list =
      code == CLUSCTL_RESOURCE_GET_RO_PRIVATE_PROPERTIES ? &of.readOnlyProperties : &of.properties;
  if (!isType && list->empty()) return ERROR_INVALID_FUNCTION;  // some types know no such code
  *size = isType ? static_cast<DWORD>((of.type.size() + 1) * sizeof(wchar_t)) : 1500;
  if (room < *size || current->table.neverFits) return ERROR_MORE_DATA;
  if (isType) {
    std::memcpy(out, of.type.c_str(), *size);
  } else {
    *static_cast<const void**>(out) = list;
  }
  return ERROR_SUCCESS;
}

DWORD WINAPI FakeResUtilFindSzProperty(PVOID list, DWORD, LPCWSTR property, LPWSTR* value) {
  const void* const address = *static_cast<const void**>(list);
  const auto& properties = *static_cast<const decltype(FakeResource::properties)*>(address);
  const auto found = properties.find(property);
  if (found == properties.end()) return ERROR_FILE_NOT_FOUND;
  const size_t units = found->second.size() + 1;
  *value = static_cast<LPWSTR>(::LocalAlloc(LPTR, units * sizeof(wchar_t)));
  std::wmemcpy(*value, found->second.c_str(), units);
  return ERROR_SUCCESS;
}

BOOL WINAPI FakeClusterIsPathOnSharedVolume(LPCWSTR path) {
  return current && std::wstring_view(path).starts_with(current->table.sharedVolume);
}

BOOL WINAPI FakeClusterGetVolumePathName(LPCWSTR path, LPWSTR volume, DWORD room) {
  if (!FakeClusterIsPathOnSharedVolume(path)) return Succeeds(ERROR_INVALID_PARAMETER);
  return Succeeds(CopyText(current->table.sharedVolume, volume, &room));
}

// One function of the system with the fake behind it. Each call but those that close may fail.
template <typename Function, Function* fake>
struct Entry;

template <typename Result, typename... Arguments, Result(WINAPI* fake)(Arguments...)>
struct Entry<Result WINAPI(Arguments...), fake> {
  static Result WINAPI Call(Arguments... arguments) {
    ++calls;
    if (--callsUntilFailure != 0) return fake(arguments...);
    ::SetLastError(RPC_S_SERVER_UNAVAILABLE);
    if constexpr (std::is_same_v<Result, DWORD>) return RPC_S_SERVER_UNAVAILABLE;
    if constexpr (std::is_enum_v<Result>) return ClusterResourceStateUnknown;
    return {};
  }
};

#define FAKE(name, fake) {#name, std::bit_cast<FARPROC>(&Entry<decltype(::name), &(fake)>::Call)}
// The same for one that not every SDK declares.
#define FAKE_NEW(name, fake) {#name, std::bit_cast<FARPROC>(&Entry<decltype(fake), &(fake)>::Call)}
#define FAKE_CLOSE(name, fake) \
  {#name, std::bit_cast<FARPROC>(static_cast<decltype(&::name)>(&(fake)))}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  static const std::map<std::string_view, FARPROC> fakes = {
      FAKE(GetNodeClusterState, FakeGetNodeClusterState),
      FAKE(OpenCluster, FakeOpenCluster),
      FAKE_NEW(OpenClusterEx, FakeOpenClusterEx),
      FAKE_CLOSE(CloseCluster, FakeClose<BOOL>),
      FAKE(GetClusterInformation, FakeGetClusterInformation),
      FAKE(ClusterOpenEnum, FakeClusterOpenEnum),
      FAKE(ClusterEnum, FakeStep),
      FAKE_CLOSE(ClusterCloseEnum, FakeClose<DWORD>),
      FAKE(OpenClusterResource, FakeOpenClusterResource),
      FAKE_NEW(OpenClusterResourceEx, FakeOpenClusterResourceEx),
      FAKE_CLOSE(CloseClusterResource, FakeClose<BOOL>),
      FAKE(ClusterResourceOpenEnum, FakeClusterResourceOpenEnum),
      FAKE(ClusterResourceEnum, FakeStep),
      FAKE_CLOSE(ClusterResourceCloseEnum, FakeClose<DWORD>),
      FAKE(GetClusterResourceState, FakeGetClusterResourceState),
      FAKE(GetClusterResourceNetworkName, FakeGetClusterResourceNetworkName),
      FAKE(ClusterResourceControl, FakeClusterResourceControl),
      FAKE(ResUtilFindSzProperty, FakeResUtilFindSzProperty),
      FAKE(ClusterIsPathOnSharedVolume, FakeClusterIsPathOnSharedVolume),
      FAKE(ClusterGetVolumePathName, FakeClusterGetVolumePathName)};
  const auto fake = fakes.find(name);
  return fake == fakes.end() ? ::GetProcAddress(module, name) : fake->second;
}

FakeResource NetworkName(const wchar_t* name, const wchar_t* group,
                         const std::vector<std::wstring>& addresses) {
  return {name, L"Network Name", group, {{L"DnsName", name}}, {{L"Name", name}}, addresses};
}

FakeResource Address(const wchar_t* name, const wchar_t* group, const wchar_t* address) {
  const bool isV6 = std::wstring_view(address).find(L':') != std::wstring_view::npos;
  return {name, isV6 ? L"IPv6 Address" : L"IP Address", group, {{L"Address", address}}, {}, {}};
}

}  // namespace

FakeResource& FakeClusterTable::Resource(const std::wstring& resource) {
  return *std::ranges::find(resources, resource, &FakeResource::name);
}

FakeClusterTable TwoNodes() {
  FakeClusterTable table;
  table.groups = {{L"Cluster Group", L"NODEA"}, {L"Backup", L"NODEB"}, {L"SQL", L"NODEA"},
                  {L"SQL2", L"NODEB"},          {L"Group1", L"NODEB"}, {L"Exchange", L"NODEB"}};
  table.resources = {
      NetworkName(L"CLU1", L"Cluster Group", {L"Address1"}),
      Address(L"Address1", L"Cluster Group", L"10.1.1.10"),
      NetworkName(L"VTBACKUP", L"Backup", {L"Address2", L"Address2v6"}),
      Address(L"Address2", L"Backup", L"10.1.1.20"),
      Address(L"Address2v6", L"Backup", L"fd00::20"),
      {L"Engine", L"Generic Service", L"Backup", {{L"ServiceName", L"VantorelEngine"}}, {}, {}},
      NetworkName(L"FILES", L"SQL", {}),
      NetworkName(L"SQLV", L"SQL", {L"Address3"}),
      Address(L"Address3", L"SQL", L"10.1.1.30"),
      {L"SQL1", L"SQL Server", L"SQL", {{L"InstanceName", L"MSSQLSERVER"}}, {}, {L"SQLV"}},
      NetworkName(L"SQLTWO", L"SQL2", {}),
      {L"SQL2", L"SQL Server", L"SQL2", {{L"InstanceName", L"INST2"}}, {}, {L"SQLTWO"}},
      NetworkName(L"LISTEN", L"Group1", {}),
      {L"Group1", L"SQL Server Availability Group", L"Group1", {}, {}, {L"LISTEN"}},
      NetworkName(L"EXCHV", L"Exchange", {}),
      {L"Store", L"Microsoft Exchange Information Store", L"Exchange", {}, {}, {L"EXCHV"}}};
  return table;
}

FakeCluster::FakeCluster(FakeClusterTable table) : table(std::move(table)) {
  EXPECT_EQ(std::exchange(current, this), nullptr) << "one fake cluster at a time";
}

FakeCluster::~FakeCluster() {
  EXPECT_EQ(handles.size(), 0u) << "handles are still open";
  handles.clear();
  callsUntilFailure = 0;
  calls = 0;
  readings = 0;
  current = nullptr;
}

::testing::Environment* FakeCluster::AnswerLookUps() {
  // The library under test loads it at its first question only.
  EXPECT_NE(::LoadLibraryW(L"vtcluster.dll"), nullptr);
  return vtclass::test::AnswerLookUps(&LookUp, L"vtcluster.dll");
}

long FakeCluster::Calls() const { return calls; }

long FakeCluster::Readings() const { return readings; }

void FakeCluster::FailAt(long n) { callsUntilFailure = n; }

bool FakeCluster::Failed() const { return callsUntilFailure <= 0; }

}  // namespace vtclass::test
