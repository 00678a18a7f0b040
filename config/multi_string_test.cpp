#include "config/multi_string.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using vtclass::WideText;
using vtclass::WideView;
using namespace vtclass::config;

std::vector<WideText> Items(WideView rest) {
  std::vector<WideText> items;
  for (WideView item; NextItem(rest, item);) items.emplace_back(item);
  return items;
}

TEST(MultiString, NextItem_AnyData_GivesTheRunsBetweenZeros) {
  using namespace std::string_literals;
  const struct {
    std::wstring stored;
    std::vector<WideText> items;
  } rows[] = {
      {L""s, {}},
      {L"\0"s, {}},
      {L"\0\0\0"s, {}},
      {L"a"s, {L"a"}},
      {L"a\0"s, {L"a"}},
      {L"a\0\0"s, {L"a"}},
      {L"a\0b"s, {L"a", L"b"}},
      {L"a\0\0b\0\0"s, {L"a", L"b"}},
      {L"\0\0a\0\0\0bc\0\0\0"s, {L"a", L"bc"}},
      {L"\xD800\0\xDC00\xFFFF"s, {L"\xD800", L"\xDC00\xFFFF"}},
  };
  for (const auto& row : rows) EXPECT_EQ(Items(row.stored), row.items);
}

TEST(MultiString, PackItems_ZerosAndEmptyItems_ComeBackSplitAndDropped) {
  using namespace std::string_literals;
  EXPECT_EQ(PackItems(std::vector<WideText>{}), L"\0"s);
  EXPECT_EQ(PackItems(std::vector<WideText>{L"a", L"", L"b\0c"s}), L"a\0\0b\0c\0\0"s);
}

TEST(MultiString, StoredSize_MoreThan32Bits_IsRefusedNotCut) {
  EXPECT_EQ(StoredSize(0x7FFFFFFF), 0xFFFFFFFEu);
  for (const std::size_t units : {std::size_t{0x80000000}, std::size_t{0x80000001}, SIZE_MAX}) {
    EXPECT_FALSE(StoredSize(units)) << units;
  }
}

}  // namespace
