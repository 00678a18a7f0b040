#include <string>
#include <utility>

#include "cluster/answer_or.h"
#include "cluster/application_state.h"
#include "cluster/opened_cluster.h"
#include "cluster/service_manager.h"
#include "vtclass/cluster.h"
#include "vtclass/net.h"

namespace vtclass {
namespace {

using cluster::AnswerOr;
using cluster::CountsAsRunning;
using cluster::OpenedCluster;
using cluster::ServiceManager;

void Set(bool* flag, bool value) noexcept {
  if (flag) *flag = value;
}

/* A server name as the service manager takes it. */
std::wstring WithBackslashes(const wchar_t* server) {
  return *server == L'\\' ? std::wstring(server) : std::wstring(L"\\\\") + server;
}

/* The name by which a cluster is asked for a server: its NetBIOS form, or the name itself. */
wcstring ClusterName(const wchar_t* server) {
  const wcstring name(server);
  wcstring converted;
  bool isLocal = false;
  unsigned long status = 0;
  const unsigned long error =
      VTConvertServerNamePlus(name, converted, computerNameNetBIOS, true, &isLocal, &status);
  return error == 0 ? converted : name;
}

bool SqlServiceRuns(const wchar_t* server) {
  wcstring node;
  const bool isVirtual = ClusterVirtualNameToNodeName(server, node);
  const ServiceManager services(isVirtual ? node.c_str() : WithBackslashes(server).c_str());
  // The name stands in the second service's name as it was given: an instance that bears the
  // server's name is looked for, and none is taken out of it.
  return services.IsRunning(L"MSSQLServer") ||
         services.IsRunning((std::wstring(L"MSSQLServer$") + server).c_str());
}

bool IsRunningSql(const wchar_t* server, bool* flag) {
  if (!SqlServiceRuns(server)) return false;
  const auto found = OpenedCluster(server);
  if (!found) return true;
  bool own = false;
  const bool running =
      CountsAsRunning(found->IsServerRunningSQL(ClusterName(server).c_str(), &own), own);
  Set(flag, running && !own);
  return running;
}

struct ExchangeService {
  const wchar_t* name;
  bool* flag;
};

bool ExchangeServicesRun(const wchar_t* server, const ExchangeService (&parts)[4],
                         bool requireRunning) {
  bool isLocal = false;
  IsThisMe(server, &isLocal, true);
  const ServiceManager services(isLocal ? nullptr : WithBackslashes(server).c_str());
  if (!services.IsRunning(L"MSExchangeSA")) return false;
  for (const ExchangeService& part : parts) {
    Set(part.flag, requireRunning ? services.IsRunning(part.name) : services.Exists(part.name));
  }
  return true;
}

/* A server that belongs to no cluster has nobody to contradict. */
bool ClusterAgreesOnExchange(const wchar_t* server) {
  const wcstring name = ClusterName(server);
  const auto found = OpenedCluster(name.c_str());
  if (!found) return true;
  bool own = false;
  const auto state = found->IsServerRunningExchange(name.c_str(), &own);
  return CountsAsRunning(state, own);
}

}  // namespace

bool ServerIsRunningSQL(const wchar_t* server, bool* flag) {
  Set(flag, false);
  if (!server || !*server) return false;
  return AnswerOr(false, [&] { return IsRunningSql(server, flag); });
}

clusAppState ServerIsRunningSQL2KInstance(const wchar_t* server, wcstring instance) {
  const clusAppState nothing = clusAppNoAnswer;
  return AnswerOr(nothing, [&] {
    const auto found = XCSCluster::GetInstance(server);
    if (!found) return nothing;
    bool own = false;
    const int state = found->IsServerRunningSQL2KInstance(server, instance.c_str(), &own);
    return state == Cluster::runningIfOwn ? nothing : static_cast<clusAppState>(state);
  });
}

bool ServerIsRunningExchange(wchar_t* server, bool* is, bool* ds, bool* srs, bool* kms,
                             bool requireRunning) {
  const ExchangeService parts[] = {{L"MSExchangeDS", ds},
                                   {L"MSExchangeIS", is},
                                   {L"MSExchangeSRS", srs},
                                   {L"MSExchangeKMS", kms}};
  const auto clear = [&parts] {
    for (const ExchangeService& part : parts) Set(part.flag, false);
  };
  clear();
  if (!server || !*server) return false;
  const bool running = AnswerOr(false, [&] {
    return ExchangeServicesRun(server, parts, requireRunning) && ClusterAgreesOnExchange(server);
  });
  if (!running) clear();
  return running;
}

}  // namespace vtclass
