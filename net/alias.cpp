#include <vtsocket/vtsocket.h>

#include <cstring>

#include "net/addresses.h"
#include "net/ansi_name.h"
#include "net/dns_timeout.h"
#include "net/noted.h"
#include "net/resolver.h"
#include "platform/no_throw.h"
#include "vtclass/net.h"

using VTSocket::VTDnsResolver;
using VTSocket::VTHostEntries;
using VTSocket::VTIPAddress;
using VTSocket::VTSocketError;

namespace vtclass {

using platform::StatusOf;

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

bool IsAmong(const addrinfo& address, const addrinfo* list) {
  for (; list; list = list->ai_next) {
    if (IsSameHost(address, *list)) return true;
  }
  return false;
}

// Without `own`, which were not listed then, none is this machine's.
bool IsOwn(const addrinfo& address, const RefPointer<VTHostEntries>& own) {
  return own && own->HasEntries() && IsAmong(address, own->GetAddressList());
}

bool HasOwn(const addrinfo* list, const RefPointer<VTHostEntries>& own) {
  for (; list; list = list->ai_next) {
    if (IsOwn(*list, own)) return true;
  }
  return false;
}

// What `name` resolves to within the limit (null: none), with its canonical name.
unsigned long Resolve(const char* name, const unsigned long* timeout, OwnedAddressList& list) {
  addrinfo hints = {};
  hints.ai_flags = AI_CANONNAME;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  timeval limit = {};
  if (timeout) limit.tv_usec = MicrosecondsOf(*timeout);
  return static_cast<unsigned long>(VTSocket::GetAddrInfoWithTimeOut(
      name, nullptr, &hints, list.Receive(), timeout ? &limit : nullptr));
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

std::wstring TextOf(const addrinfo& address) {
  char text[NI_MAXHOST] = {};
  Resolver().nameInfo(address.ai_addr, static_cast<socklen_t>(address.ai_addrlen), text,
                      sizeof(text), nullptr, 0, NI_NUMERICHOST);
  return wcstring(cstring(text));
}

// Each address for itself: the answer needs one of them only, and the steps show them all.
void NoteHost(const addrinfo* list, bool isCanonical, const RefPointer<VTHostEntries>& own,
              const Steps& steps) {
  steps.Add(stepDnsHost, isCanonical, ERROR_SUCCESS, wcstring(cstring(list->ai_canonname)));
  for (; list; list = list->ai_next) {
    const bool isYes = VTIPAddress::IsLoopback(list->ai_addr) || IsOwn(*list, own);
    steps.Add(stepDnsAddress, isYes, ERROR_SUCCESS, TextOf(*list));
  }
}

// Notes why the host is none, and returns `status`.
unsigned long NoHost(unsigned long status, const Steps& steps) {
  steps.Add(stepDnsHost, false, status);
  return status == WSAHOST_NOT_FOUND ? ERROR_SUCCESS : status;
}

unsigned long IsAlias(const char* name, bool& isMe, const unsigned long* timeout,
                      const Steps& steps) {
  if (VTIPAddress::IsIPAddress(name)) return ERROR_SUCCESS;
  cstring fullName;
  bool isOwn = false;
  unsigned long status = IsOwnName(name, fullName, isOwn);
  if (status != ERROR_SUCCESS) return NoHost(status, steps);
  if (isOwn) {
    steps.Add(stepOwnDnsName, true);
    return ERROR_SUCCESS;
  }
  OwnedAddressList found;
  status = Resolve(name, timeout, found);
  if (status != ERROR_SUCCESS) return NoHost(status, steps);
  const addrinfo* const list = found.Get();
  if (!list || !list->ai_canonname) return NoHost(ERROR_INVALID_PARAMETER, steps);
  const bool isCanonical = IsSameAnsi(list->ai_canonname, fullName.c_str());
  const bool isKnown = isCanonical || HasLoopback(list);
  RefPointer<VTHostEntries> own;
  const auto listOwn = [&own] { own = VTDnsResolver::GetHostByName(kThisMachine); };
  if (!isKnown) {
    listOwn();
  } else if (steps.AreWanted()) {
    // For the steps alone: where it fails, the answer stands.
    StatusOf<VTSocketError>(listOwn);
  }
  if (steps.AreWanted()) NoteHost(list, isCanonical, own, steps);
  isMe = isKnown || HasOwn(list, own);
  return ERROR_SUCCESS;
}

}  // namespace

unsigned long IsThisAnAliasForMe(const char* name, bool* isMe, const unsigned long* timeout,
                                 const Steps& steps) {
  if (isMe) *isMe = false;
  if (!name || !isMe) return ERROR_INVALID_PARAMETER;
  if (name[0] == '\\' && name[1] == '\\') name += 2;
  if (!*name) return ERROR_INVALID_PARAMETER;  // to the resolver, "" would be this machine
  return StatusOf<VTSocketError>([&] { return IsAlias(name, *isMe, timeout, steps); });
}

unsigned long IsThisAnAliasForMe(const wchar_t* name, bool* isMe, const unsigned long* timeout,
                                 const Steps& steps) {
  if (isMe) *isMe = false;
  if (!name || !isMe) return ERROR_INVALID_PARAMETER;
  return StatusOf<VTSocketError>([&] {
    std::string ansi;
    const unsigned long status = ToAnsi(name, ansi);
    return status != ERROR_SUCCESS ? NoHost(status, steps)
                                   : IsThisAnAliasForMe(ansi.c_str(), isMe, timeout, steps);
  });
}

}  // namespace net

unsigned long IsThisAnAliasForMe(const char* name, bool* isMe, unsigned long* timeout) {
  return net::IsThisAnAliasForMe(name, isMe, timeout, platform::Steps());
}

unsigned long IsThisAnAliasForMe(const wchar_t* name, bool* isMe, unsigned long* timeout) {
  return net::IsThisAnAliasForMe(name, isMe, timeout, platform::Steps());
}

}  // namespace vtclass
