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
    error = ERROR_SUCCESS;
    const std::wstring text = WithoutBackslashes(server);
    if (text.empty()) return Cluster::noAnswer;
    Wanted wanted = ForServer(text);
    wanted.kinds |= Resource::sqlServer;
    const Resources resources = ReadResources(handle.Get(), wanted);
    const auto state = StateOfSqlInstance(resources, text, instance ? instance : L"");
    if (state == Cluster::noAnswer) error = resources.status;
    return state;
  }

  unsigned long GetErrorCode() const override { return error; }

 private:
  OwnedCluster handle;
  DWORD error = ERROR_SUCCESS;  // of the last question
};

}  // namespace
}  // namespace vtcluster

std::shared_ptr<XCSCluster> XCSCluster::GetInstance(const wchar_t* name) {
  const std::wstring server = vtcluster::WithoutBackslashes(name);
  vtcluster::OwnedCluster cluster;
  const DWORD error =
      vtcluster::OpenRunningCluster(server.empty() ? nullptr : server.c_str(), cluster);
  ::SetLastError(error);
  if (!cluster) return nullptr;
  return std::make_shared<vtcluster::OpenedXcsCluster>(std::move(cluster));
}
