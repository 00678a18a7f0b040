#include "tests/support/fake_cluster.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <cwchar>
#include <memory>
#include <optional>
#include <string_view>

#include "tests/support/answered_look_ups.h"

namespace vtclass::test {
namespace {

/* Behind every handle that the fake gives out. */
struct Handle {
  enum Kind { cluster, resource, walk } kind;
  const FakeResource* of = nullptr;
  std::vector<std::wstring> names;
};

const FakeCluster* current = nullptr;
std::vector<std::unique_ptr<Handle>> handles;
long callsUntilFailure = 0;

bool Fails() {
  if (callsUntilFailure <= 0) return false;
  --callsUntilFailure;
  if (callsUntilFailure > 0) return false;
  callsUntilFailure = -1;
  ::SetLastError(RPC_S_SERVER_UNAVAILABLE);
  return true;
}

template <typename Result>
Result Give(Handle handle) {
  handles.push_back(std::make_unique<Handle>(std::move(handle)));
  return reinterpret_cast<Result>(handles.back().get());
}

template <typename Result>
Handle& Find(Result handle, Handle::Kind kind) {
  auto& found = *reinterpret_cast<Handle*>(handle);
  EXPECT_EQ(found.kind, kind) << "a handle of another kind";
  return found;
}

template <typename Result>
bool Close(Result handle, Handle::Kind kind) {
  const auto found = std::find_if(handles.begin(), handles.end(), [&](const auto& open) {
    return static_cast<void*>(open.get()) == static_cast<void*>(handle) && open->kind == kind;
  });
  EXPECT_NE(found, handles.end()) << "closed what is not open";
  if (found == handles.end()) return false;
  handles.erase(found);
  return true;
}

bool SameName(const std::wstring& a, const std::wstring& b) {
  return ::_wcsicmp(a.c_str(), b.c_str()) == 0;
}

const FakeResource* FindResource(const std::wstring& name) {
  for (const FakeResource& resource : current->table.resources) {
    if (SameName(resource.name, name)) return &resource;
  }
  return nullptr;
}

/* `size` counts characters: the room before, the length without the terminator after the call. */
DWORD CopyText(const std::wstring& text, wchar_t* buffer, DWORD* size) {
  const DWORD room = *size;
  *size = static_cast<DWORD>(text.size());
  if (room <= text.size() || current->table.neverFits) return ERROR_MORE_DATA;
  std::wmemcpy(buffer, text.c_str(), text.size() + 1);
  return ERROR_SUCCESS;
}

bool Succeeds(DWORD status) {
  ::SetLastError(status);
  return status == ERROR_SUCCESS;
}

DWORD WINAPI FakeGetNodeClusterState(LPCWSTR node, DWORD* state) {
  if (Fails()) return RPC_S_SERVER_UNAVAILABLE;
  *state = ClusterStateNotInstalled;
  if (!current) return ERROR_SUCCESS;
  const auto& names = current->table.reachedBy;
  const bool found =
      !node || std::ranges::any_of(names, [&](const std::wstring& n) { return SameName(n, node); });
  if (found) *state = ClusterStateRunning;
  return ERROR_SUCCESS;
}

HCLUSTER WINAPI FakeOpenCluster(LPCWSTR) {
  if (Fails()) return nullptr;
  // As some systems do where there is no cluster.
  if (!current) return reinterpret_cast<HCLUSTER>(static_cast<INT_PTR>(0xdeadbeef));
  return Give<HCLUSTER>({Handle::cluster, nullptr, {}});
}

BOOL WINAPI FakeCloseCluster(HCLUSTER cluster) { return Close(cluster, Handle::cluster); }

DWORD WINAPI FakeGetClusterInformation(HCLUSTER, LPWSTR name, DWORD* size, LPCLUSTERVERSIONINFO) {
  return Fails() ? RPC_S_SERVER_UNAVAILABLE : CopyText(current->table.name, name, size);
}

HCLUSENUM WINAPI FakeClusterOpenEnum(HCLUSTER cluster, DWORD) {
  Find(cluster, Handle::cluster);
  if (Fails()) return nullptr;
  Handle walk = {Handle::walk, nullptr, {}};
  for (const FakeResource& resource : current->table.resources) walk.names.push_back(resource.name);
  return Give<HCLUSENUM>(std::move(walk));
}

DWORD Step(const Handle& walk, DWORD index, wchar_t* name, DWORD* size) {
  if (Fails()) return RPC_S_SERVER_UNAVAILABLE;
  if (index >= walk.names.size()) return ERROR_NO_MORE_ITEMS;
  return CopyText(walk.names[index], name, size);
}

DWORD WINAPI FakeClusterEnum(HCLUSENUM walk, DWORD index, DWORD*, LPWSTR name, DWORD* size) {
  return Step(Find(walk, Handle::walk), index, name, size);
}

DWORD WINAPI FakeClusterCloseEnum(HCLUSENUM walk) {
  return Close(walk, Handle::walk) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

HRESOURCE WINAPI FakeOpenClusterResource(HCLUSTER cluster, LPCWSTR name) {
  Find(cluster, Handle::cluster);
  const FakeResource* found = FindResource(name);
  if (Fails() || !found) return nullptr;
  return Give<HRESOURCE>({Handle::resource, found, {}});
}

BOOL WINAPI FakeCloseClusterResource(HRESOURCE resource) {
  return Close(resource, Handle::resource);
}

HRESENUM WINAPI FakeClusterResourceOpenEnum(HRESOURCE resource, DWORD) {
  const Handle& handle = Find(resource, Handle::resource);
  if (Fails()) return nullptr;
  return Give<HRESENUM>({Handle::walk, handle.of, handle.of->dependsOn});
}

DWORD WINAPI FakeClusterResourceEnum(HRESENUM walk, DWORD index, DWORD*, LPWSTR name, DWORD* size) {
  return Step(Find(walk, Handle::walk), index, name, size);
}

DWORD WINAPI FakeClusterResourceCloseEnum(HRESENUM walk) {
  return Close(walk, Handle::walk) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

CLUSTER_RESOURCE_STATE WINAPI FakeGetClusterResourceState(HRESOURCE resource, LPWSTR node,
                                                          DWORD* nodeSize, LPWSTR group,
                                                          DWORD* groupSize) {
  const FakeResource& of = *Find(resource, Handle::resource).of;
  if (Fails()) return ClusterResourceStateUnknown;
  const std::wstring owner = current->table.groups.at(of.group);
  if (node && !Succeeds(CopyText(owner, node, nodeSize))) return ClusterResourceStateUnknown;
  if (group && !Succeeds(CopyText(of.group, group, groupSize))) return ClusterResourceStateUnknown;
  return of.state;
}

/* The name of the Network Name on which a resource depends. */
BOOL WINAPI FakeGetClusterResourceNetworkName(HRESOURCE resource, LPWSTR name, DWORD* size) {
  const FakeResource& of = *Find(resource, Handle::resource).of;
  if (Fails()) return FALSE;
  for (const std::wstring& dependency : of.dependsOn) {
    const FakeResource* other = FindResource(dependency);
    if (other && other->type == L"Network Name") {
      return Succeeds(CopyText(other->readOnlyProperties.at(L"Name"), name, size));
    }
  }
  return Succeeds(ERROR_DEPENDENCY_NOT_FOUND);
}

/* Texts one after the other: name, value, name, value, ..., and an empty one. The real list has
 * another form, which only ResUtilFindSzProperty reads. */
std::wstring PropertyList(const std::map<std::wstring, std::wstring>& properties) {
  std::wstring list;
  for (const auto& [name, value] : properties) {
    list.append(name).append(1, L'\0').append(value).append(1, L'\0');
  }
  return list + L'\0';
}

std::optional<std::wstring> AnswerOf(const FakeResource& resource, DWORD code) {
  switch (code) {
    case CLUSCTL_RESOURCE_GET_RESOURCE_TYPE:
      return resource.type + L'\0';
    case CLUSCTL_RESOURCE_GET_PRIVATE_PROPERTIES:
      return PropertyList(resource.properties);
    case CLUSCTL_RESOURCE_GET_RO_PRIVATE_PROPERTIES:
      return PropertyList(resource.readOnlyProperties);
    default:
      return std::nullopt;
  }
}

DWORD WINAPI FakeClusterResourceControl(HRESOURCE resource, HNODE, DWORD code, LPVOID, DWORD,
                                        LPVOID out, DWORD room, DWORD* size) {
  const FakeResource& of = *Find(resource, Handle::resource).of;
  if (Fails()) return RPC_S_SERVER_UNAVAILABLE;
  const auto answer = AnswerOf(of, code);
  if (!answer) return ERROR_INVALID_FUNCTION;
  *size = static_cast<DWORD>(answer->size() * sizeof(wchar_t));
  if (room < *size || current->table.neverFits) return ERROR_MORE_DATA;
  std::memcpy(out, answer->data(), *size);
  return ERROR_SUCCESS;
}

DWORD WINAPI FakeResUtilFindSzProperty(PVOID list, DWORD size, LPCWSTR property, LPWSTR* value) {
  if (Fails()) return ERROR_NOT_ENOUGH_MEMORY;
  const std::wstring_view texts(static_cast<const wchar_t*>(list), size / sizeof(wchar_t));
  for (size_t at = 0; at < texts.size() && texts[at] != L'\0';) {
    const std::wstring name(texts.data() + at);
    const std::wstring text(texts.data() + at + name.size() + 1);
    at += name.size() + text.size() + 2;
    if (!SameName(name, property)) continue;
    *value = static_cast<LPWSTR>(::LocalAlloc(LPTR, (text.size() + 1) * sizeof(wchar_t)));
    std::wmemcpy(*value, text.c_str(), text.size());
    return ERROR_SUCCESS;
  }
  return ERROR_FILE_NOT_FOUND;
}

BOOL WINAPI FakeClusterIsPathOnSharedVolume(LPCWSTR path) {
  return current && std::wstring_view(path).starts_with(current->table.sharedVolume);
}

BOOL WINAPI FakeClusterGetVolumePathName(LPCWSTR path, LPWSTR volume, DWORD room) {
  if (!FakeClusterIsPathOnSharedVolume(path)) return Succeeds(ERROR_INVALID_PARAMETER);
  return Succeeds(CopyText(current->table.sharedVolume, volume, &room));
}

template <typename Function>
FARPROC Address(Function* function) {
  return std::bit_cast<FARPROC>(function);
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  static const std::map<std::string_view, FARPROC> fakes = {
      {"GetNodeClusterState", Address(&FakeGetNodeClusterState)},
      {"OpenCluster", Address(&FakeOpenCluster)},
      {"CloseCluster", Address(&FakeCloseCluster)},
      {"GetClusterInformation", Address(&FakeGetClusterInformation)},
      {"ClusterOpenEnum", Address(&FakeClusterOpenEnum)},
      {"ClusterEnum", Address(&FakeClusterEnum)},
      {"ClusterCloseEnum", Address(&FakeClusterCloseEnum)},
      {"OpenClusterResource", Address(&FakeOpenClusterResource)},
      {"CloseClusterResource", Address(&FakeCloseClusterResource)},
      {"ClusterResourceOpenEnum", Address(&FakeClusterResourceOpenEnum)},
      {"ClusterResourceEnum", Address(&FakeClusterResourceEnum)},
      {"ClusterResourceCloseEnum", Address(&FakeClusterResourceCloseEnum)},
      {"GetClusterResourceState", Address(&FakeGetClusterResourceState)},
      {"GetClusterResourceNetworkName", Address(&FakeGetClusterResourceNetworkName)},
      {"ClusterResourceControl", Address(&FakeClusterResourceControl)},
      {"ResUtilFindSzProperty", Address(&FakeResUtilFindSzProperty)},
      {"ClusterIsPathOnSharedVolume", Address(&FakeClusterIsPathOnSharedVolume)},
      {"ClusterGetVolumePathName", Address(&FakeClusterGetVolumePathName)}};
  const auto fake = fakes.find(name);
  return fake == fakes.end() ? ::GetProcAddress(module, name) : fake->second;
}

FakeResource NetworkName(const wchar_t* name, const wchar_t* group,
                         const std::vector<std::wstring>& addresses) {
  return {name, L"Network Name", group, {{L"DnsName", name}}, {{L"Name", name}}, addresses};
}

FakeResource IpAddress(const wchar_t* type, const wchar_t* name, const wchar_t* group,
                       const wchar_t* address) {
  return {name, type, group, {{L"Address", address}, {L"Network", L"LAN"}}, {}, {}};
}

}  // namespace

FakeResource& FakeClusterTable::Resource(const std::wstring& resource) {
  for (FakeResource& each : resources) {
    if (each.name == resource) return each;
  }
  ADD_FAILURE() << "the table holds no such resource";
  return resources.emplace_back();
}

FakeClusterTable TwoNodes() {
  constexpr wchar_t kV4[] = L"IP Address";
  FakeClusterTable table;
  table.name = L"CLU1";
  table.reachedBy = {L"CLU1", L"NODEA", L"NODEB", L"VTBACKUP", L"SQLV", L"SQLTWO", L"EXCHV"};
  table.groups = {{L"Cluster Group", L"NODEA"}, {L"Backup", L"NODEB"}, {L"SQL", L"NODEA"},
                  {L"SQL2", L"NODEB"},          {L"Group1", L"NODEB"}, {L"Exchange", L"NODEB"}};
  table.resources = {
      NetworkName(L"CLU1", L"Cluster Group", {L"Address1"}),
      IpAddress(kV4, L"Address1", L"Cluster Group", L"10.1.1.10"),
      NetworkName(L"VTBACKUP", L"Backup", {L"Address2", L"Address2v6"}),
      IpAddress(kV4, L"Address2", L"Backup", L"10.1.1.20"),
      IpAddress(L"IPv6 Address", L"Address2v6", L"Backup", L"fd00::20"),
      {L"Engine", L"Generic Service", L"Backup", {{L"ServiceName", L"VantorelEngine"}}, {}, {}},
      NetworkName(L"SQLV", L"SQL", {L"Address3"}),
      IpAddress(kV4, L"Address3", L"SQL", L"10.1.1.30"),
      {L"SQL1", L"SQL Server", L"SQL", {{L"InstanceName", L"MSSQLSERVER"}}, {}, {L"SQLV"}},
      NetworkName(L"SQLTWO", L"SQL2", {}),
      {L"SQL2", L"SQL Server", L"SQL2", {{L"InstanceName", L"INST2"}}, {}, {L"SQLTWO"}},
      NetworkName(L"LISTEN", L"Group1", {}),
      {L"Group1", L"SQL Server Availability Group", L"Group1", {}, {}, {L"LISTEN"}},
      NetworkName(L"EXCHV", L"Exchange", {}),
      {L"Store", L"Microsoft Exchange Information Store", L"Exchange", {}, {}, {L"EXCHV"}}};
  table.sharedVolume = L"C:\\ClusterStorage\\Volume1";
  return table;
}

FakeCluster::FakeCluster(FakeClusterTable table) : table(std::move(table)) {
  EXPECT_EQ(current, nullptr) << "one fake cluster at a time";
  current = this;
}

FakeCluster::~FakeCluster() {
  EXPECT_EQ(handles.size(), 0u) << "handles are still open";
  handles.clear();
  callsUntilFailure = 0;
  current = nullptr;
}

::testing::Environment* FakeCluster::AnswerLookUps() {
  // The library under test loads it at its first question only.
  EXPECT_NE(::LoadLibraryW(L"vtcluster.dll"), nullptr);
  return vtclass::test::AnswerLookUps(&LookUp, L"vtcluster.dll");
}

void FakeCluster::FailAt(long n) { callsUntilFailure = n; }

bool FakeCluster::Failed() const { return callsUntilFailure < 0; }

}  // namespace vtclass::test
