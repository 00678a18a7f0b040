#ifndef VTSOCKET_IP_ADDRESS_H
#define VTSOCKET_IP_ADDRESS_H

#include "companions/vtsocket/address_value.h"
#include "vtsocket/vtsocket.h"

namespace vtclass::vtsocket {

/* The address as the object that callers hold. Throws std::bad_alloc. */
RefPointer<VTSocket::VTIPAddress> MakeAddress(const AddressValue& value);

}  // namespace vtclass::vtsocket

#endif
