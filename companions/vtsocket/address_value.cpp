#include "companions/vtsocket/address_value.h"

#include <algorithm>

namespace vtclass::vtsocket {
namespace {

bool StartsWithZeros(const AddressValue& address, std::ptrdiff_t count) {
  return std::all_of(address.bytes.begin(), address.bytes.begin() + count,
                     [](std::uint8_t byte) { return byte == 0; });
}

}  // namespace

bool IsLoopback(const AddressValue& address) {
  if (!address.isIPv6) return address.bytes[0] == 127;
  if (IsV4Mapped(address)) return address.bytes[12] == 127;
  return StartsWithZeros(address, 15) && address.bytes[15] == 1;
}

bool IsLinkLocal(const AddressValue& address) {
  if (!address.isIPv6) return address.bytes[0] == 169 && address.bytes[1] == 254;
  return address.bytes[0] == 0xFE && (address.bytes[1] & 0xC0) == 0x80;
}

bool IsISATAP(const AddressValue& address) {
  // The bit of 0x0200 says whether the IPv4 address is unique in the world.
  return address.isIPv6 && (address.Group(4) & ~0x0200) == 0 && address.Group(5) == 0x5EFE;
}

bool IsMulticast(const AddressValue& address) {
  return address.isIPv6 ? address.bytes[0] == 0xFF : (address.bytes[0] & 0xF0) == 0xE0;
}

bool IsV4Compatible(const AddressValue& address) {
  if (!address.isIPv6 || !StartsWithZeros(address, 12)) return false;
  return !StartsWithZeros(address, 15) || address.bytes[15] > 1;
}

bool IsV4Mapped(const AddressValue& address) {
  return address.isIPv6 && StartsWithZeros(address, 10) && address.Group(5) == 0xFFFF;
}

}  // namespace vtclass::vtsocket
