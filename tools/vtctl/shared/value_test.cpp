#include "tools/vtctl/shared/value.h"

#include <gtest/gtest.h>

namespace vtctl {
namespace {

Value TextValue(DWORD type, std::wstring_view units) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(units.data());
  return {type, {bytes, bytes + units.size() * sizeof(wchar_t)}};
}

TEST(RegistryValue, ParseNumber_WholeTextOf32Bits) {
  const struct {
    const wchar_t* text;
    std::optional<DWORD> number;
  } rows[] = {{L"0", 0},
              {L"007", 7},
              {L"4294967295", 0xFFFFFFFF},
              {L"0x0", 0},
              {L"0Xff", 255},
              {L"0xFFFFFFFF", 0xFFFFFFFF},
              {L"", {}},
              {L"0x", {}},
              {L"4294967296", {}},
              {L"0x100000000", {}},
              {L"99999999999999999999999999", {}},
              {L"-1", {}},
              {L"+1", {}},
              {L" 1", {}},
              {L"1 ", {}},
              {L"12a", {}},
              {L"0xg", {}},
              {L"\x0661", {}}};
  for (const auto& row : rows) EXPECT_EQ(ParseNumber(row.text), row.number) << row.text;
}

TEST(RegistryValue, ParseHex_TwoDigitsAByte) {
  using Bytes = std::vector<unsigned char>;
  const struct {
    const wchar_t* text;
    std::optional<Bytes> bytes;
  } rows[] = {{L"", Bytes{}},
              {L"00ff", Bytes{0, 255}},
              {L"0A 0b,0c:0d-0e", Bytes{10, 11, 12, 13, 14}},
              {L" 01 ", Bytes{1}},
              {L"0", {}},
              {L"012", {}},
              {L"0 1", {}},
              {L"0x01", {}},
              {L"zz", {}}};
  for (const auto& row : rows) EXPECT_EQ(ParseHex(row.text), row.bytes) << row.text;
}

TEST(RegistryValue, OneLine_ShowsEachType) {
  const struct {
    Value value;
    const wchar_t* line;
  } rows[] = {{TextValue(REG_SZ, {L"text\0", 5}), L"text"},
              {TextValue(REG_SZ, L"open end"), L"open end"},
              {TextValue(REG_EXPAND_SZ, {L"a\0hidden\0", 9}), L"a"},
              {TextValue(REG_MULTI_SZ, {L"a\0\0b\0\0", 6}), L"a | b"},
              {{REG_MULTI_SZ, {}}, L""},
              {{REG_SZ, {'x'}}, L""},
              {{REG_DWORD, {1, 2, 0, 0}}, L"513 (0x00000201)"},
              {{REG_DWORD, {1, 2, 0}}, L"01 02 00"},
              {{REG_QWORD, {0, 0, 0, 0, 1, 0, 0, 0}}, L"4294967296 (0x0000000100000000)"},
              {{REG_BINARY, {}}, L""},
              {{REG_BINARY, {0xDE, 0xAD}}, L"de ad"}};
  for (const auto& row : rows) EXPECT_EQ(OneLine(row.value), row.line);
  EXPECT_TRUE(OneLine({REG_BINARY, std::vector<unsigned char>(25)}).ends_with(L" ... (25 bytes)"));
  EXPECT_EQ(TypeName(REG_QWORD), L"REG_QWORD");
  EXPECT_EQ(TypeName(12), L"type 12");
}

TEST(RegistryValue, FullText_DumpsBinaryInLinesOfSixteen) {
  Value value = {REG_BINARY, std::vector<unsigned char>(17, 'A')};
  value.data[1] = 0x1B;  // must not reach the terminal
  EXPECT_EQ(FullText(value),
            L"00000000  41 1b 41 41 41 41 41 41  41 41 41 41 41 41 41 41  A.AAAAAAAAAAAAAA\n"
            L"00000010  41                                                A\n");
  EXPECT_EQ(FullText(TextValue(REG_MULTI_SZ, {L"a\0b\n\x9B\0\0", 7})), L"a\nb\xFFFD\xFFFD\n");
  for (const DWORD type : {DWORD{REG_SZ}, DWORD{REG_EXPAND_SZ}}) {
    EXPECT_EQ(FullText(TextValue(type, L"a\x1B[2Jb")), L"a\xFFFD[2Jb\n");
  }
  EXPECT_EQ(FullText({REG_DWORD, {7, 0, 0, 0}}), L"7\n");
}

TEST(RegistryValue, ToJson_KeepsTheType) {
  EXPECT_EQ(ToJson({REG_DWORD, {7, 0, 0, 0}}).dump(), R"({"type":"REG_DWORD","data":7})");
  EXPECT_EQ(ToJson({REG_BINARY, {0, 0xAB}}).dump(), R"({"type":"REG_BINARY","data":"00ab"})");
  EXPECT_EQ(ToJson(TextValue(REG_MULTI_SZ, {L"a\0b\0\0", 5})).dump(),
            R"({"type":"REG_MULTI_SZ","data":["a","b"]})");
}

}  // namespace
}  // namespace vtctl
