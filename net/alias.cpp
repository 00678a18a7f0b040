#include <vtsocket/vtsocket.h>

#include <cstring>

#include "net/addresses.h"
#include "net/ansi_name.h"
#include "net/contained.h"
#include "net/dns_time_out.h"
#include "net/resolver.h"
#include "vtclass/net.h"

using VTSocket::VTDnsResolver;
using VTSocket::VTIPAddress;

namespace vtclass {

namespace net {

namespace {

bool IsSameAnsi(const char* a, const char* b) { return _stricmp(a, b) == 0; }

// The host part alone: ports, flow information and scopes differ between lookups of one address.
bool IsSameHost(const addrinfo& a, const addrinfo& b) {
  if (a.ai_family != b.ai_family || a.ai_addrlen != b.ai_addrlen) return false;
  if (a.ai_family == AF_INET) {
    const auto* const first = reinterpret_cast<const sockaddr_in*>(a.ai_addr);
    const auto* const second = reinterpret_cast<const sockaddr_in*>(b.ai_addr);
    return std::memcmp(&first->sin_addr, &second->sin_addr, sizeof(in_addr)) == 0;
  }
  if (a.ai_family == AF_INET6) {
    const auto* const first = reinterpret_cast<const sockaddr_in6*>(a.ai_addr);
    const auto* const second = reinterpret_cast<const sockaddr_in6*>(b.ai_addr);
    return std::memcmp(&first->sin6_addr, &second->sin6_addr, sizeof(in6_addr)) == 0;
  }
  return false;
}

bool HasLoopback(const addrinfo* list) {
  for (; list; list = list->ai_next) {
    if (VTIPAddress::IsLoopback(list->ai_addr)) return true;
  }
  return false;
}

bool HasAddressOfThisMachine(const addrinfo* list) {
  const auto own = VTDnsResolver::GetHostByName(kThisMachine);
  if (!own->HasEntries()) return false;
  for (; list; list = list->ai_next) {
    for (const addrinfo* mine = own->GetAddressList(); mine; mine = mine->ai_next) {
      if (IsSameHost(*list, *mine)) return true;
    }
  }
  return false;
}

// What `name` resolves to within the limit (null: none), with its canonical name.
unsigned long Resolve(const char* name, const unsigned long* timeOut, OwnedAddressList& list) {
  addrinfo hints = {};
  hints.ai_flags = AI_CANONNAME;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  timeval limit = {};
  if (timeOut) limit.tv_usec = MicrosecondsOf(*timeOut);
  return static_cast<unsigned long>(VTSocket::GetAddrInfoWithTimeOut(
      name, nullptr, &hints, list.Receive(), timeOut ? &limit : nullptr));
}

// The names that denote this machine without being an alias of it: its DNS host name, and its fully
// qualified name, which is in `fullName` then.
unsigned long IsOwnName(const char* name, cstring& fullName, bool& isOwn) {
  char host[256] = {};
  DWORD size = sizeof(host);
  isOwn = ::GetComputerNameExA(ComputerNameDnsHostname, host, &size) && IsSameAnsi(name, host);
  if (isOwn) return ERROR_SUCCESS;
  wcstring wideName;
  const unsigned long status = VTGetFQDN(wideName);
  if (status != ERROR_SUCCESS) return status;
  fullName = cstring(wideName);
  isOwn = IsSameAnsi(name, fullName.c_str());
  return ERROR_SUCCESS;
}

unsigned long IsAlias(const char* name, bool& isMe, const unsigned long* timeOut) {
  if (VTIPAddress::IsIPAddress(name)) return ERROR_SUCCESS;
  cstring fullName;
  bool isOwn = false;
  unsigned long status = IsOwnName(name, fullName, isOwn);
  if (status != ERROR_SUCCESS || isOwn) return status;
  OwnedAddressList list;
  status = Resolve(name, timeOut, list);
  if (status == WSAHOST_NOT_FOUND) return ERROR_SUCCESS;
  if (status != ERROR_SUCCESS) return status;
  if (!list || !list.Get()->ai_canonname) return ERROR_INVALID_PARAMETER;
  isMe = IsSameAnsi(list.Get()->ai_canonname, fullName.c_str()) || HasLoopback(list.Get()) ||
         HasAddressOfThisMachine(list.Get());
  return ERROR_SUCCESS;
}

}  // namespace

}  // namespace net

unsigned long IsThisAnAliasForMe(const char* name, bool* isMe, unsigned long* timeout) {
  if (isMe) *isMe = false;
  if (!name || !isMe) return ERROR_INVALID_PARAMETER;
  if (name[0] == '\\' && name[1] == '\\') name += 2;
  if (!*name) return ERROR_INVALID_PARAMETER;  // to the resolver, "" would be this machine
  return net::StatusOf([&] { return net::IsAlias(name, *isMe, timeout); });
}

unsigned long IsThisAnAliasForMe(const wchar_t* name, bool* isMe, unsigned long* timeout) {
  if (isMe) *isMe = false;
  if (!name || !isMe) return ERROR_INVALID_PARAMETER;
  return net::StatusOf([&] {
    std::string ansi;
    const unsigned long status = net::ToAnsi(name, ansi);
    return status != ERROR_SUCCESS ? status : IsThisAnAliasForMe(ansi.c_str(), isMe, timeout);
  });
}

}  // namespace vtclass
