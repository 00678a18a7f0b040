#include "companions/vtsocket/ip_address.h"

#include "companions/vtsocket/address_text.h"
#include "companions/vtsocket/socket_address.h"

namespace vtclass::vtsocket {
namespace {

using VTSocket::AddressFamily;
using VTSocket::VTIPAddress;

class IPAddress final : public VTIPAddress {
 public:
  explicit IPAddress(const AddressValue& value) : value(value) {}

  AddressFamily GetFamily() const override {
    return value.isIPv6 ? AddressFamily::IPv6 : AddressFamily::IPv4;
  }
  bool IsLoopback() const override { return vtsocket::IsLoopback(value); }
  bool IsLinkLocal() const override { return vtsocket::IsLinkLocal(value); }
  bool IsISATAP() const override { return vtsocket::IsISATAP(value); }
  bool IsMulticast() const override { return vtsocket::IsMulticast(value); }
  bool IsV4Compatible() const override { return vtsocket::IsV4Compatible(value); }
  bool IsV4Mapped() const override { return vtsocket::IsV4Mapped(value); }

  void GetSocketAddress(sockaddr_storage& address, unsigned short port) const override {
    ToSocketAddress(value, port, address);
  }

  wcstring ToString() const override {
    wchar_t text[kAddressTextSize];
    return {text, PrintAddress(value, text)};
  }

  bool operator==(const VTIPAddress& other) const override {
    // Another module may have made the other one, so it is asked as any caller would.
    sockaddr_storage address{};
    other.GetSocketAddress(address, 0);
    return FromSocketAddress(reinterpret_cast<const sockaddr*>(&address)) == value;
  }

 private:
  const AddressValue value;
};

}  // namespace

RefPointer<VTIPAddress> MakeAddress(const AddressValue& value) { return new IPAddress(value); }

}  // namespace vtclass::vtsocket

namespace VTSocket {

using vtclass::vtsocket::FromSocketAddress;
using vtclass::vtsocket::ParseAddress;

RefPointer<VTIPAddress> VTIPAddress::CreateIPAddress(const wchar_t* text) {
  const auto value = ParseAddress(vtclass::WideView(text ? text : L""));
  if (!value) throw VTSocketError(WSAEINVAL);
  return vtclass::vtsocket::MakeAddress(*value);
}

bool VTIPAddress::IsIPAddress(const char* text) {
  return text && ParseAddress(std::string_view(text)).has_value();
}

bool VTIPAddress::IsLoopback(const sockaddr* address) {
  const auto value = FromSocketAddress(address);
  return value && vtclass::vtsocket::IsLoopback(*value);
}

}  // namespace VTSocket
