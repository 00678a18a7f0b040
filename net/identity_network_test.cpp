#include <gtest/gtest.h>

#include <string>

#include "tests/network/network_names.h"
#include "vtclass/net.h"

namespace {

using namespace vtclass;

class IdentityInNetwork : public test::NetworkTest {
 protected:
  // The name that plays a role; what is no role stands for itself.
  static wcstring NameOf(const char* role) {
    const std::string name = test::NetworkName(role);
    return wcstring(cstring(name.empty() ? role : name.c_str()));
  }
};

constexpr unsigned long kTryAgain = WSATRY_AGAIN;
constexpr unsigned long kTimedOut = WSAETIMEDOUT;

TEST_F(IdentityInNetwork, IsThisMeEx_AsksDnsForAliases) {
  const struct {
    const char* role;
    int timeOut;
    unsigned long result;
    bool isMe;
  } rows[] = {{"HOST", 60000, 0, true},           {"srv7", 60000, 0, true},
              {"10.9.8.7", 60000, 0, true},       {"fd00:9::7", 60000, 0, true},
              {"ALIAS", 60000, 0, true},          {"tape", 60000, 0, true},
              {"CASE_ALIAS", 60000, 0, true},     {"LOOP_ALIAS", 60000, 0, true},
              {"ADDRESS", 60000, 0, true},        {"ADDRESS6", 60000, 0, true},
              {"LATE_ALIAS", 60000, 0, true},     {"FOREIGN", 60000, 0, false},
              {"IPV6_ONLY", 60000, 0, false},     {"nobody.corp.example", 60000, 0, false},
              {"LATE", 60000, 0, false},          {"10.9.8.99", 60000, 0, false},
              {"BROKEN", 60000, kTryAgain, false}};
  for (const auto& row : rows) {
    for (const wcstring& name : {NameOf(row.role), wcstring(L"\\\\" + NameOf(row.role))}) {
      bool isMe = !row.isMe;
      EXPECT_EQ(IsThisMeEx(name, &isMe, true, row.timeOut), row.result) << row.role;
      EXPECT_EQ(isMe, row.isMe) << row.role;
    }
  }
}

TEST_F(IdentityInNetwork, IsThisMeEx_WaitsForItsTimeOutAndNoLonger) {
  for (const char* role : {"NEVER", "LATE_ALIAS"}) {
    constexpr int kLimit = 1000;
    bool isMe = true;
    const ULONGLONG start = ::GetTickCount64();
    EXPECT_EQ(IsThisMeEx(NameOf(role), &isMe, true, kLimit), kTimedOut);
    const ULONGLONG taken = ::GetTickCount64() - start;
    EXPECT_FALSE(isMe);
    EXPECT_GE(taken, kLimit * 0.9) << role;
    EXPECT_LE(taken, kLimit * 1.1) << role;
  }
}

TEST_F(IdentityInNetwork, OwnNamesAreNoAliases) {
  unsigned long timeOut = 60000;
  for (const char* role : {"HOST", "srv7", "SRV7.corp.EXAMPLE", "10.9.8.7"}) {
    bool isMe = true;
    EXPECT_EQ(IsThisAnAliasForMe(cstring(NameOf(role)).c_str(), &isMe, &timeOut), 0u);
    EXPECT_FALSE(isMe) << role;
  }
}

TEST_F(IdentityInNetwork, Conversions) {
  const struct {
    const char* in;
    int format;
    unsigned long result, status;
    bool isLocal;
    const wchar_t* out;
  } rows[] = {{"srv7", 3, 0, 0, true, L"srv7.corp.example"},
              {"10.9.8.7", 3, 0, 0, true, L"srv7.corp.example"},
              {"fd00:9::7", 0, 0, 0, true, L"SRV7"},
              {"tape", 3, 0, 0, false, L"tape.corp.example"},
              {"FOREIGN", 8, 0, 0, false, L"10.9.8.99"},
              {"IPV6_ONLY", 8, 0, 0, false, L"fd00:9::99"},
              {"LOOP_ALIAS", 8, 0, 0, false, L"127.0.0.1"},
              {"\\\\10.9.8.99\\share", 0, 0, 0, false, L"\\\\other\\share"},
              {"10.9.8.99", 1, 0, 0, false, L"other"},
              {"fd00:9::99", 3, 0, 0, false, L"six.corp.example"},
              {"10.9.8.98", 3, WSAHOST_NOT_FOUND, 3, false, L""},
              {"nobody.corp.example", 8, 1, 1, false, L""}};
  for (const auto& row : rows) {
    wcstring out = L"old";
    bool isLocal = !row.isLocal;
    unsigned long status = 99;
    EXPECT_EQ(VTConvertServerNamePlus(NameOf(row.in), out,
                                      static_cast<vtclass::_COMPUTER_NAME_FORMAT>(row.format), true,
                                      &isLocal, &status),
              row.result)
        << row.in;
    EXPECT_EQ(status, row.status) << row.in;
    EXPECT_EQ(isLocal, row.isLocal) << row.in;
    EXPECT_EQ(out, row.out) << row.in;
  }
}

}  // namespace
