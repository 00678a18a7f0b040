#include <gtest/gtest.h>

#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/conversion_row.h"
#include "tests/support/private_registry.h"
#include "vtclass/net.h"
#include "vtclass/product.h"

namespace {

using namespace vtclass;

wcstring NameOf(COMPUTER_NAME_FORMAT format) {
  wchar_t name[1000] = L"";
  DWORD size = ARRAYSIZE(name);
  EXPECT_TRUE(::GetComputerNameExW(format, name, &size));
  return name;
}

// This machine's own names.
struct OwnNames {
  wcstring netBios = NameOf(ComputerNameNetBIOS);
  wcstring dnsHost = NameOf(ComputerNameDnsHostname);
  wcstring full = NameOf(ComputerNameDnsFullyQualified);
};

const wcstring kZeroInside(L"127.0.0.1\0x", 11);

TEST(IsThisMe, OwnNamesAndAddressesInEveryForm_AndNothingElse) {
  const OwnNames own;
  wcstring upper = own.full;
  ::CharUpperBuffW(upper.data(), static_cast<DWORD>(upper.size()));
  bool isMe = false;
  for (const wcstring& name : std::vector<wcstring>{
           own.netBios, own.dnsHost, own.full, upper, L"\\\\" + own.full + L"\\share\\dir",
           L"127.0.0.1", L"::1", L"\\\\127.0.0.1\\c$", L"0:0::0001"}) {
    EXPECT_EQ(IsThisMeEx(name, &(isMe = false), true, 1000), 0u);
    EXPECT_TRUE(isMe);
  }
  for (const wcstring& name : std::vector<wcstring>{
           L"", L"\\\\", L"no-such-host.invalid", own.dnsHost + L".", own.dnsHost + L"x",
           own.dnsHost + wcstring(L"\0", 1), kZeroInside, L"192.0.2.1", L"127.0.0.01",
           wcstring(std::wstring(255, L'a')), L"a..b", L"//" + own.netBios}) {
    EXPECT_EQ(IsThisMe(name, &(isMe = true), false), 87u) << name.size();
    EXPECT_FALSE(isMe);
  }
  EXPECT_EQ(IsThisMe(own.full, nullptr, false), 87u);
}

TEST(VTConvertServerNamePlus, NamesAndFormats) {
  const OwnNames own;
  const wcstring unc = L"\\\\" + own.dnsHost + L"\\" + own.dnsHost;
  const size_t dot = own.full.find(L'.');
  const wcstring domain = dot == wcstring::npos ? L"" : own.full.substr(dot);
  const ConversionRow rows[] = {
      {unc, 0, 0, 0, true, L"\\\\" + own.netBios + L"\\" + own.netBios},
      {own.full, 1, 0, 0, true, own.dnsHost},
      {own.netBios, 3, 0, 0, true, own.full},
      {unc, 9, 0, 0, true, L""},
      {unc, 2, 87, 1, false, L""},
      {L"\\\\127.0.0.1\\c", 0, 0, 0, true, L"\\\\" + own.netBios + L"\\c"},
      {L"::1", 3, 0, 0, true, own.full},
      {L"\\\\127.0.0.1\\c", 8, 0, 0, true, L"\\\\127.0.0.1\\c"},
      {L"192.0.2.7", 8, 0, 0, false, L"192.0.2.7"},
      {L"\\\\far.away.invalid\\s", 0, 0, 0, false, L"\\\\far\\s"},
      {L"far.away.invalid", 1, 0, 0, false, L"far"},
      {L"\\\\far\\farFAR", 3, 0, 0, false, L"\\\\far" + domain + L"\\far" + domain + L"FAR"},
      {L"far.away.invalid", 8, 1, 1, false, L""},
      {L"far\x4E2D.invalid", 8, 1, 1, false, L""},
      {L"...", 0, 1, 1, false, L""},
      {kZeroInside, 9, 0, 0, false, L""},
      {L"\\\\", 0, 87, 2, false, L""}};
  for (const ConversionRow& row : rows) row.Expect();
  bool isLocal = true;
  unsigned long status = 99;
  wcstring out = L"old";
  EXPECT_EQ(VTConvertServerNamePlus(L"x", out, computerNameNetBIOS, true, &isLocal, nullptr), 87u);
  EXPECT_FALSE(isLocal);
  EXPECT_EQ(out, L"");
  EXPECT_EQ(VTConvertServerNamePlus(L"x", out, computerNameNetBIOS, true, nullptr, &status), 87u);
  EXPECT_EQ(status, 2u);
}

void StoreDatabase(const wchar_t* name, const wchar_t* sid, const wchar_t* id, DWORD isRac) {
  const auto key =
      std::wstring(L"Software\\Quorrel\\Strandel\\VTDS\\Engine\\Agents\\Oracle\\") + name;
  test::MakeKey(key);
  test::StoreValue(key, L"Is RAC", REG_DWORD, &isRac, sizeof(isRac));
  const auto store = [&](const wchar_t* value, const wchar_t* text) {
    const auto bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
    if (*text) test::StoreValue(key, value, REG_SZ, text, bytes);
  };
  store(L"SID", sid);
  store(L"DBID", id);
}

TEST(IsOracleRACVNodeName, DatabasesOfThisMachine) {
  const test::PrivateRegistry registry;
  CMS_SetProd(1);
  StoreDatabase(L"PLAIN", L"plain1", L"7", 0);
  StoreDatabase(L"ORCL", L"orcl1", L"12", 1);
  StoreDatabase(L"NOSID", L"", L"34", 1);
  StoreDatabase(L"NOID", L"noid1", L"", 1);
  const auto expect = [](const wchar_t* name, bool isNode, bool isMe) {
    bool answer = !isMe;
    EXPECT_EQ(IsOracleRACVNodeName(name, &answer), isNode);
    EXPECT_EQ(answer, isMe);
    EXPECT_EQ(IsThisMe(L"\\\\" + wcstring(name), &answer, false), isNode ? 0u : 87u);
    EXPECT_EQ(answer, isMe);
  };
  for (const wchar_t* name :
       {L"RAC-ORCL-12", L"rac-orcl-12.corp", L"RAC-NOSID-99", L"RAC-NOID-x"}) {
    expect(name, true, true);
  }
  expect(L"RAC-ORCL-1", true, false);
  expect(L"RAC-PLAIN-7", true, false);
  expect(L"RAC-OTHER-1x", false, false);
  EXPECT_TRUE(IsOracleRACVNodeName(L"RAC-ORCL-12", nullptr));
  CMS_SetProd(0);
  expect(L"RAC-ORCL-12", true, false);
}

// "own name 1; ...": the steps of an answer.
std::wstring StepsOf(const wcstring& name, bool clusterAware, unsigned long expected) {
  std::vector<Step> steps(9);
  bool isMe = true;
  EXPECT_EQ(IsThisMeExWithSteps(name, &isMe, clusterAware, 1, steps), expected);
  const wchar_t* const words[] = {L"name",  L"address",  L"virtual", L"node",
                                  L"shape", L"dns name", L"host",    L"dns address"};
  std::wstring text;
  for (const Step& step : steps) {
    text += words[step.what] + std::wstring(step.answer != 0 ? L"+ " : L"- ");
  }
  return text;
}

TEST(IsThisMeExWithSteps, NamesWhatWasAsked) {
  const wcstring own = NameOf(ComputerNameNetBIOS);
  EXPECT_EQ(StepsOf(own, false, 0), L"name+ ");
  EXPECT_EQ(StepsOf(L"\\\\127.0.0.1", false, 0), L"address+ ");
  EXPECT_EQ(StepsOf(L"192.0.2.1", true, 0), L"address- node- shape- ");
  EXPECT_EQ(StepsOf(L"far\x4E2D", false, 0xFFFFFFFF), L"name- node- shape- host- ");
}

TEST(IsThisMeExWithSteps, WithoutMemoryForSteps_NeitherAnswersNorShowsSome) {
  const wcstring own = NameOf(ComputerNameNetBIOS);
  std::vector<Step> steps;
  bool isMe = true;
  const auto ask = [&] {
    steps = {};
    if (IsThisMeExWithSteps(own, &isMe, false, 1, steps) == 8) throw std::bad_alloc();
  };
  const auto check = [&] {
    EXPECT_FALSE(isMe);
    EXPECT_TRUE(steps.empty());
  };
  EXPECT_GT(test::FailEachAllocation(ask, check, test::ThisProgram()), 0);
  EXPECT_TRUE(isMe);
}

TEST(Addresses, ParsedAndLocal) {
  EXPECT_TRUE(IsIpAddr(L"::1"));
  EXPECT_TRUE(IsIpAddrLocal(L"127.0.0.1"));
  for (const wchar_t* text : {L"1.2.3", L"host", L"", L"\xFF11.1.1.1"}) {
    EXPECT_FALSE(IsIpAddr(text));
    EXPECT_THROW(IsIpAddrLocal(text), int);
  }
  EXPECT_FALSE(IsIpAddr(nullptr));
  const auto foreign = VTSocket::VTIPAddress::CreateIPAddress(L"192.0.2.1");
  bool isLocal = true;
  EXPECT_EQ(IsLocalIPAddress(foreign, &isLocal), 1u);
  EXPECT_TRUE(isLocal) << "left alone";
  EXPECT_FALSE(IsIpAddrLocal(L"192.0.2.1"));
  EXPECT_EQ(IsLocalIPAddress(foreign, nullptr), 87u);
  EXPECT_EQ(IsLocalIPAddress({}, &isLocal), 87u);
  EXPECT_EQ(GetAnyIpAddress(L"\\\\192.0.2.1\\share"), L"192.0.2.1");
}

TEST(SplitUncPath, OutputMayBeTheInput) {
  wcstring path = L"\\\\host\\share\\dir";
  wcstring share;
  EXPECT_EQ(SplitUncPath(path, path, share), 1);
  EXPECT_EQ(path + L" " + share, L"\\\\host share");
  EXPECT_EQ(SplitUncPath(path, path, share), 0);
  EXPECT_EQ(path + share, L"");
}

}  // namespace
