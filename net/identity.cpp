#include <atomic>
#include <cwchar>

#include "config/registry_values.h"
#include "net/agent_configuration.h"
#include "net/dns_timeout.h"
#include "net/name_forms.h"
#include "net/noted.h"
#include "platform/no_throw.h"
#include "vtclass/config.h"
#include "vtclass/net.h"

namespace vtclass {

using platform::StatusOf;
using VTSocket::VTSocketError;

namespace net {

namespace {

constexpr std::uint32_t kNotRead = 0xFFFFFFFE;
std::atomic<std::uint32_t> rememberedTimeout{kNotRead};

std::uint32_t ReadTimeout() {
  constexpr const config::RegistryValue& limit = config::kDnsQueryTimeout;
  Configuration key;
  unsigned long stored = limit.number;
  // With write access, so that a missing value shows up in the registry for the administrator; an
  // account that may only read still gets what is stored.
  if (key.Open(Configuration::openExisting, limit.key.Path(), nullptr,
               Configuration::accessRead | Configuration::accessWrite)) {
    key.Load(limit.name, stored, limit.number);
  } else if (key.Open(Configuration::openExisting, limit.key.Path(), nullptr,
                      Configuration::accessRead)) {
    key.LoadDWORD(limit.name, stored);
  }
  return UsableTimeout(stored);
}

// Two threads that come first read the same value.
std::uint32_t Timeout() {
  std::uint32_t timeout = rememberedTimeout.load(std::memory_order_relaxed);
  if (timeout == kNotRead) {
    timeout = ReadTimeout();
    rememberedTimeout.store(timeout, std::memory_order_relaxed);
  }
  return timeout;
}

// The beginning of a virtual node's name that stands for `database` on this machine.
wcstring VirtualNodeOf(const wcstring& database) {
  wcstring node = L"RAC-" + database + L"-";
  wcstring sid;
  wcstring id;
  if (AgentConfiguration::GetSidnamefromDBName(database, sid) &&
      AgentConfiguration(sid).GetOracleDBID(id)) {
    node += id;
  }
  return node;
}

bool BeginsWith(const wcstring& name, const wcstring& beginning) {
  return _wcsnicmp(name.c_str(), beginning.c_str(), beginning.size()) == 0;
}

// Throws when memory runs out.
bool IsVirtualNode(const wcstring& name, bool& isMe, const Steps& steps) {
  isMe = false;
  // Every virtual node begins so; no other name needs a look into the registry.
  if (BeginsWith(name, L"RAC-")) {
    std::vector<wcstring> databases;
    AgentConfiguration::GetOracleDBNames(databases);
    for (const wcstring& database : databases) {
      if (!AgentConfiguration::GetIsRAC(database)) continue;
      if (BeginsWith(name, VirtualNodeOf(database))) {
        steps.Add(stepRacNode, true);
        isMe = true;
        return true;
      }
    }
  }
  const bool hasShape = HasRacShape(name);
  steps.Add(stepRacNode, false);
  steps.Add(stepRacShape, hasShape);
  return hasShape;
}

unsigned long IsThisMe(const wcstring& name, bool* isMe, bool clusterAware, const Steps& steps) {
  if (!isMe) return ERROR_INVALID_PARAMETER;
  *isMe = false;
  return StatusOf<VTSocketError>([&]() -> unsigned long {
    const wcstring server(std::wstring(ServerIn(name)));
    wcstring unused;
    bool isLocal = false;
    unsigned long status = 0;
    const unsigned long result = VTConvertServerNamePlus(server, unused, computerNameNoConversion,
                                                         clusterAware, &isLocal, &status, steps);
    if (result == ERROR_NOT_ENOUGH_MEMORY) return result;
    // What is left undone tells neither yes nor no.
    constexpr unsigned long kNothingDone = 4;
    const bool isTold = result == ERROR_SUCCESS || status != kNothingDone;
    if (result == ERROR_SUCCESS && isLocal) {
      *isMe = true;
      return ERROR_SUCCESS;
    }
    const bool isSettled = IsVirtualNode(server, *isMe, steps);
    if (isSettled && (*isMe || isTold)) return ERROR_SUCCESS;
    return isTold ? ERROR_INVALID_PARAMETER : result;
  });
}

unsigned long IsThisMeEx(const wcstring& name, bool* isMe, bool clusterAware, int timeoutMs,
                         const Steps& steps) {
  const unsigned long result = IsThisMe(name, isMe, clusterAware, steps);
  if (result == ERROR_SUCCESS && *isMe) return result;
  // An alias of this machine's addresses may be a virtual server that the node holds now.
  if (result != ERROR_SUCCESS && result != ERROR_INVALID_PARAMETER) return result;
  const unsigned long timeout = timeoutMs != 0 ? static_cast<std::uint32_t>(timeoutMs) : Timeout();
  return IsThisAnAliasForMe(name.c_str(), isMe, timeout == kNoTimeLimit ? nullptr : &timeout,
                            steps);
}

}  // namespace

}  // namespace net

unsigned long IsThisMe(const wcstring& name, bool* isMe, bool clusterAware) {
  return net::IsThisMe(name, isMe, clusterAware, platform::Steps());
}

unsigned long IsThisMeEx(const wcstring& name, bool* isMe, bool clusterAware, int timeoutMs) {
  return net::IsThisMeEx(name, isMe, clusterAware, timeoutMs, platform::Steps());
}

unsigned long border::IsThisMeEx(const wcstring& name, bool* isMe, bool clusterAware, int timeoutMs,
                                 const StepSink& steps) noexcept {
  return net::IsThisMeEx(name, isMe, clusterAware, timeoutMs, platform::Steps(steps));
}

bool IsOracleRACVNodeName(const wcstring& name, bool* isMe) {
  bool isOwn = false;
  bool isNode = false;
  const DWORD failure =
      StatusOf<VTSocketError>([&] { isNode = net::IsVirtualNode(name, isOwn, platform::Steps()); });
  if (isMe) *isMe = failure == ERROR_SUCCESS && isOwn;
  return failure == ERROR_SUCCESS && isNode;
}

}  // namespace vtclass
