/*
 * What no real network and no real cluster shows on demand: the resolver's answers, the sockets
 * library's failures and a cluster's names are played here, through the DLL's imports from the
 * libraries beside it.
 */
#include <gtest/gtest.h>
#include <vtcluster/vtcluster.h>

#include <bit>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/answered_look_ups.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;
using test::ImportHook;
using VTSocket::VTIPAddress;

constexpr char kGetAddrInfo[] =
    "_ZN8VTSocket22GetAddrInfoWithTimeOutEPKcS1_PK8addrinfoPPS2_PK7timeval";
constexpr char kGetHostByName[] = "_ZN8VTSocket13VTDnsResolver13GetHostByNameEPKc";

// What the resolver is to answer, and what it was asked.
struct Resolver {
  int status = 0;
  std::string canonicalName;
  std::vector<sockaddr_storage> addresses;
  std::vector<addrinfo> list;
  int asked = 0;
  int released = 0;
  std::string node;
  std::optional<timeval> limit;
};
Resolver resolver;

int Answer(const char* node, const char*, const addrinfo* hints, addrinfo** result,
           const timeval* limit) {
  ++resolver.asked;
  resolver.node = node;
  resolver.limit = limit ? std::optional(*limit) : std::nullopt;
  EXPECT_EQ(hints->ai_flags, AI_CANONNAME);
  if (resolver.status != 0) return resolver.status;
  resolver.list.assign(resolver.addresses.size(), {});
  for (size_t i = 0; i < resolver.list.size(); ++i) {
    addrinfo& entry = resolver.list[i];
    auto* const address = reinterpret_cast<sockaddr*>(&resolver.addresses[i]);
    entry.ai_family = address->sa_family;
    entry.ai_addrlen = address->sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    entry.ai_addr = address;
    if (i + 1 < resolver.list.size()) entry.ai_next = &resolver.list[i + 1];
  }
  if (!resolver.canonicalName.empty() && !resolver.list.empty()) {
    resolver.list[0].ai_canonname = resolver.canonicalName.data();
  }
  *result = resolver.list.empty() ? nullptr : resolver.list.data();
  return 0;
}

void WSAAPI CountRelease(addrinfo*) { ++resolver.released; }

// Only 192.0.2.80 has a name.
int WSAAPI NameOf(const sockaddr* address, socklen_t, char* host, DWORD, char*, DWORD, int) {
  const bool isKnown = address->sa_data[5] == 80;
  if (isKnown) std::strcpy(host, "node1.corp.invalid");
  ::SetLastError(isKnown ? 0 : WSATRY_AGAIN);
  return isKnown ? 0 : EAI_AGAIN;
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  if (IS_INTRESOURCE(name)) return ::GetProcAddress(module, name);
  if (std::strcmp(name, "freeaddrinfo") == 0) return std::bit_cast<FARPROC>(&CountRelease);
  if (std::strcmp(name, "getnameinfo") == 0) return std::bit_cast<FARPROC>(&NameOf);
  return ::GetProcAddress(module, name);
}
[[maybe_unused]] auto* const lookUps = test::AnswerLookUps(&LookUp);

RefPointer<VTSocket::VTHostEntries> NoNetwork(const char*) {
  throw VTSocket::VTSocketError(WSAENETDOWN);
}

sockaddr_storage AddressOf(const wchar_t* text) {
  sockaddr_storage address = {};
  VTIPAddress::CreateIPAddress(text)->GetSocketAddress(address, 0);
  return address;
}

// A cluster with the virtual server SQLV.corp.invalid at 192.0.2.80, 192.0.2.81 and localhost.
class PlayedCluster : public Cluster {
 public:
  static std::shared_ptr<Cluster> Instance(const wchar_t*) {
    return std::make_shared<PlayedCluster>();
  }
  static bool Yes() { return true; }

  bool Open() override { return true; }
  int GetClusterType() override { return windowsCluster; }
  std::wstring GetClusterName() override { return L"CLUSTER"; }
  bool GetBeActiveNodeName(std::wstring&) override { return false; }
  bool NetworkNameToNodeName(const std::wstring&, std::wstring& node) override {
    node = L"NODE1";
    return true;
  }
  bool GetVirtualNameFromIp(std::wstring& name, const char* asked) override {
    const std::string text = asked;
    const bool isNameless = text == "nameless";
    name = isNameless ? L"" : L"SQLV.corp.invalid";
    return isNameless || text == "sqlv" || text == "localhost" || text.starts_with("192.0.2.8");
  }
  bool GetVtVirtualServerName(const std::wstring&, std::wstring&) override { return false; }
  appState IsServerRunningSQL(const wchar_t*, bool*) override { return noAnswer; }
  appState IsServerRunningExchange(const wchar_t*, bool*) override { return noAnswer; }
};

// The first test, because the node's name is remembered from then on.
TEST(ClusterNames, VirtualServersAreNotThisNode) {
  const ImportHook<decltype(PlayedCluster::Instance)> instance(
      "vtcluster.dll", "_ZN7Cluster11GetInstanceEPKw", &PlayedCluster::Instance);
  const ImportHook<decltype(PlayedCluster::Yes)> isCluster(
      "vtcluster.dll", "_ZN7Cluster9IsClusterEv", &PlayedCluster::Yes);
  wcstring own;
  wcstring full;
  ASSERT_NE(GetComputerNameInString(own), 0);
  ASSERT_EQ(VTGetFQDN(full), 0u);
  const bool isFull = _wcsicmp(own.c_str(), full.c_str()) == 0;
  const struct {
    wcstring in;
    int format;
    unsigned long result, status;
    wcstring out;
  } rows[] = {{L"\\\\sqlv\\db", 0, 0, 0, L"\\\\SQLV\\db"},
              {L"sqlv", 1, 0, 0, L"SQLV"},
              {L"192.0.2.80", 3, 0, 0, L"SQLV.corp.invalid"},
              {L"\\\\localhost\\db", 8, 0, 0, L"\\\\localhost\\db"},
              // What fails without the cluster's word fails with it.
              {L"192.0.2.81", 3, WSATRY_AGAIN, 3, L""},
              {L"sqlv", 8, 1, 1, L""},
              {L"sqlv", 9, 0, 0, L""},
              {L"sqlv", 5, 87, 1, L""},
              {L"nameless", 3, 1, 1, L""},
              {L"nameless", 9, 0, 0, L""},
              // Held for the cluster, as the node is called NODE1; unless it has no domain.
              {own, 0, 0, 0, isFull ? L"NODE1" : own}};
  for (const auto& row : rows) {
    wcstring out;
    bool isLocal = true;
    unsigned long status = 99;
    EXPECT_EQ(VTConvertServerNamePlus(row.in, out,
                                      static_cast<vtclass::_COMPUTER_NAME_FORMAT>(row.format), true,
                                      &isLocal, &status),
              row.result);
    EXPECT_EQ(status, row.status);
    EXPECT_EQ(isLocal, isFull && row.in == own);
    EXPECT_EQ(out, row.out);
  }
  wchar_t buffer[4] = L"old";
  unsigned long size = ARRAYSIZE(buffer);
  EXPECT_EQ(GetComputerNodeName(buffer, &size), 0);
  EXPECT_EQ(wcstring(buffer), L"NOD");
  EXPECT_EQ(size, 5u);
}

class Alias : public ::testing::Test {
 protected:
  Alias() {
    resolver = {};
    resolver.canonicalName = "far.away.invalid";
    resolver.addresses = {AddressOf(L"192.0.2.1")};
    VTGetFQDN(own);
  }

  unsigned long Ask(const char* name, bool& isMe) {
    isMe = true;
    return IsThisAnAliasForMe(name, &isMe, nullptr);
  }

  wcstring own;
  ImportHook<decltype(Answer)> hook{"vtsocket.dll", kGetAddrInfo, &Answer};
};

TEST_F(Alias, Answers) {
  wcstring upper = own;
  ::CharUpperBuffW(upper.data(), static_cast<DWORD>(upper.size()));
  const char* const foreign = "far.away.invalid";
  const struct {
    int status;
    std::string canonicalName;
    std::vector<const wchar_t*> addresses;
    unsigned long result;
    bool isMe;
  } rows[] = {{0, cstring(upper), {L"192.0.2.1"}, 0, true},
              {0, foreign, {L"192.0.2.1", L"127.5.5.5"}, 0, true},
              {0, foreign, {L"2001:db8::1", L"::1"}, 0, true},
              {0, foreign, {L"2001:db8::1", L"192.0.2.1"}, 0, false},
              {0, "", {L"127.0.0.1"}, 87, false},
              {0, foreign, {}, 87, false},
              {WSAHOST_NOT_FOUND, "", {}, 0, false},
              {WSATRY_AGAIN, "", {}, WSATRY_AGAIN, false},
              {WSAETIMEDOUT, "", {}, WSAETIMEDOUT, false}};
  int lists = 0;
  for (const auto& row : rows) {
    resolver.status = row.status;
    resolver.canonicalName = row.canonicalName;
    resolver.addresses.clear();
    for (const wchar_t* text : row.addresses) resolver.addresses.push_back(AddressOf(text));
    lists += row.addresses.empty() ? 0 : 1;
    bool isMe = false;
    EXPECT_EQ(Ask("alias", isMe), row.result);
    EXPECT_EQ(isMe, row.isMe);
  }
  EXPECT_EQ(resolver.released, lists);
}

TEST_F(Alias, NamesThatAreNotLookedUp) {
  char host[256] = "";
  DWORD size = sizeof(host);
  ASSERT_TRUE(::GetComputerNameExA(ComputerNameDnsHostname, host, &size));
  bool isMe = true;
  for (const std::string& name :
       {std::string("127.0.0.1"), std::string("\\\\::1"), std::string(host),
        "\\\\" + std::string(host), std::string(cstring(own))}) {
    EXPECT_EQ(Ask(name.c_str(), isMe), 0u);
    EXPECT_FALSE(isMe);
  }
  for (const char* name : {static_cast<const char*>(nullptr), "", "\\\\"}) {
    EXPECT_EQ(Ask(name, isMe), 87u);
    EXPECT_FALSE(isMe);
  }
  EXPECT_EQ(IsThisAnAliasForMe("alias", nullptr, nullptr), 87u);
  EXPECT_EQ(IsThisAnAliasForMe(static_cast<const wchar_t*>(nullptr), &isMe, nullptr), 87u);
  // Not in code page 1252: Chinese, a look-alike that would become "a", half a character.
  if (::GetACP() == 1252) {
    for (const wchar_t* name : {L"\x4E2D", L"\xFF41lias", L"alias\xD800"}) {
      isMe = true;
      EXPECT_EQ(IsThisAnAliasForMe(name, &isMe, nullptr), 0xFFFFFFFFu);
      EXPECT_FALSE(isMe);
    }
  }
  EXPECT_EQ(resolver.asked, 0);
  EXPECT_EQ(IsThisAnAliasForMe(L"\\\\\\alias", &isMe, nullptr), 0u);
  EXPECT_EQ(resolver.node, "\\alias") << "two backslashes are skipped, once";
}

TEST_F(Alias, TimeOut_GoesIntoTheMicroseconds_AndIsReadOnce) {
  const test::PrivateRegistry registry;
  const std::wstring key = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Network\\TcpIp";
  test::MakeKey(key);
  bool isMe = false;
  const auto limitOf = [&](int timeOut) {
    IsThisMeEx(L"alias", &isMe, false, timeOut);
    return resolver.limit ? resolver.limit->tv_usec : -1;
  };
  EXPECT_EQ(limitOf(1234), 1234000);
  EXPECT_EQ(limitOf(-1), -1) << "no limit";
  EXPECT_EQ(limitOf(0), 5000000);
  DWORD stored = 0;
  std::memcpy(&stored, test::StoredValue(key, L"DnsQueryTimeOut").data(), sizeof(stored));
  EXPECT_EQ(stored, 5000u) << "the missing value is written back";
  stored = 1000;
  test::StoreValue(key, L"DnsQueryTimeOut", REG_DWORD, &stored, sizeof(stored));
  EXPECT_EQ(limitOf(0), 5000000) << "read once in a process";
  EXPECT_EQ(resolver.limit->tv_sec, 0);
}

TEST_F(Alias, SocketError_IsTheResult) {
  const ImportHook<decltype(NoNetwork)> down("vtsocket.dll", kGetHostByName, &NoNetwork);
  bool isMe = false;
  EXPECT_EQ(Ask("alias", isMe), static_cast<unsigned long>(WSAENETDOWN));
  EXPECT_EQ(resolver.released, 1);
  EXPECT_EQ(IsLocalIPAddress(VTIPAddress::CreateIPAddress(L"::1"), &isMe),
            static_cast<unsigned long>(WSAENETDOWN));
  EXPECT_EQ(GetAnyIpAddress(L"localhost"), L"");
  EXPECT_FALSE(IsIpAddrLocal(L"127.0.0.1"));
}

TEST_F(Alias, NoFullyQualifiedName_IsTheResult) {
  const ImportHook<decltype(::GetComputerNameExW)> hooked(
      "KERNEL32.dll", "GetComputerNameExW", [](COMPUTER_NAME_FORMAT, LPWSTR, LPDWORD) -> BOOL {
        ::SetLastError(ERROR_MORE_DATA);
        return FALSE;
      });
  wcstring name = L"old";
  EXPECT_EQ(VTGetFQDN(name), static_cast<unsigned long>(ERROR_MORE_DATA));
  EXPECT_EQ(name, L"old");
  bool isMe = false;
  EXPECT_EQ(Ask("alias", isMe), static_cast<unsigned long>(ERROR_MORE_DATA));
  EXPECT_EQ(resolver.asked, 0);
}

// Each question, with its first, second, third, ... allocation failing.
TEST_F(Alias, OutOfMemory_IsEight) {
  const wcstring name = L"\\\\a-rather-long-name.far.away.invalid\\share";
  bool isMe = false;
  const auto alias = [&] { return IsThisAnAliasForMe(name.c_str(), &isMe, nullptr); };
  const auto fast = [&] { return IsThisMe(name, &isMe, true); };
  const auto convert = [&] {
    wcstring out;
    unsigned long status = 0;
    return VTConvertServerNamePlus(name, out, computerNameDnsFullyQualified, true, &isMe, &status);
  };
  const std::function<unsigned long()> questions[] = {alias, fast, convert};
  for (const auto& question : questions) {
    question();  // loads what loads once
    resolver.asked = resolver.released = 0;
    long failed = 0;
    for (bool more = true; more; ++failed) {
      test::Allocations allocations;
      allocations.FailAt(failed + 1);
      isMe = true;
      const unsigned long result = question();
      more = allocations.Failed();
      if (more) EXPECT_EQ(result, 8u) << "allocation " << failed + 1;
      EXPECT_FALSE(isMe);
    }
    EXPECT_GT(failed, 1);
    EXPECT_EQ(resolver.released, resolver.asked);
  }
}

}  // namespace
