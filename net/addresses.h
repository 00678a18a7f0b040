#ifndef VTCLASS_NET_ADDRESSES_H
#define VTCLASS_NET_ADDRESSES_H

#include <vtsocket/vtsocket.h>

#include <string>

#include "vtclass/ref_pointer.h"

namespace vtclass::net {

/* What the sockets library's resolver answers with all addresses of this machine. */
inline constexpr char kThisMachine[] = "..localmachine";

/* The address that `text` is; null when it is none. */
RefPointer<VTSocket::VTIPAddress> AddressIn(const std::wstring& text);

}  // namespace vtclass::net

#endif
