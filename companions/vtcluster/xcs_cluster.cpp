#include <memory>
#include <utility>

#include "companions/vtcluster/answers.h"
#include "companions/vtcluster/name_match.h"
#include "vtcluster/vtcluster.h"

namespace vtcluster {
namespace {

class OpenedXcsCluster : public XCSCluster {
 public:
  explicit OpenedXcsCluster(OwnedCluster cluster) : handle(std::move(cluster)) {}

  Cluster::appState IsServerRunningSQL2KInstance(const wchar_t* server, const wchar_t* instance,
                                                 bool* own) override {
    if (own) *own = false;
    Resources resources;
    const std::wstring wanted = WithoutBackslashes(server);
    if (wanted.empty() || !ReadResources(handle.Get(), resources)) return Cluster::noAnswer;
    return StateOfSqlInstance(resources, wanted, instance ? instance : L"");
  }

 private:
  OwnedCluster handle;
};

}  // namespace
}  // namespace vtcluster

std::shared_ptr<XCSCluster> XCSCluster::GetInstance(const wchar_t* name) {
  const std::wstring server = vtcluster::WithoutBackslashes(name);
  vtcluster::OwnedCluster cluster =
      vtcluster::OpenRunningCluster(server.empty() ? nullptr : server.c_str());
  if (!cluster) return nullptr;
  return std::make_shared<vtcluster::OpenedXcsCluster>(std::move(cluster));
}
