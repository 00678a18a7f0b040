#include "companions/vtsocket/socket_address.h"

#include <cstring>

namespace vtclass::vtsocket {
namespace {

unsigned short NetworkOrder(unsigned short port) {
  return static_cast<unsigned short>(port << 8 | port >> 8);
}

}  // namespace

std::optional<AddressValue> FromSocketAddress(const sockaddr* address) {
  AddressValue value;
  if (address && address->sa_family == AF_INET) {
    sockaddr_in in = {};
    std::memcpy(&in, address, sizeof(in));
    std::memcpy(value.bytes.data(), &in.sin_addr, sizeof(in.sin_addr));
    return value;
  }
  if (address && address->sa_family == AF_INET6) {
    sockaddr_in6 in = {};
    std::memcpy(&in, address, sizeof(in));
    std::memcpy(value.bytes.data(), &in.sin6_addr, sizeof(in.sin6_addr));
    value.isIPv6 = true;
    value.scope = in.sin6_scope_id;
    return value;
  }
  return std::nullopt;
}

int ToSocketAddress(const AddressValue& address, unsigned short port, sockaddr_storage& storage) {
  storage = {};
  if (!address.isIPv6) {
    sockaddr_in in{};
    in.sin_family = AF_INET;
    in.sin_port = NetworkOrder(port);
    std::memcpy(&in.sin_addr, address.bytes.data(), sizeof(in.sin_addr));
    std::memcpy(&storage, &in, sizeof(in));
    return sizeof(in);
  }
  sockaddr_in6 in{};
  in.sin6_family = AF_INET6;
  in.sin6_port = NetworkOrder(port);
  in.sin6_scope_id = address.scope;
  std::memcpy(&in.sin6_addr, address.bytes.data(), sizeof(in.sin6_addr));
  std::memcpy(&storage, &in, sizeof(in));
  return sizeof(in);
}

}  // namespace vtclass::vtsocket
