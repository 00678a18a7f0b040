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
  /* The error, or the canonical name and the first address. */
  static std::string Ask(const std::string& name, int limit) {
    const timeval time{0, limit * 1000};
    addrinfo hints{};
    hints.ai_flags = AI_CANONNAME;
    addrinfo* list = nullptr;
    const int error = GetAddrInfoWithTimeOut(name.c_str(), nullptr, &hints, &list, &time);
    if (error != 0) return std::to_string(error);
    char text[64] = "";
    ::getnameinfo(list->ai_addr, static_cast<int>(list->ai_addrlen), text, sizeof(text), nullptr, 0,
                  NI_NUMERICHOST);
    const std::string answer = std::string(list->ai_canonname) + " " + text;
    ::freeaddrinfo(list);
    return answer;
  }

  static std::set<std::wstring> Addresses(const char* name) {
    const auto each = VTDnsResolver::GetHostByName(name)->GetAddressEnumerator(AddressFamily::Any);
    std::set<std::wstring> texts;
    while (each->MoveNext()) texts.insert(each->GetAddress()->ToString());
    return texts;
  }
};

TEST_F(ResolverInNetwork, Names_HaveTheServersAnswers) {
  const char* const kCases[][2] = {
      {"FOREIGN", "other.corp.example 10.9.8.99"},   {"LOOP_ALIAS", "loop.corp.example 127.0.0.1"},
      {"ADDRESS", "stack.corp.example 10.9.8.7"},    {"IPV6_ONLY", "six.corp.example fd00:9::99"},
      {"CASE_ALIAS", "SRV7.Corp.EXAMPLE fd00:9::7"}, {"BROKEN", "11002"}};
  for (const auto& [role, answer] : kCases) EXPECT_EQ(Ask(NetworkName(role), 60'000), answer);
  EXPECT_EQ(Ask("nobody.corp.example", 60'000), "11001");
  EXPECT_EQ(Addresses(NetworkName("IPV6_ONLY").c_str()), std::set<std::wstring>{L"fd00:9::99"});
}

// A busy machine adds little to two seconds.
TEST_F(ResolverInNetwork, NoAnswer_CostsTheLimitWithinATenth) {
  const ULONGLONG start = ::GetTickCount64();
  EXPECT_EQ(Ask(NetworkName("NEVER"), 2000), "10060");
  const ULONGLONG waited = ::GetTickCount64() - start;
  EXPECT_GE(waited, 2000u);
  EXPECT_LE(waited, 2200u);
}

TEST_F(ResolverInNetwork, LateAnswer_IsMissedByTheImpatientOnly) {
  EXPECT_EQ(Ask(NetworkName("LATE"), 300), "10060");
  EXPECT_EQ(Ask(NetworkName("LATE"), 60'000), "late.corp.example 10.9.8.50");
}

TEST_F(ResolverInNetwork, LocalMachine_HasTheAddressesOfThisNetwork) {
  EXPECT_EQ(Addresses("..localmachine"),
            (std::set<std::wstring>{L"10.9.8.7", L"127.0.0.1", L"::1", L"fd00:9::7"}));
  EXPECT_EQ(SocketServices::GetProtocolOfChoice(), AddressFamily::IPv4);
}

}  // namespace
