#include "hive/compare.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hive/key_tree.h"
#include "tests/support/hive_builder.h"

namespace vtclass::hive {
namespace {

// Only these two letters have capitals here, so that a fold that is not used is seen.
WideUnit Fold(WideUnit unit) {
  if (unit == L'\x436') return L'\x416';
  return unit == L'k' ? L'K' : unit;
}

NamedValue Value(const wchar_t* name, std::uint32_t type, const std::string& data) {
  return {name, type,
          StoredData({reinterpret_cast<const unsigned char*>(data.data()), data.size()})};
}

std::string Text(const KeyDifferences& found) {
  std::string text;
  const auto add = [&text](const char* what, const auto& places) {
    for (const std::size_t place : places) text += what + std::to_string(place) + " ";
  };
  const auto addPairs = [&text](const char* what, const auto& pairs) {
    for (const auto& [a, b] : pairs)
      text += what + std::to_string(a) + ":" + std::to_string(b) + " ";
  };
  add("v1.", found.valuesOnlyInFirst);
  add("v2.", found.valuesOnlyInSecond);
  addPairs("unlike", found.unlikeValues);
  add("k1.", found.subkeysOnlyInFirst);
  add("k2.", found.subkeysOnlyInSecond);
  addPairs("common", found.commonSubkeys);
  return text;
}

TEST(Compare, Values_NamesInAnyCaseAndOrder_DifferByTypeAndData) {
  const std::string one = "1", two = "2", longer = "12", none;
  const KeyContents first = {
      {Value(L"k\x436", 1, one), Value(L"", 1, one), Value(L"type", 1, one), Value(L"data", 1, one),
       Value(L"size", 1, one), Value(L"gone", 1, one), Value(L"empty", 1, none)},
      {}};
  const KeyContents second = {
      {Value(L"empty", 1, none), Value(L"size", 1, longer), Value(L"data", 1, two),
       Value(L"type", 2, one), Value(L"new", 1, one), Value(L"", 1, one), Value(L"K\x416", 1, one)},
      {}};
  EXPECT_EQ(Text(Compare(first, second, Fold)), "v1.5 v2.4 unlike3:2 unlike4:1 unlike2:3 ");
  EXPECT_EQ(Text(Compare(first, first, Fold)), "");
}

TEST(Compare, Subkeys_ArePairedOnce) {
  const KeyContents first = {{}, {L"b", L"k", L"a", L"K"}};
  const KeyContents second = {{}, {L"K", L"c", L"a"}};
  EXPECT_EQ(Text(Compare(first, second, Fold)), "k1.3 k1.0 k2.1 common1:0 common2:2 ");
  EXPECT_EQ(Text(Compare({}, second, Fold)), "k2.0 k2.2 k2.1 ");
}

TEST(KeyTree, Keys_StandBelowTheirParents_WithDataOfManyPieces) {
  const std::string large(40000, 'x');
  const std::string file =
      test::BuildHive({L"r",
                       {{L"v", 4, "1234"}},
                       {{L"a", {}, {{L"b", {{L"large", 3, large}}, {}}}}, {L"c", {}, {}}}});
  KeyTree tree;
  ReadHive({reinterpret_cast<const unsigned char*>(file.data()), file.size()}, tree,
           [](const Problem&) { ADD_FAILURE(); });
  const auto& nodes = tree.Nodes();
  ASSERT_EQ(nodes.size(), 4u);
  EXPECT_EQ(nodes[0].contents.subkeys, (std::vector<WideText>{L"a", L"c"}));
  EXPECT_EQ(nodes[0].subkeys, (std::vector<std::size_t>{1, 3}));
  EXPECT_EQ(nodes[1].subkeys, (std::vector<std::size_t>{2}));
  std::string changed = large;
  changed[39999] = 'y';
  const StoredData stored = nodes[2].contents.values.at(0).data;
  EXPECT_TRUE(stored == Value(L"", 3, large).data);
  EXPECT_FALSE(stored == Value(L"", 3, changed).data);
  EXPECT_FALSE(stored == Value(L"", 3, large.substr(1)).data);
}

}  // namespace
}  // namespace vtclass::hive
