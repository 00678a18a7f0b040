#ifndef VTSOCKET_SOCKET_ADDRESS_H
#define VTSOCKET_SOCKET_ADDRESS_H

#include <vtclass/win32.h>

#include <ws2tcpip.h>

#include <optional>

#include "companions/vtsocket/address_value.h"

namespace vtclass::vtsocket {

/* The address in a socket address; nothing for null and for families other than IPv4 and IPv6. */
std::optional<AddressValue> FromSocketAddress(const sockaddr* address);

/* Fills `storage`, all of it; `port` is in host order. Returns how many bytes the family uses. */
int ToSocketAddress(const AddressValue& address, unsigned short port, sockaddr_storage& storage);

}  // namespace vtclass::vtsocket

#endif
