#include "companions/vtsocket/local_addresses.h"

#include <vtclass/win32.h>

#include <iphlpapi.h>

#include <algorithm>
#include <atomic>
#include <memory>

#include "companions/vtsocket/socket_address.h"
#include "companions/vtsocket/winsock.h"
#include "platform/bound_function.h"
#include "vtsocket/vtsocket.h"

namespace vtclass::vtsocket {
namespace {

constinit platform::BoundFunction<decltype(::GetAdaptersAddresses)> getAdaptersAddresses(
    L"iphlpapi.dll", "GetAdaptersAddresses", ERROR_PROC_NOT_FOUND);

// The list lives in a buffer of its own size, which only the system knows.
using AdapterList = std::unique_ptr<std::byte[]>;

// The size that was enough last: each call that finds too little room reads all adapters for
// nothing.
constinit std::atomic<ULONG> lastSize{16 * 1024};

AdapterList ReadAdapters() {
  constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                           GAA_FLAG_SKIP_DNS_SERVER | GAA_FLAG_SKIP_FRIENDLY_NAME;
  ULONG error = ERROR_BUFFER_OVERFLOW;
  ULONG size = lastSize.load(std::memory_order_relaxed);
  // Adapters may appear between two calls, but not for ever.
  for (int attempt = 0; attempt < 8 && error == ERROR_BUFFER_OVERFLOW; ++attempt) {
    const ULONG room = size;
    auto list = std::make_unique<std::byte[]>(room);
    error = getAdaptersAddresses(AF_UNSPEC, kFlags, nullptr,
                                 reinterpret_cast<IP_ADAPTER_ADDRESSES*>(list.get()), &size);
    if (error == NO_ERROR) {
      lastSize.store(room, std::memory_order_relaxed);
      return list;
    }
  }
  if (error == ERROR_NO_DATA) return nullptr;
  Trace("The addresses of the adapters cannot be read: %lu", error);
  throw VTSocket::VTSocketError(error);
}

void AddOnce(std::vector<AddressValue>& addresses, const AddressValue& address) {
  // The same link-local address may belong to two adapters and is one address to compare with.
  if (std::ranges::find(addresses, address) == addresses.end()) addresses.push_back(address);
}

bool IsOwn(const IP_ADAPTER_UNICAST_ADDRESS& address) {
  return address.DadState == IpDadStatePreferred || address.DadState == IpDadStateDeprecated;
}

}  // namespace

std::vector<AddressValue> LocalAddresses() {
  std::vector<AddressValue> addresses;
  const AdapterList list = ReadAdapters();
  for (auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(list.get()); adapter;
       adapter = adapter->Next) {
    for (auto* own = adapter->FirstUnicastAddress; own; own = own->Next) {
      const auto address = FromSocketAddress(own->Address.lpSockaddr);
      if (address && IsOwn(*own)) AddOnce(addresses, *address);
    }
  }
  AddressValue loopback;
  loopback.bytes = {127, 0, 0, 1};
  AddOnce(addresses, loopback);
  loopback.isIPv6 = true;
  loopback.bytes = {};
  loopback.bytes[15] = 1;
  AddOnce(addresses, loopback);
  return addresses;
}

}  // namespace vtclass::vtsocket
