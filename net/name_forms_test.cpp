#include "net/name_forms.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <string>

#include "net/dns_time_out.h"

namespace vtclass::net {
namespace {

bool IsGraphic(wchar_t unit) { return std::iswgraph(unit) != 0; }

const std::wstring kLabel255(255, L'a');
const std::wstring kZero(L"a\0b", 3);

TEST(NameForms, ServerIn_TakesTheHostOutOfAPath) {
  const struct {
    std::wstring name, server;
  } rows[] = {{L"host", L"host"},
              {L"\\\\host\\share\\dir", L"host"},
              {L"\\host", L"host"},
              {L"\\\\\\\\host\\", L"host"},
              {L"host\\share", L"host"},
              {L"", L""},
              {L"\\\\", L""},
              {L"\\\\ \\x", L" "},
              {L"\\\\" + kZero, kZero},
              {L"\\\\" + kLabel255 + L"\\s", kLabel255},
              {L"//host/share", L"//host/share"}};
  for (const auto& row : rows) EXPECT_EQ(ServerIn(row.name), row.server);
}

TEST(NameForms, ConvertedNames) {
  const struct {
    std::wstring name, netBios, label, full;
  } rows[] = {
      {L"srv7.corp.example", L"srv7", L"srv7", L"srv7.corp.example"},
      {L"srv7", L"srv7", L"srv7", L"srv7.own.example"},
      {L"srv7.", L"srv7", L"srv7", L"srv7."},
      {L".corp", L"", L"", L".corp"},
      {L"a..b", L"a", L"a", L"a..b"},
      {L"123456789012345", L"123456789012345", L"123456789012345", L"123456789012345.own.example"},
      {L"1234567890123456.x", L"123456789012345", L"1234567890123456", L"1234567890123456.x"},
      {L"a/b:c*d?e\"f<g>h|i\\j k\tl", L"abcdefghijkl", L"a/b:c*d?e\"f<g>h|i\\j k\tl",
       L"a/b:c*d?e\"f<g>h|i\\j k\tl.own.example"},
      {L"<<<<<<<<<<<<<<<<<<x", L"x", L"<<<<<<<<<<<<<<<<<<x", L"<<<<<<<<<<<<<<<<<<x.own.example"},
      {kLabel255, kLabel255.substr(0, 15), kLabel255, kLabel255 + L".own.example"},
      {kZero, L"ab", kZero, kZero + L".own.example"}};
  for (const auto& row : rows) {
    EXPECT_EQ(NetBiosForm(row.name, &IsGraphic), row.netBios);
    EXPECT_EQ(FirstLabel(row.name), row.label);
    EXPECT_EQ(WithDomainOf(row.name, L"me.own.example"), row.full);
  }
  EXPECT_EQ(WithDomainOf(L"srv7", L"me"), L"srv7");
}

TEST(NameForms, Replaced_GoesOnBehindEachReplacement) {
  const struct {
    std::wstring text, what, with, result;
  } rows[] = {{L"\\\\a\\a\\aa", L"a", L"aa", L"\\\\aa\\aa\\aaaa"},
              {L"aaa", L"aa", L"b", L"ba"},
              {L"Host", L"host", L"x", L"Host"},
              {L"text", L"", L"x", L"text"},
              {L"abc", L"abc", L"", L""}};
  for (const auto& row : rows) EXPECT_EQ(Replaced(row.text, row.what, row.with), row.result);
}

TEST(NameForms, RacShape) {
  for (const wchar_t* name : {L"RAC-ORCL-12", L"rac-x-", L"RACK-a-b-0", L"Rac--"}) {
    EXPECT_TRUE(HasRacShape(name));
  }
  for (const wchar_t* name :
       {L"RAC-ORCL12", L"RAC", L"", L"XRAC-a-1", L"RA-C-1", L"RAC-a-1x", L"RAC-a-\x0661", L"R-a-1",
        L"\x0112"
        L"AC-a-1"}) {
    EXPECT_FALSE(HasRacShape(name));
  }
}

TEST(NameForms, SplitUnc) {
  const struct {
    std::wstring path;
    bool isUnc;
    std::wstring server, share;
  } rows[] = {{L"\\\\host\\share", true, L"\\\\host", L"share"},
              {L"\\\\host\\share\\dir", true, L"\\\\host", L"share"},
              {L"\\\\host\\", true, L"\\\\host", L""},
              {L"\\\\\\a\\b", true, L"\\\\", L"a"},
              {L"\\\\a\\b", true, L"\\\\a", L"b"},
              {L"\\\\a\\", false, L"", L""},
              {L"\\\\host", false, L"", L""},
              {L"\\host\\share", false, L"", L""},
              {L"C:\\host\\share", false, L"", L""},
              {L"", false, L"", L""}};
  for (const auto& row : rows) {
    UncParts parts;
    EXPECT_EQ(SplitUnc(row.path, parts), row.isUnc);
    EXPECT_EQ(parts.server, row.server);
    EXPECT_EQ(parts.share, row.share);
  }
}

TEST(DnsTimeOut, Bounds) {
  const struct {
    std::uint32_t stored, used;
  } rows[] = {{0, 5000},         {500, 5000},   {999, 5000},   {1000, 1000},
              {60000, 60000},    {60001, 5000}, {70000, 5000}, {kNoTimeLimit, kNoTimeLimit},
              {0xFFFFFFFE, 5000}};
  for (const auto& row : rows) EXPECT_EQ(UsableTimeOut(row.stored), row.used);
  EXPECT_EQ(MicrosecondsOf(5000), 5000000);
  EXPECT_EQ(MicrosecondsOf(2147483), 2147483000);
  EXPECT_EQ(MicrosecondsOf(2147484), INT32_MAX);
  EXPECT_EQ(MicrosecondsOf(0xFFFFFFFE), INT32_MAX);
}

}  // namespace
}  // namespace vtclass::net
