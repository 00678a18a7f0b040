#include "net/addresses.h"

#include "net/ansi_name.h"
#include "net/name_forms.h"
#include "platform/no_throw.h"
#include "vtclass/net.h"

using VTSocket::AddressFamily;
using VTSocket::VTDnsResolver;
using VTSocket::VTIPAddress;
using VTSocket::VTSocketError;

namespace vtclass {

using platform::StatusOf;

namespace net {

namespace {

bool IsOfSpecialUse(const VTIPAddress& address) {
  return address.IsLoopback() || address.IsLinkLocal() || address.IsISATAP() ||
         address.IsMulticast() || address.IsV4Compatible() || address.IsV4Mapped();
}

// One pass over the addresses: the first of the preferred family, or of the others.
struct Pass {
  bool preferredFamily;
  bool specialUse;  // addresses of special use are welcome too
};
constexpr Pass kPasses[] = {{true, false}, {true, true}, {false, false}, {false, true}};

RefPointer<VTIPAddress> FirstOf(VTSocket::VTAddressEnumerator& addresses, AddressFamily preferred,
                                Pass pass) {
  addresses.Reset();
  while (addresses.MoveNext()) {
    const RefPointer<VTIPAddress> address = addresses.GetAddress();
    const bool isPreferred = preferred == AddressFamily::Any || address->GetFamily() == preferred;
    if (isPreferred == pass.preferredFamily && (pass.specialUse || !IsOfSpecialUse(*address))) {
      return address;
    }
  }
  return nullptr;
}

}  // namespace

RefPointer<VTIPAddress> AddressIn(const std::wstring& text) {
  // Most names are no addresses, and the parser that makes an object says so by an exception.
  std::string ansi;
  if (ToAnsi(text, ansi) != ERROR_SUCCESS || !VTIPAddress::IsIPAddress(ansi.c_str())) return {};
  try {
    return VTIPAddress::CreateIPAddress(text.c_str());
  } catch (const VTSocketError&) {
    return {};
  }
}

}  // namespace net

wcstring GetAnyIpAddress(const wcstring& name) {
  wcstring text;
  StatusOf<VTSocketError>([&] {
    std::string server;
    if (net::ToAnsi(net::ServerIn(name), server) != ERROR_SUCCESS) return;
    const AddressFamily preferred = VTSocket::SocketServices::GetProtocolOfChoice();
    const auto hosts = VTDnsResolver::GetHostByName(server.c_str());
    const auto addresses = hosts->GetAddressEnumerator(AddressFamily::Any);
    for (const net::Pass pass : net::kPasses) {
      const auto found = net::FirstOf(*addresses, preferred, pass);
      if (!found) continue;
      text = found->ToString();
      break;
    }
  });
  return text;
}

bool IsIpAddr(const wchar_t* text) {
  bool isAddress = false;
  StatusOf<VTSocketError>([&] { isAddress = text && net::AddressIn(text); });
  return isAddress;
}

bool IsIpAddrLocal(const wchar_t* text) {
  bool isLocal = false;
  RefPointer<VTIPAddress> address;
  const DWORD failure =
      StatusOf<VTSocketError>([&] { address = VTIPAddress::CreateIPAddress(text); });
  if (failure != ERROR_SUCCESS) throw static_cast<int>(failure);
  IsLocalIPAddress(address, &isLocal);
  return isLocal;
}

unsigned long IsLocalIPAddress(const RefPointer<VTIPAddress>& address, bool* isLocal) {
  if (!address || !isLocal) return ERROR_INVALID_PARAMETER;
  return StatusOf<VTSocketError>([&]() -> unsigned long {
    const auto hosts = VTDnsResolver::GetHostByName(net::kThisMachine);
    const auto addresses = hosts->GetAddressEnumerator(AddressFamily::Any);
    while (addresses->MoveNext()) {
      const RefPointer<VTIPAddress> own = addresses->GetAddress();
      if (own == address || *own == *address) {
        *isLocal = true;
        return ERROR_SUCCESS;
      }
    }
    return ERROR_INVALID_FUNCTION;  // 1: not one of them
  });
}

void Set_VTSockZPrintf(void (*print)(const char* format, ...)) {
  StatusOf<VTSocketError>([print] { VTSock_SetZPrintf(print); });
}

}  // namespace vtclass
