#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/network/network_names.h"
#include "vtsocket/vtsocket.h"

namespace {

using namespace VTSocket;
using vtclass::test::NetworkName;

class ResolverInNetwork : public vtclass::test::NetworkTest {
 protected:
  struct Answer {
    int error;
    ULONGLONG milliseconds;
    std::string canonicalName;
    std::string addresses;
  };

  static Answer Ask(const std::string& role, int limit) {
    const timeval time{0, limit * 1000};
    addrinfo hints{};
    hints.ai_flags = AI_CANONNAME;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    addrinfo* list = nullptr;
    const ULONGLONG start = ::GetTickCount64();
    Answer answer{};
    answer.error = GetAddrInfoWithTimeOut(NetworkName(role).c_str(), nullptr, &hints, &list, &time);
    answer.milliseconds = ::GetTickCount64() - start;
    if (list && list->ai_canonname) answer.canonicalName = list->ai_canonname;
    for (auto* entry = list; entry; entry = entry->ai_next) {
      char text[64] = "";
      ::getnameinfo(entry->ai_addr, static_cast<int>(entry->ai_addrlen), text, sizeof(text),
                    nullptr, 0, NI_NUMERICHOST);
      answer.addresses += std::string(text) + ";";
    }
    if (list) ::freeaddrinfo(list);
    return answer;
  }

  static std::set<std::wstring> Addresses(const char* name) {
    const auto each = VTDnsResolver::GetHostByName(name)->GetAddressEnumerator(AddressFamily::Any);
    std::set<std::wstring> texts;
    while (each->MoveNext()) texts.insert(each->GetAddress()->ToString());
    return texts;
  }
};

TEST_F(ResolverInNetwork, Names_HaveTheServersAddresses) {
  const struct {
    const char *role, *canonicalName, *addresses;
  } kCases[] = {{"FOREIGN", "other.corp.example", "10.9.8.99;"},
                {"LOOP_ALIAS", "loop.corp.example", "127.0.0.1;"},
                {"ADDRESS", "stack.corp.example", "10.9.8.7;"},
                {"IPV6_ONLY", "six.corp.example", "fd00:9::99;"}};
  for (const auto& c : kCases) {
    const Answer answer = Ask(c.role, 60'000);
    EXPECT_EQ(answer.error, 0) << c.role;
    EXPECT_EQ(answer.canonicalName, c.canonicalName);
    EXPECT_EQ(answer.addresses, c.addresses);
  }
  EXPECT_EQ(Ask("CASE_ALIAS", 60'000).canonicalName, "SRV7.Corp.EXAMPLE");
  EXPECT_EQ(Addresses(NetworkName("IPV6_ONLY").c_str()), std::set<std::wstring>{L"fd00:9::99"});
}

TEST_F(ResolverInNetwork, Failures_HaveTheResolversCodes) {
  EXPECT_EQ(Ask("BROKEN", 60'000).error, WSATRY_AGAIN);
  const timeval limit{60, 0};
  addrinfo* list = nullptr;
  EXPECT_EQ(GetAddrInfoWithTimeOut("nobody.corp.example", nullptr, nullptr, &list, &limit),
            WSAHOST_NOT_FOUND);
}

// No host answers here within the limit, and a busy machine adds little to two seconds.
TEST_F(ResolverInNetwork, NoAnswer_CostsTheLimitWithinATenth) {
  const Answer answer = Ask("NEVER", 2000);
  EXPECT_EQ(answer.error, WSAETIMEDOUT);
  EXPECT_GE(answer.milliseconds, 2000u);
  EXPECT_LE(answer.milliseconds, 2200u);
}

TEST_F(ResolverInNetwork, LateAnswer_IsMissedByTheImpatientOnly) {
  EXPECT_EQ(Ask("LATE", 300).error, WSAETIMEDOUT);
  const Answer answer = Ask("LATE", 60'000);
  EXPECT_EQ(answer.addresses, "10.9.8.50;");
  EXPECT_GE(answer.milliseconds, 1000u) << "the server is to be late";
}

TEST_F(ResolverInNetwork, LocalMachine_HasTheAddressesOfThisNetwork) {
  EXPECT_EQ(Addresses("..localmachine"),
            (std::set<std::wstring>{L"10.9.8.7", L"127.0.0.1", L"::1", L"fd00:9::7"}));
  EXPECT_EQ(SocketServices::GetProtocolOfChoice(), AddressFamily::IPv4);
}

}  // namespace
