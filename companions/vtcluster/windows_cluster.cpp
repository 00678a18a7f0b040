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
    if (!handle) handle = OpenRunningCluster(name.empty() ? nullptr : name.c_str());
    return static_cast<bool>(handle);
  }

  int GetClusterType() override { return handle ? windowsCluster : noCluster; }

  std::wstring GetClusterName() override {
    return handle ? NameOfCluster(handle.Get()) : std::wstring();
  }

  bool GetBeActiveNodeName(std::wstring& node) override {
    const Resources resources = Read();
    const Resource* service = FindProductService(resources, name);
    return service && Give(service->node, node);
  }

  bool NetworkNameToNodeName(const std::wstring& networkName, std::wstring& node) override {
    const Resources resources = Read();
    const Resource* found = FindNetworkName(resources, networkName);
    return found && Give(found->node, node);
  }

  bool GetVirtualNameFromIp(std::wstring& virtualName, const char* nameOrAddress) override {
    const std::wstring wanted = WithoutBackslashes(FromAnsi(nameOrAddress).c_str());
    if (wanted.empty()) return false;
    const Resources resources = Read();
    const Resource* found = FindVirtualServer(resources, wanted);
    return found && Give(VirtualName(*found), virtualName);
  }

  bool GetVtVirtualServerName(const std::wstring& server, std::wstring& virtualName) override {
    const Resources resources = Read();
    const Resource* service = FindProductService(resources, WithoutBackslashes(server.c_str()));
    const Resource* found = service ? NetworkNameFor(resources, *service) : nullptr;
    return found && Give(VirtualName(*found), virtualName);
  }

  appState IsServerRunningSQL(const wchar_t* server, bool* own) override {
    return Ask(&StateOfSql, server, own);
  }

  appState IsServerRunningExchange(const wchar_t* server, bool* own) override {
    return Ask(&StateOfExchange, server, own);
  }

 private:
  using Question = appState (*)(const Resources&, const std::wstring&, bool&);

  static bool Give(const std::wstring& answer, std::wstring& out) {
    if (answer.empty()) return false;
    out = answer;
    return true;
  }

  /* What the cluster holds now; nothing when it is not open or could not be read as a whole: half
   * the truth would turn a virtual server into a physical one. */
  Resources Read() const {
    Resources resources;
    if (!handle || !ReadResources(handle.Get(), resources)) resources.clear();
    return resources;
  }

  appState Ask(Question question, const wchar_t* server, bool* own) const {
    bool belongsToServer = false;
    appState state = noAnswer;
    const std::wstring wanted = WithoutBackslashes(server);
    Resources resources;
    if (!wanted.empty() && handle && ReadResources(handle.Get(), resources)) {
      state = question(resources, wanted, belongsToServer);
    }
    if (own) *own = belongsToServer;
    return state;
  }

  std::wstring name;
  OwnedCluster handle;
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
  return cluster->Open() && cluster->GetBeActiveNodeName(node);
}

std::wstring Cluster::GetVtVirtualServerName() {
  const auto cluster = GetInstance();
  std::wstring name;
  if (cluster->Open()) cluster->GetVtVirtualServerName(std::wstring(), name);
  return name;
}
