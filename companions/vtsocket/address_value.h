#ifndef VTSOCKET_ADDRESS_VALUE_H
#define VTSOCKET_ADDRESS_VALUE_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace vtclass::vtsocket {

/* An IPv4 or IPv6 address and what its bits say of it. No port. */
struct AddressValue {
  bool isIPv6 = false;
  /* In network order. IPv4 uses the first four; the others are 0. */
  std::array<std::uint8_t, 16> bytes{};
  /* The interface that a link-local address belongs to; 0 when none is said. */
  std::uint32_t scope = 0;

  /* The scope is ignored: it is a number of the machine that looks, not a part of the address. */
  bool operator==(const AddressValue& other) const {
    return isIPv6 == other.isIPv6 && bytes == other.bytes;
  }

  std::uint16_t Group(std::size_t index) const {
    return static_cast<std::uint16_t>(bytes[2 * index] << 8 | bytes[2 * index + 1]);
  }
};

/* 127.0.0.0/8, ::1, and the former in its IPv4-mapped form: a connection to it stays here too. */
bool IsLoopback(const AddressValue& address);
/* 169.254.0.0/16, fe80::/10. */
bool IsLinkLocal(const AddressValue& address);
/* An IPv6 address with the interface id 0000:5efe or 0200:5efe and an IPv4 address. */
bool IsISATAP(const AddressValue& address);
/* 224.0.0.0/4, ff00::/8. */
bool IsMulticast(const AddressValue& address);
/* ::/96 without the unspecified and the loopback address. */
bool IsV4Compatible(const AddressValue& address);
/* ::ffff:0:0/96. */
bool IsV4Mapped(const AddressValue& address);

}  // namespace vtclass::vtsocket

#endif
