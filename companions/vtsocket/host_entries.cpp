#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "companions/vtsocket/ip_address.h"
#include "companions/vtsocket/local_addresses.h"
#include "companions/vtsocket/socket_address.h"
#include "companions/vtsocket/winsock.h"
#include "vtsocket/vtsocket.h"

namespace vtclass::vtsocket {
namespace {

using VTSocket::AddressFamily;
using VTSocket::VTAddressEnumerator;
using VTSocket::VTHostEntries;
using VTSocket::VTIPAddress;

// Owns the entries that it walks: they live as long as one of their enumerators.
class AddressEnumerator final : public VTAddressEnumerator {
 public:
  AddressEnumerator(RefPointer<VTHostEntries> entries, AddressFamily family)
      : entries(std::move(entries)), family(family), next(this->entries->GetAddressList()) {}

  bool MoveNext() override {
    for (current.reset(); next && !current; next = next->ai_next) {
      if (family != AddressFamily::Any && next->ai_family != static_cast<int>(family)) continue;
      current = FromSocketAddress(next->ai_addr);
    }
    return current.has_value();
  }

  void Reset() override {
    current.reset();
    next = entries->GetAddressList();
  }

  RefPointer<VTIPAddress> GetAddress() const override {
    return current ? MakeAddress(*current) : nullptr;
  }

 private:
  const RefPointer<VTHostEntries> entries;
  const AddressFamily family;
  const addrinfo* next;
  std::optional<AddressValue> current;
};

class HostEntries : public VTHostEntries {
 public:
  bool HasEntries() const override { return GetAddressList() != nullptr; }

  RefPointer<VTAddressEnumerator> GetAddressEnumerator(AddressFamily family) override {
    return new AddressEnumerator(this, family);
  }
};

// What the resolver answered.
class ResolvedEntries final : public HostEntries {
 public:
  ~ResolvedEntries() override { FreeAddrInfo(list); }
  addrinfo** Receive() { return &list; }
  const addrinfo* GetAddressList() const override { return list; }

 private:
  addrinfo* list = nullptr;
};

// The machine's own addresses, as a list of the resolver's form.
class LocalEntries final : public HostEntries {
 public:
  explicit LocalEntries(const std::vector<AddressValue>& addresses) : entries(addresses.size()) {
    addrinfo** link = &first;
    for (std::size_t index = 0; index < addresses.size(); ++index) {
      Entry& entry = entries[index];
      const int size = ToSocketAddress(addresses[index], 0, entry.address);
      entry.info.ai_family = entry.address.ss_family;
      entry.info.ai_socktype = SOCK_STREAM;
      entry.info.ai_protocol = IPPROTO_TCP;
      entry.info.ai_addrlen = static_cast<std::size_t>(size);
      entry.info.ai_addr = reinterpret_cast<sockaddr*>(&entry.address);
      *link = &entry.info;
      link = &entry.info.ai_next;
    }
  }
  const addrinfo* GetAddressList() const override { return first; }

 private:
  struct Entry {
    addrinfo info{};
    sockaddr_storage address{};
  };
  std::vector<Entry> entries;
  addrinfo* first = nullptr;
};

RefPointer<VTHostEntries> Resolve(const char* name) {
  addrinfo hints{};
  // One entry an address, not one for each kind of socket.
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  RefPointer<ResolvedEntries> entries(new ResolvedEntries);
  const int error = GetAddrInfo(name, nullptr, &hints, entries->Receive());
  if (error == 0) return entries;
  Trace("The host name \"%s\" cannot be resolved: %lu", name, static_cast<unsigned long>(error));
  throw VTSocket::VTSocketError(static_cast<unsigned long>(error));
}

}  // namespace
}  // namespace vtclass::vtsocket

namespace VTSocket {

RefPointer<VTHostEntries> VTDnsResolver::GetHostByName(const char* name) {
  using namespace vtclass::vtsocket;
  if (!name) name = "";
  if (std::strcmp(name, "..localmachine") == 0) {
    // Whoever holds these addresses may go on to Winsock itself; without it, only that fails.
    StartWinsock();
    return new LocalEntries(LocalAddresses());
  }
  return Resolve(name);
}

}  // namespace VTSocket
