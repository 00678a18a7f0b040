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
using cluster::AskCluster;
using cluster::CountsAsRunning;
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

bool SqlServiceRuns(const wchar_t* server, unsigned long& error) {
  wcstring node;
  const bool isVirtual = ClusterVirtualNameToNodeName(server, node);
  error = ::GetLastError();
  const ServiceManager services(isVirtual ? node.c_str() : WithBackslashes(server).c_str());
  // The name stands in the second service's name as it was given: an instance that bears the
  // server's name is looked for, and none is taken out of it.
  return services.IsRunning(L"MSSQLServer") ||
         services.IsRunning((std::wstring(L"MSSQLServer$") + server).c_str());
}

bool IsRunningSql(const wchar_t* server, bool* flag, unsigned long& error) {
  if (!SqlServiceRuns(server, error)) return false;
  // A server that belongs to no cluster has nobody to contradict.
  return AskCluster(server, error, true, [&](Cluster& cluster) {
    bool own = false;
    const auto state = cluster.IsServerRunningSQL(ClusterName(server).c_str(), &own);
    const bool running = CountsAsRunning(state, own);
    Set(flag, running && !own);
    return running;
  });
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

bool ClusterAgreesOnExchange(const wchar_t* server, unsigned long& error) {
  const wcstring name = ClusterName(server);
  return AskCluster(name.c_str(), error, true, [&](Cluster& cluster) {
    bool own = false;
    const auto state = cluster.IsServerRunningExchange(name.c_str(), &own);
    return CountsAsRunning(state, own);
  });
}

}  // namespace

bool ServerIsRunningSQL(const wchar_t* server, bool* flag) {
  Set(flag, false);
  return AnswerOr(false, [&](unsigned long& error) {
    return server && *server && IsRunningSql(server, flag, error);
  });
}

clusAppState ServerIsRunningSQL2KInstance(const wchar_t* server, wcstring instance) {
  const clusAppState nothing = clusAppNoAnswer;
  return AnswerOr(nothing, [&](unsigned long& error) {
    const auto found = XCSCluster::GetInstance(server);
    if (!found) {
      error = ::GetLastError();
      return nothing;
    }
    bool own = false;
    const int state = found->IsServerRunningSQL2KInstance(server, instance.c_str(), &own);
    error = found->GetErrorCode();
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
  const bool running = AnswerOr(false, [&](unsigned long& error) {
    return server && *server && ExchangeServicesRun(server, parts, requireRunning) &&
           ClusterAgreesOnExchange(server, error);
  });
  if (!running) clear();
  return running;
}

}  // namespace vtclass
