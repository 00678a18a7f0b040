#include <gtest/gtest.h>

#include <vector>

#include "tests/support/private_registry.h"
#include "tests/support/wine.h"
#include "vtclass/net.h"
#include "vtclass/product.h"

namespace {

using namespace vtclass;
using test::PrivateRegistry;
using test::Status;

wcstring NameOf(COMPUTER_NAME_FORMAT format) {
  wchar_t name[1000] = L"";
  DWORD size = ARRAYSIZE(name);
  EXPECT_TRUE(::GetComputerNameExW(format, name, &size));
  return name;
}

wcstring Upper(wcstring text) {
  ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

// This machine's own names.
struct OwnNames {
  wcstring netBios = NameOf(ComputerNameNetBIOS);
  wcstring dnsHost = NameOf(ComputerNameDnsHostname);
  wcstring full = NameOf(ComputerNameDnsFullyQualified);
};

const wcstring kZeroInside(L"127.0.0.1\0x", 11);

TEST(IsThisMe, OwnNamesAndAddresses_InEveryForm) {
  const OwnNames own;
  for (const wcstring& name :
       std::vector<wcstring>{own.netBios, own.dnsHost, own.full, Upper(own.full),
                             L"\\\\" + own.netBios, L"\\\\" + own.full + L"\\share\\dir",
                             L"127.0.0.1", L"::1", L"\\\\127.0.0.1\\c$", L"0:0::0001"}) {
    bool isMe = false;
    EXPECT_EQ(IsThisMe(name, &isMe, true), 0u);
    EXPECT_TRUE(isMe);
    isMe = false;
    EXPECT_EQ(IsThisMeEx(name, &isMe, true, 1000), 0u);
    EXPECT_TRUE(isMe);
  }
}

TEST(IsThisMe, EverythingElse_Is87) {
  const OwnNames own;
  for (const wcstring& name : std::vector<wcstring>{
           L"", L"\\\\", L"no-such-host.invalid", own.dnsHost + L".", own.dnsHost + L"x",
           own.dnsHost + wcstring(L"\0", 1), kZeroInside, L"192.0.2.1", L"127.0.0.01",
           wcstring(std::wstring(255, L'a')), L"a..b", L"//" + own.netBios}) {
    bool isMe = true;
    EXPECT_EQ(IsThisMe(name, &isMe, false), 87u) << name.size();
    EXPECT_FALSE(isMe);
  }
  EXPECT_EQ(IsThisMe(own.full, nullptr, false), 87u);
  EXPECT_EQ(IsThisMeEx(own.full, nullptr, false, 1000), 87u);
}

struct ConversionRow {
  wcstring in;
  int format;
  unsigned long result, status;
  bool isLocal;
  wcstring out;
};

std::vector<ConversionRow> Conversions() {
  const OwnNames own;
  const size_t dot = own.full.find(L'.');
  const wcstring domain = dot == wcstring::npos ? L"" : own.full.substr(dot);
  const wcstring unc = L"\\\\" + own.dnsHost + L"\\" + own.dnsHost;
  return {{unc, 0, 0, 0, true, L"\\\\" + own.netBios + L"\\" + own.netBios},
          {own.full, 1, 0, 0, true, own.dnsHost},
          {own.netBios, 3, 0, 0, true, own.full},
          {unc, 9, 0, 0, true, L""},
          {unc, 2, 87, 1, false, L""},
          {L"\\\\127.0.0.1\\c", 0, 0, 0, true, L"\\\\" + own.netBios + L"\\c"},
          {L"127.0.0.1", 1, 0, 0, true, own.dnsHost},
          {L"::1", 3, 0, 0, true, own.full},
          {L"\\\\127.0.0.1\\c", 8, 0, 0, true, L"\\\\127.0.0.1\\c"},
          {L"127.0.0.1", 10, 87, 1, false, L""},
          {L"192.0.2.7", 8, 0, 0, false, L"192.0.2.7"},
          {L"192.0.2.7", 9, 0, 0, false, L""},
          {L"\\\\far.away.invalid\\s", 0, 0, 0, false, L"\\\\far\\s"},
          {L"far.away.invalid", 1, 0, 0, false, L"far"},
          {L"far.away.invalid", 3, 0, 0, false, L"far.away.invalid"},
          {L"\\\\far\\s", 3, 0, 0, false, L"\\\\far" + domain + L"\\s"},
          {L"far.away.invalid", 8, 1, 1, false, L""},
          {L"far\x4E2D.invalid", 8, 1, 1, false, L""},
          {L"far", 4, 87, 1, false, L""},
          {L"...", 0, 1, 1, false, L""},
          {L"<>", 0, 1, 1, false, L""},
          {kZeroInside, 9, 0, 0, false, L""},
          {L"\\\\", 0, 87, 2, false, L""},
          {L"", 9, 87, 2, false, L""}};
}

TEST(VTConvertServerNamePlus, NamesAndFormats) {
  for (const ConversionRow& row : Conversions()) {
    bool isLocal = !row.isLocal;
    unsigned long status = 99;
    wcstring text = row.in;  // input and output at once
    EXPECT_EQ(
        VTConvertServerNamePlus(text, text, static_cast<vtclass::_COMPUTER_NAME_FORMAT>(row.format),
                                true, &isLocal, &status),
        row.result);
    EXPECT_EQ(status, row.status);
    EXPECT_EQ(isLocal, row.isLocal);
    EXPECT_EQ(text, row.out) << "format " << row.format;
  }
}

TEST(VTConvertServerNamePlus, NullArguments) {
  bool isLocal = true;
  unsigned long status = 99;
  wcstring out = L"old";
  EXPECT_EQ(VTConvertServerNamePlus(L"x", out, computerNameNetBIOS, true, &isLocal, nullptr), 87u);
  EXPECT_FALSE(isLocal);
  EXPECT_EQ(out, L"");
  out = L"old";
  EXPECT_EQ(VTConvertServerNamePlus(L"x", out, computerNameNetBIOS, true, nullptr, &status), 87u);
  EXPECT_EQ(status, 2u);
  EXPECT_EQ(out, L"");
}

void StoreDatabase(const wcstring& root, const wcstring& name, const wcstring& sid,
                   const wcstring& id, DWORD isRac) {
  const std::wstring key = root + L"\\Engine\\Agents\\Oracle\\" + name;
  test::MakeKey(key);
  const auto bytes = [](const wcstring& text) {
    return static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  };
  if (!sid.empty()) test::StoreValue(key, L"SID", REG_SZ, sid.c_str(), bytes(sid));
  if (!id.empty()) test::StoreValue(key, L"DBID", REG_SZ, id.c_str(), bytes(id));
  test::StoreValue(key, L"Is RAC", REG_DWORD, &isRac, sizeof(isRac));
}

TEST(IsOracleRACVNodeName, DatabasesOfThisMachine) {
  const PrivateRegistry registry;
  CMS_SetProd(1);
  const wchar_t* const root = L"Software\\Quorrel\\Strandel\\VTDS";
  StoreDatabase(root, L"PLAIN", L"plain1", L"7", 0);
  StoreDatabase(root, L"ORCL", L"orcl1", L"12", 1);
  StoreDatabase(root, L"NOSID", L"", L"34", 1);
  StoreDatabase(root, L"NOID", L"noid1", L"", 1);
  const struct {
    const wchar_t* name;
    bool isNode, isMe;
  } rows[] = {{L"RAC-ORCL-12", true, true},   {L"rac-orcl-12", true, true},
              {L"RAC-ORCL-123", true, true},  {L"RAC-ORCL-12.corp", true, true},
              {L"RAC-ORCL-13", true, false},  {L"RAC-ORCL-1", true, false},
              {L"RAC-PLAIN-7", true, false},  {L"RAC-NOSID-99", true, true},
              {L"RAC-NOID-x", true, true},    {L"RAC-OTHER-", true, false},
              {L"RACK-ORCL-12", true, false}, {L"RAC-OTHER-1x", false, false},
              {L"RAC-1", false, false},       {L"", false, false}};
  for (const auto& row : rows) {
    bool isMe = !row.isMe;
    EXPECT_EQ(IsOracleRACVNodeName(row.name, &isMe), row.isNode);
    EXPECT_EQ(isMe, row.isMe);
    EXPECT_EQ(IsThisMe(L"\\\\" + wcstring(row.name), &isMe, false), row.isNode ? 0u : 87u);
    EXPECT_EQ(isMe, row.isMe);
  }
  EXPECT_TRUE(IsOracleRACVNodeName(L"RAC-ORCL-12", nullptr));
  CMS_SetProd(0);
  bool isMe = true;
  EXPECT_TRUE(IsOracleRACVNodeName(L"RAC-ORCL-12", &isMe));
  EXPECT_FALSE(isMe) << "a database of the other product";
}

TEST(Addresses, ParsedAndLocal) {
  const struct {
    const wchar_t* text;
    bool isAddress, isLocal;
  } rows[] = {{L"127.0.0.1", true, true},     {L"::1", true, true},    {L"192.0.2.1", true, false},
              {L"1.2.3", false, false},       {L"host", false, false}, {L"", false, false},
              {L"\xFF11.1.1.1", false, false}};
  for (const auto& row : rows) {
    EXPECT_EQ(IsIpAddr(row.text), row.isAddress);
    if (row.isAddress) {
      EXPECT_EQ(IsIpAddrLocal(row.text), row.isLocal);
    } else {
      EXPECT_THROW(IsIpAddrLocal(row.text), int);
    }
  }
  EXPECT_FALSE(IsIpAddr(nullptr));
  const auto foreign = VTSocket::VTIPAddress::CreateIPAddress(L"192.0.2.1");
  bool isLocal = true;
  EXPECT_EQ(IsLocalIPAddress(foreign, &isLocal), 1u);
  EXPECT_TRUE(isLocal) << "left alone";
  EXPECT_EQ(IsLocalIPAddress(foreign, nullptr), 87u);
  EXPECT_EQ(IsLocalIPAddress({}, &isLocal), 87u);
  EXPECT_EQ(GetAnyIpAddress(L"\\\\192.0.2.1\\share"), L"192.0.2.1");
  EXPECT_EQ(GetAnyIpAddress(L"\\\\"), L"");
}

TEST(GetComputerNodeName, BufferWithAndWithoutRoom) {
  wcstring node = L"old";
  ASSERT_NE(GetComputerNodeName(node), 0);
  EXPECT_EQ(node, NameOf(ComputerNameNetBIOS));
  wchar_t buffer[64];
  unsigned long size = ARRAYSIZE(buffer);
  EXPECT_NE(GetComputerNodeName(buffer, &size), 0);
  EXPECT_EQ(wcstring(buffer, size), node);
  size = static_cast<unsigned long>(node.size());
  EXPECT_EQ(GetComputerNodeName(buffer, &size), 0) << "no room for the terminator";
  EXPECT_EQ(size, node.size() + 1);
  EXPECT_EQ(GetComputerNodeName(buffer, nullptr), 0);
}

TEST(SplitUncPath, OutputMayBeTheInput) {
  wcstring path = L"\\\\host\\share\\dir";
  wcstring share;
  EXPECT_EQ(SplitUncPath(path, path, share), 1);
  EXPECT_EQ(path, L"\\\\host");
  EXPECT_EQ(SplitUncPath(path, path, share), 0);
  EXPECT_EQ(path + share, L"");
}

}  // namespace
