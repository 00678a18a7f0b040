#include <algorithm>

#include "companions/vtsocket/local_addresses.h"
#include "companions/vtsocket/winsock.h"
#include "vtsocket/vtsocket.h"

namespace VTSocket {
namespace {

using vtclass::vtsocket::AddressValue;

// An address by which another machine can be reached beyond the own link.
bool IsRoutable(const AddressValue& address) {
  return !IsLoopback(address) && !IsLinkLocal(address);
}

}  // namespace

AddressFamily SocketServices::GetProtocolOfChoice() {
  try {
    const auto addresses = vtclass::vtsocket::LocalAddresses();
    const auto hasRoutable = [&](bool isIPv6) {
      return std::ranges::any_of(addresses, [&](const AddressValue& address) {
        return address.isIPv6 == isIPv6 && IsRoutable(address);
      });
    };
    if (!hasRoutable(false) && hasRoutable(true)) return AddressFamily::IPv6;
  } catch (const std::exception& error) {
    // The choice is a preference among addresses that are all tried: a guess does no harm.
    vtclass::vtsocket::Trace("The protocol of choice is a guess: %s", error.what());
  }
  return AddressFamily::IPv4;
}

}  // namespace VTSocket

void VTSock_SetZPrintf(void (*print)(const char* format, ...)) {
  vtclass::vtsocket::SetTracePrint(print);
}
