#include <array>
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
using platform::Steps;

void Set(bool* flag, bool value) noexcept {
  if (flag) *flag = value;
}

// A server name as the service manager takes it.
std::wstring WithBackslashes(const wchar_t* server) {
  return *server == L'\\' ? std::wstring(server) : std::wstring(L"\\\\") + server;
}

// The name by which a cluster is asked for a server: its NetBIOS form, or the name itself.
wcstring ClusterName(const wchar_t* server) {
  const wcstring name(server);
  wcstring converted;
  bool isLocal = false;
  unsigned long status = 0;
  const unsigned long error =
      VTConvertServerNamePlus(name, converted, computerNameNetBIOS, true, &isLocal, &status);
  return error == 0 ? converted : name;
}

bool SqlServiceRuns(const wchar_t* server, unsigned long& error, const Steps& steps) {
  wcstring node;
  const bool isVirtual = ClusterVirtualNameToNodeName(server, node);
  error = ::GetLastError();
  const std::wstring computer = isVirtual ? std::wstring(node) : WithBackslashes(server);
  const ServiceManager services(computer.c_str(), steps);
  const bool runs = services.IsRunning(L"MSSQLServer");
  if (runs && !steps.AreWanted()) return true;
  // The name stands in the second service's name as it was given: an instance that bears the
  // server's name is looked for, and none is taken out of it.
  return services.IsRunning(std::wstring(L"MSSQLServer$") + server) || runs;
}

bool SqlRuns(const wchar_t* server, bool* flag, unsigned long& error, const Steps& steps) {
  if (!SqlServiceRuns(server, error, steps)) return false;
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
using ExchangeServices = std::array<ExchangeService, 4>;

ExchangeServices Parts(bool* is, bool* ds, bool* srs, bool* kms) {
  return {{{L"MSExchangeIS", is},
           {L"MSExchangeDS", ds},
           {L"MSExchangeSRS", srs},
           {L"MSExchangeKMS", kms}}};
}

bool ExchangeServicesRun(const wchar_t* server, const ExchangeServices& parts, bool requireRunning,
                         const Steps& steps) {
  bool isLocal = false;
  IsThisMe(server, &isLocal, true);
  const ServiceManager services(isLocal ? nullptr : WithBackslashes(server).c_str(), steps);
  const bool runs = services.IsRunning(L"MSExchangeSA");
  if (!runs && !steps.AreWanted()) return false;
  for (const ExchangeService& part : parts) {
    Set(part.flag, requireRunning ? services.IsRunning(part.name) : services.Exists(part.name));
  }
  return runs;
}

bool ClusterAgreesOnExchange(const wchar_t* server, unsigned long& error) {
  const wcstring name = ClusterName(server);
  return AskCluster(name.c_str(), error, true, [&](Cluster& cluster) {
    bool own = false;
    const auto state = cluster.IsServerRunningExchange(name.c_str(), &own);
    return CountsAsRunning(state, own);
  });
}

bool IsRunningSql(const wchar_t* server, bool* flag, const Steps& steps) noexcept {
  Set(flag, false);
  return AnswerOr(false, [&](unsigned long& error) {
    return server && *server && SqlRuns(server, flag, error, steps);
  });
}

bool IsRunningExchange(const wchar_t* server, const ExchangeServices& parts, bool requireRunning,
                       const Steps& steps) noexcept {
  const auto clear = [&parts] {
    for (const ExchangeService& part : parts) Set(part.flag, false);
  };
  clear();
  const bool running = AnswerOr(false, [&](unsigned long& error) {
    return server && *server && ExchangeServicesRun(server, parts, requireRunning, steps) &&
           ClusterAgreesOnExchange(server, error);
  });
  if (!running) clear();
  return running;
}

}  // namespace

bool ServerIsRunningSQL(const wchar_t* server, bool* flag) {
  return IsRunningSql(server, flag, Steps());
}

bool border::ServerIsRunningSQL(const wchar_t* server, bool* flag,
                                const StepSink& services) noexcept {
  return IsRunningSql(server, flag, Steps(services));
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
  return IsRunningExchange(server, Parts(is, ds, srs, kms), requireRunning, Steps());
}

bool border::ServerIsRunningExchange(wchar_t* server, bool* is, bool* ds, bool* srs, bool* kms,
                                     bool requireRunning, const StepSink& services) noexcept {
  return IsRunningExchange(server, Parts(is, ds, srs, kms), requireRunning, Steps(services));
}

}  // namespace vtclass
