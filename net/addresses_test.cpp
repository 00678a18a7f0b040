// What the resolver and the adapters say is played here.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

#include "tests/support/answered_look_ups.h"
#include "tests/support/import_hook.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;
using VTSocket::AddressFamily;
using VTSocket::VTIPAddress;

using Addresses = std::vector<RefPointer<VTIPAddress>>;
Addresses ofMachine;  // for "..localmachine"
Addresses ofHost;     // for every other name
AddressFamily preferred;

class Walk final : public VTSocket::VTAddressEnumerator {
 public:
  explicit Walk(const Addresses& addresses) : addresses(addresses) {}
  bool MoveNext() override { return at < addresses.size() && ++at <= addresses.size(); }
  void Reset() override { at = 0; }
  RefPointer<VTIPAddress> GetAddress() const override { return addresses[at - 1]; }

 private:
  const Addresses addresses;
  std::size_t at = 0;
};

class Entries final : public VTSocket::VTHostEntries {
 public:
  explicit Entries(const Addresses& addresses) : addresses(addresses), list(addresses.size()) {
    for (std::size_t i = 0; i < list.size(); ++i) {
      addresses[i]->GetSocketAddress(list[i].address, 0);
      list[i].info.ai_family = list[i].address.ss_family;
      list[i].info.ai_addrlen = list[i].info.ai_family == AF_INET6 ? 28 : 16;
      list[i].info.ai_addr = reinterpret_cast<sockaddr*>(&list[i].address);
      if (i > 0) list[i - 1].info.ai_next = &list[i].info;
    }
    if (!list.empty()) list[0].info.ai_canonname = canonicalName;
  }
  bool HasEntries() const override { return !list.empty(); }
  addrinfo* List() { return list.empty() ? nullptr : &list[0].info; }
  const addrinfo* GetAddressList() const override { return &list.at(0).info; }
  RefPointer<VTSocket::VTAddressEnumerator> GetAddressEnumerator(AddressFamily) override {
    return new Walk(addresses);
  }

 private:
  struct Entry {
    addrinfo info{};
    sockaddr_storage address{};
  };
  const Addresses addresses;
  std::vector<Entry> list;
  char canonicalName[12] = "far.invalid";
};
RefPointer<Entries> answered;

RefPointer<VTSocket::VTHostEntries> GetHostByName(const char* name) {
  return new Entries(std::string(name) == "..localmachine" ? ofMachine : ofHost);
}
int GetAddrInfo(const char*, const char*, const addrinfo*, addrinfo** result, const timeval*) {
  answered = new Entries(ofHost);
  *result = answered->List();
  return 0;
}

class PlayedAddresses : public ::testing::Test {
 protected:
  ~PlayedAddresses() override {
    ofMachine.clear();
    ofHost.clear();
    answered = nullptr;
  }

  // The addresses between the blanks.
  static Addresses Parse(const std::wstring& texts) {
    Addresses addresses;
    for (std::size_t from = 0; from < texts.size();) {
      const std::size_t end = std::min(texts.find(L' ', from), texts.size());
      addresses.push_back(VTIPAddress::CreateIPAddress(texts.substr(from, end - from).c_str()));
      from = end + 1;
    }
    return addresses;
  }

  test::ImportHook<decltype(GetHostByName)> byName{
      "vtsocket.dll", "VTSocket::VTDnsResolver::GetHostByName", &GetHostByName};
  test::ImportHook<AddressFamily()> choice{
      "vtsocket.dll", "VTSocket::SocketServices::GetProtocolOfChoice", [] { return preferred; }};
  test::ImportHook<decltype(GetAddrInfo)> withLimit{
      "vtsocket.dll", "VTSocket::GetAddrInfoWithTimeOut", &GetAddrInfo};
};

TEST_F(PlayedAddresses, AnyAddress_IsOfThePreferredFamilyThenOfUse) {
  const struct {
    AddressFamily preferred;
    const wchar_t* addresses;
    const wchar_t* chosen;
  } rows[] = {{AddressFamily::IPv4, L"2001:db8::1 127.0.0.1 10.0.0.1 10.0.0.2", L"10.0.0.1"},
              {AddressFamily::IPv4, L"127.0.0.1 169.254.0.1 224.0.0.1 10.0.0.1", L"10.0.0.1"},
              {AddressFamily::IPv4, L"2001:db8::1 fe80::1 169.254.0.1 127.0.0.1", L"169.254.0.1"},
              {AddressFamily::IPv4, L"fe80::1 2001:db8::1", L"2001:db8::1"},
              {AddressFamily::IPv4, L"ff02::1 ::1", L"ff02::1"},
              {AddressFamily::IPv6, L"10.0.0.1 2001:db8::1", L"2001:db8::1"},
              {AddressFamily::IPv6, L"10.0.0.1 ::1", L"::1"},
              {AddressFamily::IPv6,
               L"::1 fe80::1 2001:db8::5efe:1.2.3.4 ff02::1 ::1.2.3.4 ::ffff:1.2.3.4 2001:db8::1",
               L"2001:db8::1"},
              {AddressFamily::IPv6, L"169.254.0.1 10.0.0.1", L"10.0.0.1"},
              {AddressFamily::IPv6, L"", L""}};
  for (const auto& row : rows) {
    preferred = row.preferred;
    ofHost = Parse(row.addresses);
    EXPECT_EQ(GetAnyIpAddress(L"\\\\host\\share"), row.chosen);
  }
}

TEST_F(PlayedAddresses, OwnAddress_IsEqualInAllItsBits) {
  const struct {
    const wchar_t* machine;
    const wchar_t* host;
    bool isMe;
  } rows[] = {{L"10.0.0.1 2001:db8::7", L"2001:db8::7", true},
              {L"10.0.0.1 2001:db8::7", L"2001:db8::8", false},
              {L"2001:db8::7", L"2001:db9::7", false},
              {L"fe80::1%3", L"fe80::1%4", true},
              {L"10.0.0.1 10.0.0.7", L"192.0.2.1 10.0.0.7", true},
              {L"10.0.0.1", L"10.0.0.2", false},
              {L"10.0.0.1", L"11.0.0.1", false},
              {L"10.0.0.1", L"::ffff:10.0.0.1", false},
              {L"", L"10.0.0.1", false}};
  for (const auto& row : rows) {
    ofMachine = Parse(row.machine);
    ofHost = Parse(row.host);
    bool isMe = !row.isMe;
    EXPECT_EQ(IsThisAnAliasForMe("alias", &isMe, nullptr), 0u);
    EXPECT_EQ(isMe, row.isMe) << "alias";
    isMe = false;
    EXPECT_EQ(IsLocalIPAddress(ofHost.back(), &isMe), row.isMe ? 0u : 1u);
    EXPECT_EQ(isMe, row.isMe) << "address";
  }
}

void WINAPI Keep(addrinfo*) {}
FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  if (!IS_INTRESOURCE(name) && std::string(name) == "freeaddrinfo")
    return std::bit_cast<FARPROC>(&Keep);
  return ::GetProcAddress(module, name);
}
[[maybe_unused]] auto* const lookUps = test::AnswerLookUps(&LookUp);

}  // namespace
