// What no real network and no real cluster shows on demand: the resolver's answers, the sockets
// library's failures and a cluster's names are played here, through the DLL's imports from the
// libraries beside it.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <functional>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/answered_look_ups.h"
#include "tests/support/conversion_row.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "tests/support/mute_cluster.h"
#include "tests/support/private_registry.h"

namespace {

using namespace vtclass;
using test::ImportHook;
using test::LibraryCopy;
using test::Replace;
using VTSocket::VTIPAddress;

// What the resolver is to answer, and what it was asked.
struct Resolver {
  int status = 0;
  std::string canonicalName = "far.away.invalid";
  std::vector<const char*> addresses = {"192.0.2.1"};
  int asked = 0, released = 0;
  std::string node = "";
  timeval limit = {-1, -1};  // -1: none
};
Resolver resolver;

int Answer(const char* node, const char*, const addrinfo* hints, addrinfo** result,
           const timeval* limit) {
  EXPECT_EQ(hints->ai_flags, AI_CANONNAME);
  ++resolver.asked;
  resolver.node = node;
  resolver.limit = limit ? *limit : timeval{-1, -1};
  addrinfo** link = result;
  for (const char* address : resolver.addresses) {
    EXPECT_EQ(::getaddrinfo(address, nullptr, hints, link), 0);
    link = &(*link)->ai_next;
  }
  const auto& name = resolver.canonicalName;
  if (*result) (*result)->ai_canonname = name.empty() ? nullptr : resolver.canonicalName.data();
  return resolver.status;
}

void WSAAPI CountRelease(addrinfo*) { ++resolver.released; }

// Only 192.0.2.80 has a name.
int WSAAPI NameOf(const sockaddr* address, socklen_t, char* host, DWORD, char*, DWORD, int) {
  const bool isKnown = address->sa_data[5] == 80;
  if (isKnown) ::lstrcpyA(host, "node1.corp.invalid");
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

// What the library remembers, it learns in each test anew.
const std::vector<std::wstring> kCompanions = {L"vtsocket.dll", L"vtcluster.dll"};

// A cluster with the virtual server SQLV.corp.invalid at 192.0.2.80, 192.0.2.81 and localhost.
struct PlayedCluster : test::MuteCluster {
  static std::shared_ptr<Cluster> Instance(const wchar_t*) {
    return std::make_shared<PlayedCluster>();
  }
  static bool Yes() { return true; }
  static inline bool fails = false;
  static inline unsigned long error = 0;  // what keeps it from being read

  unsigned long GetErrorCode() const override { return error; }
  bool NetworkNameToNodeName(const std::wstring&, std::wstring& node) override {
    if (fails) throw std::bad_alloc();
    node = L"NODE1";
    return error == 0;
  }
  bool GetVirtualNameFromIp(std::wstring& name, const char* asked) override {
    const std::string text = asked;
    name = text == "nameless" ? L"" : L"SQLV.corp.invalid";
    return name.empty() || text == "sqlv" || text == "localhost" || text.starts_with("192.0.2.8");
  }
};

class ClusterNames : public ::testing::Test {
 protected:
  ClusterNames() { PlayedCluster::fails = false, PlayedCluster::error = 0; }

  LibraryCopy copy{L"vtclass_mini.dll", kCompanions};
  ImportHook<decltype(::GetProcAddress)> names{"KERNEL32.dll", "GetProcAddress", &LookUp,
                                               copy.Module()};
  ImportHook<decltype(PlayedCluster::Instance)> instance{"vtcluster.dll", "Cluster::GetInstance",
                                                         &PlayedCluster::Instance, copy.Module()};
  ImportHook<decltype(PlayedCluster::Yes)> isCluster{"vtcluster.dll", "Cluster::IsCluster",
                                                     &PlayedCluster::Yes, copy.Module()};
};

TEST_F(ClusterNames, VirtualServersAreNotThisNode) {
  const ConversionRow rows[] = {{L"\\\\sqlv\\db", 0, 0, 0, false, L"\\\\SQLV\\db"},
                                {L"sqlv", 1, 0, 0, false, L"SQLV"},
                                {L"192.0.2.80", 3, 0, 0, false, L"SQLV.corp.invalid"},
                                {L"\\\\localhost\\db", 8, 0, 0, false, L"\\\\localhost\\db"},
                                {L"sqlv", 9, 0, 0, false, L""},
                                {L"sqlv", 5, 87, 1, false, L""},
                                // What fails without the cluster's word fails with it.
                                {L"192.0.2.81", 3, WSATRY_AGAIN, 3, false, L""},
                                {L"sqlv", 8, 1, 1, false, L""},
                                {L"nameless", 3, 1, 1, false, L""},
                                {L"nameless", 9, 0, 0, false, L""}};
  for (const ConversionRow& row : rows) row.Expect(copy(&vtclass::border::VTConvertServerNamePlus));
}

// The machine has its short name for the cluster alone, as the node is called NODE1.
TEST_F(ClusterNames, NameHeldForTheCluster_IsNotTheNodes) {
  const auto inADomain = Replace<decltype(::GetComputerNameExW)>(
      "GetComputerNameExW",
      [](COMPUTER_NAME_FORMAT format, LPWSTR name, LPDWORD size) {
        if (format != ComputerNameDnsFullyQualified) {
          return ::GetComputerNameExW(format, name, size);
        }
        *size = static_cast<DWORD>(wcslen(::lstrcpyW(name, L"this.corp.example")));
        return TRUE;
      },
      copy.Module());
  wcstring own;
  ASSERT_NE(GetComputerNameInString(own), 0);
  for (const ConversionRow& row : {ConversionRow{own, 0, 0, 0, false, own},
                                   ConversionRow{L"THIS.corp.example", 0, 0, 0, true, L"NODE1"}}) {
    row.Expect(copy(&vtclass::border::VTConvertServerNamePlus));
  }
}

// The computer's name may be a virtual server's: unless the cluster has told, it is not remembered
// as the node's.
TEST_F(ClusterNames, UnreadableClusterAtTheFirstQuestion_IsAskedAgainAtTheNext) {
  const ConversionRow row = {L"127.0.0.1", 0, 0, 0, true, L"NODE1"};
  bool isLocal = false;
  unsigned long status = 0;
  wcstring first;
  PlayedCluster::error = ERROR_ACCESS_DENIED;
  const auto convert = copy(&vtclass::border::VTConvertServerNamePlus);
  convert(row.in, first, computerNameNetBIOS, false, &isLocal, &status);
  EXPECT_NE(first, row.out);
  PlayedCluster::error = 0;
  row.Expect(convert);
}

TEST_F(ClusterNames, NodeNameIntoABuffer) {
  int (*const nodeName)(wchar_t*, unsigned long*) = &GetComputerNodeName;
  const struct {
    unsigned long room;
    int result;
    const wchar_t* text;
  } rows[] = {{4, 0, L"NOD"}, {5, 0, L"NODE"}, {6, 1, L"NODE1"}, {9, 1, L"NODE1"}, {1, 0, L""}};
  for (const auto& row : rows) {
    wchar_t buffer[] = L"old text";
    unsigned long size = row.room;
    EXPECT_EQ(copy(nodeName)(buffer, &size), row.result) << row.room;
    EXPECT_EQ(wcstring(buffer), row.text);
    EXPECT_EQ(size, 5u);
  }
  wchar_t untouched = L'x';
  unsigned long none = 0;
  EXPECT_EQ(copy(nodeName)(&untouched, &none), 0);
  EXPECT_EQ(untouched, L'x');
  EXPECT_EQ(none, 5u);
}

// What fails half-way leaves nothing half-filled.
TEST_F(ClusterNames, FailuresClearTheNames) {
  using Fetch = int(const vtclass::border::WideSink&) noexcept;
  Fetch* const nodeName = &vtclass::border::GetComputerNodeName;
  wcstring out = L"old";
  EXPECT_NE(copy(nodeName)(out), 0);
  EXPECT_EQ(out, L"NODE1");
  PlayedCluster::fails = true;
  EXPECT_EQ(copy(nodeName)(out), 0);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
  EXPECT_EQ(out, L"");
  const auto nameless = Replace<int(wchar_t*, unsigned long*)>(
      "_Z17VTGetComputerNamePwPm", [](auto...) { return 0; }, copy.Module());
  for (Fetch* const fetch :
       {nodeName, static_cast<Fetch*>(&vtclass::border::GetComputerNameInString)}) {
    out = L"old";
    EXPECT_EQ(copy(fetch)(out), 0);
    EXPECT_EQ(out, L"");
  }
}

class Alias : public ::testing::Test {
 protected:
  Alias() {
    VTSocket::VTDnsResolver::GetHostByName("..localmachine");  // starts Winsock
    resolver = {};
    VTGetFQDN(own);
  }

  // The result of the question, whose answer must be this one.
  template <typename Char>
  static unsigned long Ask(const Char* name, bool expected = false) {
    bool isMe = !expected;
    const unsigned long result = IsThisAnAliasForMe(name, &isMe, nullptr);
    EXPECT_EQ(isMe, expected);
    return result;
  }

  wcstring own;
  ImportHook<decltype(Answer)> hook{"vtsocket.dll", "VTSocket::GetAddrInfoWithTimeOut", &Answer};
};

TEST_F(Alias, Answers) {
  wcstring upper = own;
  ::CharUpperBuffW(upper.data(), static_cast<DWORD>(upper.size()));
  const auto expect = [](int status, const std::string& canonicalName,
                         const std::vector<const char*>& addresses, unsigned long result,
                         bool isMe) {
    resolver = {status, canonicalName, addresses};
    EXPECT_EQ(Ask("\\\\\\alias", isMe), result);
    EXPECT_EQ(resolver.node, "\\alias") << "two backslashes are skipped, once";
    EXPECT_EQ(resolver.released, addresses.empty() ? 0 : 1);
  };
  expect(0, cstring(upper), {"192.0.2.1"}, 0, true);
  expect(0, "far", {"192.0.2.1", "127.5.5.5"}, 0, true);
  expect(0, "far", {"2001:db8::1", "192.0.2.1"}, 0, false);
  expect(0, "", {"127.0.0.1"}, 87, false);
  expect(0, "far", {}, 87, false);
  expect(WSAHOST_NOT_FOUND, "", {}, 0, false);
  expect(WSATRY_AGAIN, "", {}, WSATRY_AGAIN, false);
  Ask("\\alias");
  EXPECT_EQ(resolver.node, "\\alias") << "one alone is not";
}

TEST_F(Alias, NamesThatAreNotLookedUp) {
  char host[256] = "";
  DWORD size = sizeof(host);
  ASSERT_TRUE(::GetComputerNameExA(ComputerNameDnsHostname, host, &size));
  for (const std::string& name :
       {std::string("\\\\::1"), "\\\\" + std::string(host), std::string(cstring(own).c_str())}) {
    EXPECT_EQ(Ask(name.c_str()), 0u);
  }
  for (const char* name : {static_cast<const char*>(nullptr), "", "\\\\"}) {
    EXPECT_EQ(Ask(name), 87u);
  }
  EXPECT_EQ(IsThisAnAliasForMe("alias", nullptr, nullptr), 87u);
  EXPECT_EQ(Ask(static_cast<const wchar_t*>(nullptr)), 87u);
  // Not in code page 1252: Chinese, a look-alike that would become "a", half a character.
  if (::GetACP() == 1252) {
    for (const wchar_t* name : {L"\x4E2D", L"\xFF41lias", L"alias\xD800"}) {
      EXPECT_EQ(Ask(name), 0xFFFFFFFFu);
    }
  }
  EXPECT_EQ(resolver.asked, 0);
}

// A copy of the library, which has read no limit yet.
class Timeout : public Alias {
 protected:
  // The microseconds that the resolver gets; -1: no limit.
  long LimitOf(int timeout) {
    bool isMe = false;
    copy (&IsThisMeEx)(L"alias", &isMe, false, timeout);
    EXPECT_LE(resolver.limit.tv_sec, 0);
    return resolver.limit.tv_usec;
  }

  test::PrivateRegistry registry;
  const std::wstring key = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Network\\TcpIp";
  LibraryCopy copy{L"vtclass_mini.dll", kCompanions};
  ImportHook<decltype(::GetProcAddress)> names{"KERNEL32.dll", "GetProcAddress", &LookUp,
                                               copy.Module()};
  ImportHook<decltype(Answer)> answer{"vtsocket.dll", "VTSocket::GetAddrInfoWithTimeOut", &Answer,
                                      copy.Module()};
};

TEST_F(Timeout, GoesIntoTheMicroseconds_AndIsReadOnce) {
  test::MakeKey(key);
  EXPECT_EQ(LimitOf(-1), -1) << "no limit";
  EXPECT_EQ(LimitOf(1234), 1234000);
  EXPECT_EQ(test::StoredValue(key, L"DnsQueryTimeOut"), "") << "not asked for yet";
  EXPECT_EQ(LimitOf(0), 5000000);
  EXPECT_EQ(test::StoredValue(key, L"DnsQueryTimeOut"), std::string("\x88\x13\0\0", 4))
      << "the missing value is written back as 5000";
  test::StoreValue(key, L"DnsQueryTimeOut", REG_DWORD, "\xE8\3\0\0", 4);
  EXPECT_EQ(LimitOf(0), 5000000) << "read once in a process";
}

TEST_F(Timeout, MissingKey_IsNotMade) {
  EXPECT_EQ(LimitOf(0), 5000000);
  EXPECT_FALSE(test::KeyExists(key));
}

TEST_F(Timeout, StoredLimit_CountsWhereTheKeyMayNotBeWritten) {
  const std::string seconds("\xD0\7\0\0", 4);
  test::MakeKey(key);
  test::StoreValue(key, L"DnsQueryTimeOut", REG_DWORD, seconds.data(), 4);
  const auto readOnly = Replace<decltype(::RegOpenKeyExW)>(
      "RegOpenKeyExW",
      [](HKEY parent, LPCWSTR name, DWORD options, REGSAM rights, PHKEY opened) -> LSTATUS {
        if (rights & (KEY_SET_VALUE | KEY_CREATE_SUB_KEY)) return ERROR_ACCESS_DENIED;
        return ::RegOpenKeyExW(parent, name, options, rights, opened);
      },
      copy.Module());
  EXPECT_EQ(LimitOf(0), 2000000);
  EXPECT_EQ(test::StoredValue(key, L"DnsQueryTimeOut"), seconds);
}

TEST_F(Alias, FailuresOfTheSystem_AreTheResult) {
  const auto down = Replace<RefPointer<VTSocket::VTHostEntries>(const char*)>(
      "VTSocket::VTDnsResolver::GetHostByName", [](auto) -> RefPointer<VTSocket::VTHostEntries> {
        throw VTSocket::VTSocketError(WSAENETDOWN);
      });
  bool isMe = false;
  EXPECT_EQ(Ask("alias"), static_cast<unsigned long>(WSAENETDOWN));
  EXPECT_EQ(resolver.released, 1);
  EXPECT_EQ(IsLocalIPAddress(VTIPAddress::CreateIPAddress(L"::1"), &isMe),
            static_cast<unsigned long>(WSAENETDOWN));
  EXPECT_EQ(GetAnyIpAddress(L"localhost"), L"");
  EXPECT_FALSE(IsIpAddrLocal(L"127.0.0.1"));

  // What is known without this machine's addresses is known with steps, too.
  resolver = {0, "far", {"127.5.5.5"}};
  std::vector<Step> steps;
  EXPECT_EQ(Ask("alias", true), 0u);
  EXPECT_EQ(IsThisMeExWithSteps(L"alias", &isMe, false, -1, steps), 0u);
  EXPECT_TRUE(isMe);
  EXPECT_EQ(steps.back().what, stepDnsAddress);
  EXPECT_EQ(steps.back().answer, 1u);
  resolver = {};

  const auto nameless = Replace<decltype(::GetComputerNameExW)>(
      "GetComputerNameExW", [](auto...) { return ::SetLastError(ERROR_MORE_DATA), FALSE; });
  wcstring name = L"old";
  EXPECT_EQ(VTGetFQDN(name), static_cast<unsigned long>(ERROR_MORE_DATA));
  EXPECT_EQ(name, L"old");
  EXPECT_EQ(Ask("alias"), static_cast<unsigned long>(ERROR_MORE_DATA));
  EXPECT_EQ(resolver.asked, 0);
}

// Each question, with its first, second, third, ... allocation failing.
TEST_F(Alias, OutOfMemory_IsEight) {
  const wcstring name = L"\\\\a-rather-long-name.far.away.invalid\\share";
  bool isMe = false;
  wcstring out;
  unsigned long status = 0;
  const std::function<unsigned long()> questions[] = {
      [&] { return IsThisAnAliasForMe(name.c_str(), &isMe, nullptr); },
      [&] { return IsThisMe(name, &isMe, true); },
      [&] {
        return VTConvertServerNamePlus(name, out, computerNameDnsFullyQualified, true, &isMe,
                                       &status);
      }};
  for (const auto& question : questions) {
    question();  // loads what loads once
    unsigned long result = 0;
    const auto ask = [&] { isMe = true, result = question(); };
    const auto check = [&](bool failed) {
      if (failed) EXPECT_EQ(result, 8u);
      EXPECT_FALSE(isMe);
    };
    EXPECT_GT(test::TryEachAllocation(ask, check), 0);
  }
  EXPECT_EQ(resolver.released, resolver.asked);
}

}  // namespace
