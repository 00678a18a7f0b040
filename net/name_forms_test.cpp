#include "net/name_forms.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <string>

#include "net/dns_timeout.h"

namespace vtclass::net {
namespace {

const std::wstring kLabel255(255, L'a');
const std::wstring kZero(L"a\0b", 3);

TEST(NameForms, Paths) {
  const struct {
    std::wstring path, server;         // as the server of a name
    std::wstring uncServer, uncShare;  // as the parts of a UNC path
  } rows[] = {{L"", L"", L"", L""},
              {L"\\\\", L"", L"", L""},
              {L"host\\share", L"host", L"", L""},
              {L"\\host\\share", L"host", L"", L""},
              {L"\\\\host\\", L"host", L"\\\\host", L""},
              {L"\\\\host\\share\\dir", L"host", L"\\\\host", L"share"},
              {L"\\\\\\a\\b", L"a", L"\\\\", L"a"},
              {L"\\\\a\\b", L"a", L"\\\\a", L"b"},
              {L"\\\\a\\", L"a", L"", L""},
              {L"\\\\" + kZero + L"\\s", kZero, L"\\\\" + kZero, L"s"},
              {L"//host/share", L"//host/share", L"", L""}};
  for (const auto& row : rows) {
    UncParts parts;
    EXPECT_EQ(ServerIn(row.path), row.server);
    EXPECT_EQ(SplitUnc(row.path, parts), !row.uncServer.empty());
    EXPECT_EQ(parts.server, row.uncServer);
    EXPECT_EQ(parts.share, row.uncShare);
  }
}

TEST(NameForms, ConvertedNames) {
  const struct {
    std::wstring name, netBios, label, full;
  } rows[] = {
      {L"srv7.corp.example", L"srv7", L"srv7", L"srv7.corp.example"},
      {L"srv7.", L"srv7", L"srv7", L"srv7."},
      {L".corp", L"", L"", L".corp"},
      {L"123456789012345", L"123456789012345", L"123456789012345", L"123456789012345.own.x"},
      {L"1<234567890123456.x", L"123456789012345", L"1<234567890123456", L"1<234567890123456.x"},
      {L"a/b:c*d?e\"f<g>h|i\\j k\tl.", L"abcdefghijkl", L"a/b:c*d?e\"f<g>h|i\\j k\tl",
       L"a/b:c*d?e\"f<g>h|i\\j k\tl."},
      {kLabel255, kLabel255.substr(0, 15), kLabel255, kLabel255 + L".own.x"},
      {kZero, L"ab", kZero, kZero + L".own.x"}};
  for (const auto& row : rows) {
    EXPECT_EQ(NetBiosForm(row.name, [](wchar_t unit) { return std::iswgraph(unit) != 0; }),
              row.netBios);
    EXPECT_EQ(FirstLabel(row.name), row.label);
    EXPECT_EQ(WithDomainOf(row.name, L"me.own.x"), row.full);
  }
  EXPECT_EQ(WithDomainOf(L"srv7", L"me"), L"srv7");
}

TEST(NameForms, RacShape) {
  for (const wchar_t* name : {L"RAC-ORCL-12", L"rac-x-", L"RACK-a-b-0", L"Rac--"}) {
    EXPECT_TRUE(HasRacShape(name));
  }
  for (const wchar_t* name : {L"RAC-ORCL12", L"RAC", L"", L"XRAC-a-1", L"RA-C-1", L"RAC-a-1x",
                              L"RAC-a-\x0661", L"\u0152AC-a-1"}) {
    EXPECT_FALSE(HasRacShape(name));
  }
}

TEST(DnsTimeout, Bounds) {
  const std::uint32_t stored[] = {0, 500, 999, 1000, 60000, 60001, 70000, kNoTimeLimit, 0xFFFFFFFE};
  const std::uint32_t used[] = {5000, 5000, 5000, 1000, 60000, 5000, 5000, kNoTimeLimit, 5000};
  for (size_t i = 0; i < std::size(stored); ++i) EXPECT_EQ(UsableTimeout(stored[i]), used[i]);
  EXPECT_EQ(MicrosecondsOf(2147483), 2147483000);
  EXPECT_EQ(MicrosecondsOf(2147484), INT32_MAX);
}

}  // namespace
}  // namespace vtclass::net
