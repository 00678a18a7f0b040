#ifndef VTSOCKET_LOCAL_ADDRESSES_H
#define VTSOCKET_LOCAL_ADDRESSES_H

#include <vector>

#include "companions/vtsocket/address_value.h"

namespace vtclass::vtsocket {

/*
 * Every address under which this machine can be reached, in the order of its adapters, and the
 * loopback addresses 127.0.0.1 and ::1, which it has also where no adapter lists them. None twice.
 * An address that is not (or no longer) the machine's own, because another machine on the link has
 * it or that is not known yet, is left out.
 * Throws VTSocketError with the system's code, std::bad_alloc.
 */
std::vector<AddressValue> LocalAddresses();

}  // namespace vtclass::vtsocket

#endif
