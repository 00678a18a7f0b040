#include <atomic>
#include <cwchar>

#include "config/product_keys.h"
#include "net/agent_configuration.h"
#include "net/contained.h"
#include "net/dns_time_out.h"
#include "net/name_forms.h"
#include "vtclass/config.h"
#include "vtclass/net.h"

namespace vtclass {

namespace net {

namespace {

constexpr std::uint32_t kNotRead = 0xFFFFFFFE;
std::atomic<std::uint32_t> rememberedTimeOut{kNotRead};

std::uint32_t ReadTimeOut() {
  Configuration key;
  unsigned long stored = kStandardTimeOut;
  // With write access, so that a missing value shows up in the registry for the administrator; an
  // account that may only read still gets what is stored.
  if (key.Open(Configuration::openExisting, config::TcpIpKey(), nullptr,
               Configuration::accessRead | Configuration::accessWrite)) {
    key.Load(L"DnsQueryTimeOut", stored, kStandardTimeOut);
  } else if (key.Open(Configuration::openExisting, config::TcpIpKey(), nullptr,
                      Configuration::accessRead)) {
    key.LoadDWORD(L"DnsQueryTimeOut", stored);
  }
  return UsableTimeOut(stored);
}

// Two threads that come first read the same value.
std::uint32_t TimeOut() {
  std::uint32_t timeOut = rememberedTimeOut.load(std::memory_order_relaxed);
  if (timeOut == kNotRead) {
    timeOut = ReadTimeOut();
    rememberedTimeOut.store(timeOut, std::memory_order_relaxed);
  }
  return timeOut;
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
bool IsVirtualNode(const wcstring& name, bool& isMe) {
  isMe = false;
  // Every virtual node begins so; no other name needs a look into the registry.
  if (BeginsWith(name, L"RAC-")) {
    std::vector<wcstring> databases;
    AgentConfiguration::GetOracleDBNames(databases);
    for (const wcstring& database : databases) {
      if (!AgentConfiguration::GetIsRAC(database)) continue;
      if (BeginsWith(name, VirtualNodeOf(database))) {
        isMe = true;
        return true;
      }
    }
  }
  return HasRacShape(name);
}

}  // namespace

}  // namespace net

unsigned long IsThisMe(const wcstring& name, bool* isMe, bool clusterAware) {
  if (!isMe) return ERROR_INVALID_PARAMETER;
  *isMe = false;
  return net::StatusOf([&]() -> unsigned long {
    const wcstring server(std::wstring(net::ServerIn(name)));
    wcstring unused;
    bool isLocal = false;
    unsigned long status = 0;
    const unsigned long result = VTConvertServerNamePlus(server, unused, computerNameNoConversion,
                                                         clusterAware, &isLocal, &status);
    if (result == ERROR_NOT_ENOUGH_MEMORY) return result;
    // What is left undone tells neither yes nor no.
    constexpr unsigned long kNothingDone = 4;
    const bool isTold = result == ERROR_SUCCESS || status != kNothingDone;
    if (result == ERROR_SUCCESS && isLocal) {
      *isMe = true;
      return ERROR_SUCCESS;
    }
    const bool isSettled = net::IsVirtualNode(server, *isMe);
    if (isSettled && (*isMe || isTold)) return ERROR_SUCCESS;
    return isTold ? ERROR_INVALID_PARAMETER : result;
  });
}

unsigned long IsThisMeEx(const wcstring& name, bool* isMe, bool clusterAware, int timeoutMs) {
  const unsigned long result = IsThisMe(name, isMe, clusterAware);
  if (result == ERROR_SUCCESS && *isMe) return result;
  // An alias of this machine's addresses may be a virtual server that the node holds now.
  if (result != ERROR_SUCCESS && result != ERROR_INVALID_PARAMETER) return result;
  unsigned long timeOut = timeoutMs != 0 ? static_cast<std::uint32_t>(timeoutMs) : net::TimeOut();
  return IsThisAnAliasForMe(name.c_str(), isMe, timeOut == net::kNoTimeLimit ? nullptr : &timeOut);
}

bool IsOracleRACVNodeName(const wcstring& name, bool* isMe) {
  bool isOwn = false;
  bool isNode = false;
  const unsigned long status = net::StatusOf([&] {
    isNode = net::IsVirtualNode(name, isOwn);
    return ERROR_SUCCESS;
  });
  if (isMe) *isMe = status == ERROR_SUCCESS && isOwn;
  return status == ERROR_SUCCESS && isNode;
}

}  // namespace vtclass
