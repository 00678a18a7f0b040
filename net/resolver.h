#ifndef VTCLASS_NET_RESOLVER_H
#define VTCLASS_NET_RESOLVER_H

#include <vtclass/win32.h>

#include <vtsocket/vtsocket.h>
#include <ws2tcpip.h>

#include "platform/owned.h"
#include "vtclass/strings.h"

namespace vtclass::net {

/* The system's resolver functions that this family calls itself. */
struct ResolverFunctions {
  decltype(&::getnameinfo) nameInfo;
  decltype(&::freeaddrinfo) freeList;
};

/*
 * Looks the functions up: in ws2_32 of the system folder, or, where that library does not load or
 * has no getaddrinfo, in wship6. A library counts only with all three of getaddrinfo, getnameinfo
 * and freeaddrinfo; without one that has them the answers are those of an IPv4-only system.
 */
ResolverFunctions LoadResolver() noexcept;

/* The functions that LoadResolver found at the first call. */
ResolverFunctions Resolver() noexcept;

/* The name of the host with `address`, by reverse lookup. On failure `host` is as before and the
 * result is the socket error, never 0.
 * Requires: Winsock is in use, as it is once this machine's addresses have been listed. */
unsigned long HostNameOf(const VTSocket::VTIPAddress& address, wcstring& host);

/* What VTSocket::GetAddrInfoWithTimeOut hands out. */
struct AddressListTraits {
  using Type = addrinfo*;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type list) noexcept {
    Resolver().freeList(list);
    return true;
  }
};
using OwnedAddressList = platform::Owned<AddressListTraits>;

}  // namespace vtclass::net

#endif
