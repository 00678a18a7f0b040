#include <gtest/gtest.h>

#include <string>

#include "tests/network/network_names.h"
#include "tests/support/conversion_row.h"

namespace {

using namespace vtclass;

// The name that plays a role; what is no role stands for itself.
wcstring NameOf(const char* role) {
  const std::string name = test::NetworkName(role);
  return wcstring(cstring(name.empty() ? role : name.c_str()));
}

using IdentityInNetwork = test::NetworkTest;

void Expect(const wcstring& name, int timeout, unsigned long result, bool isMe) {
  bool answer = !isMe;
  EXPECT_EQ(IsThisMeEx(name, &answer, true, timeout), result);
  EXPECT_EQ(answer, isMe);
}

TEST_F(IdentityInNetwork, IsThisMeEx_AsksDnsForAliases) {
  const auto expect = [](const char* role, unsigned long result, bool isMe) {
    SCOPED_TRACE(role);
    Expect(NameOf(role), 60000, result, isMe);
    Expect(L"\\\\" + NameOf(role), 60000, result, isMe);
  };
  for (const char* role : {"HOST", "srv7", "10.9.8.7", "fd00:9::7", "ALIAS", "tape", "CASE_ALIAS",
                           "LOOP_ALIAS", "ADDRESS", "ADDRESS6", "LATE_ALIAS"}) {
    expect(role, 0, true);
  }
  for (const char* role : {"FOREIGN", "IPV6_ONLY", "nobody.corp.example", "LATE", "10.9.8.99"}) {
    expect(role, 0, false);
  }
  expect("BROKEN", WSATRY_AGAIN, false);
}

// One name is answered later, and the resolver gives the other up later still: the limit came
// first.
TEST_F(IdentityInNetwork, IsThisMeEx_WaitsNoLongerThanItsTimeout) {
  for (const char* role : {"NEVER", "LATE_ALIAS"}) {
    SCOPED_TRACE(role);
    Expect(NameOf(role), 1000, WSAETIMEDOUT, false);
  }
}

TEST_F(IdentityInNetwork, Conversions) {
  const ConversionRow rows[] = {{L"fd00:9::7", 0, 0, 0, true, L"SRV7"},
                                {L"tape", 3, 0, 0, false, L"tape.corp.example"},
                                {NameOf("FOREIGN"), 8, 0, 0, false, L"10.9.8.99"},
                                {NameOf("IPV6_ONLY"), 8, 0, 0, false, L"fd00:9::99"},
                                {NameOf("LOOP_ALIAS"), 8, 0, 0, false, L"127.0.0.1"},
                                {L"\\\\10.9.8.99\\share", 0, 0, 0, false, L"\\\\other\\share"},
                                {L"fd00:9::99", 3, 0, 0, false, L"six.corp.example"},
                                {L"10.9.8.98", 3, WSAHOST_NOT_FOUND, 3, false, L""},
                                {L"nobody.corp.example", 8, 1, 1, false, L""}};
  for (const ConversionRow& row : rows) row.Expect();
}

}  // namespace
