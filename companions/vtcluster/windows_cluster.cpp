#include <memory>
#include <utility>

#include "companions/vtcluster/answers.h"
#include "companions/vtcluster/cluster_api.h"
#include "companions/vtcluster/name_match.h"
#include "vtcluster/vtcluster.h"

namespace vtcluster {
namespace {

std::wstring FromAnsi(const char* text) {
  const int length = text ? ::MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0) : 0;
  if (length <= 1) return {};
  std::wstring wide(static_cast<size_t>(length), L'\0');
  ::MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), length);
  wide.pop_back();
  return wide;
}

class WindowsCluster : public Cluster {
 public:
  explicit WindowsCluster(std::wstring name) : name(std::move(name)) {}

  bool Open() override {
    error =
        handle ? ERROR_SUCCESS : OpenRunningCluster(name.empty() ? nullptr : name.c_str(), handle);
    return static_cast<bool>(handle);
  }

  unsigned long GetErrorCode() const override { return error; }

  int GetClusterType() override { return handle ? windowsCluster : noCluster; }

  std::wstring GetClusterName() override {
    std::wstring text;
    error = handle ? NameOfCluster(handle.Get(), text) : ERROR_SUCCESS;
    return text;
  }

  bool GetBeActiveNodeName(std::wstring& node) override {
    const Resources resources = Read(ForProduct(name));
    const Resource* service = FindProductService(resources, name);
    return Give(resources, service ? service->node : std::wstring(), node);
  }

  bool NetworkNameToNodeName(const std::wstring& networkName, std::wstring& node) override {
    if (IsNodeOrUnopened(networkName)) return false;
    const Resources resources = Read({Resource::networkName});
    const Resource* found = FindNetworkName(resources, networkName);
    return Give(resources, found ? found->node : std::wstring(), node);
  }

  bool GetVirtualNameFromIp(std::wstring& virtualName, const char* nameOrAddress) override {
    const std::wstring wanted = WithoutBackslashes(FromAnsi(nameOrAddress).c_str());
    if (IsNodeOrUnopened(wanted) || wanted.empty()) return false;
    // The name alone tells; only an address leads through a group.
    const Wanted needed =
        IsAddress(wanted) ? ForServer(wanted) : Wanted{Resource::networkName, false};
    const Resources resources = Read(needed);
    const Resource* found = FindVirtualServer(resources, wanted);
    return Give(resources, found ? VirtualName(*found) : std::wstring(), virtualName);
  }

  bool GetVtVirtualServerName(const std::wstring& server, std::wstring& virtualName) override {
    const std::wstring wanted = WithoutBackslashes(server.c_str());
    const Resources resources = Read(ForProduct(wanted));
    const Resource* service = FindProductService(resources, wanted);
    const Resource* found = service ? NetworkNameFor(resources, *service) : nullptr;
    return Give(resources, found ? VirtualName(*found) : std::wstring(), virtualName);
  }

  appState IsServerRunningSQL(const wchar_t* server, bool* own) override {
    return Ask(&StateOfSql, Resource::sqlServer | Resource::availabilityGroup, server, own);
  }

  appState IsServerRunningExchange(const wchar_t* server, bool* own) override {
    return Ask(&StateOfExchange, Resource::exchangeStore, server, own);
  }

 private:
  using Question = appState (*)(const Resources&, const std::wstring&, bool&);

  static Wanted ForProduct(const std::wstring& server) {
    Wanted wanted = ForServer(server);
    wanted.kinds |= Resource::service;
    return wanted;
  }

  // Nothing needs to be read: the answer is "no".
  bool IsNodeOrUnopened(const std::wstring& server) {
    error = ERROR_SUCCESS;
    return !handle || NamesThisNode(server);
  }

  // What the cluster holds now; nothing when it is not open.
  Resources Read(const Wanted& wanted) const {
    return handle ? ReadResources(handle.Get(), wanted) : Resources();
  }

  // A "no" that rests on a part of the cluster is none.
  bool Give(const Resources& resources, const std::wstring& answer, std::wstring& out) {
    error = answer.empty() ? resources.status : ERROR_SUCCESS;
    if (!answer.empty()) out = answer;
    return !answer.empty();
  }

  appState Ask(Question question, unsigned kinds, const wchar_t* server, bool* own) {
    bool belongsToServer = false;
    appState state = noAnswer;
    error = ERROR_SUCCESS;
    const std::wstring text = WithoutBackslashes(server);
    if (!text.empty() && handle) {
      Wanted wanted = ForServer(text);
      wanted.kinds |= kinds;
      const Resources resources = Read(wanted);
      state = question(resources, text, belongsToServer);
      if (state == noAnswer) error = resources.status;
    }
    if (own) *own = belongsToServer;
    return state;
  }

  std::wstring name;
  OwnedCluster handle;
  DWORD error = ERROR_SUCCESS;  // of the last question
};

}  // namespace
}  // namespace vtcluster

std::shared_ptr<Cluster> Cluster::GetInstance(const wchar_t* name) {
  return std::make_shared<vtcluster::WindowsCluster>(vtcluster::WithoutBackslashes(name));
}

bool Cluster::IsCluster() { return vtcluster::ClusterRunsOn(nullptr); }

bool Cluster::IsVtClustered() {
  const auto cluster = GetInstance();
  std::wstring node;
  const bool answer = cluster->Open() && cluster->GetBeActiveNodeName(node);
  ::SetLastError(cluster->GetErrorCode());
  return answer;
}

std::wstring Cluster::GetVtVirtualServerName() {
  const auto cluster = GetInstance();
  std::wstring name;
  if (cluster->Open()) cluster->GetVtVirtualServerName(std::wstring(), name);
  ::SetLastError(cluster->GetErrorCode());
  return name;
}
