#include "tools/vtctl/registry/watch.h"

#include <gtest/gtest.h>

namespace vtctl {
namespace {

TEST(Watch, Compare_NamesEveryDifferenceOnce) {
  const Value one = {REG_DWORD, {1, 0, 0, 0}};
  const Value two = {REG_DWORD, {2, 0, 0, 0}};
  const Value sameBytes = {REG_BINARY, {1, 0, 0, 0}};
  const KeyTree before = {{L"", {{L"same", one}, {L"new data", one}, {L"new type", one}}},
                          {L"gone", {{L"with it", one}}},
                          {L"kept", {{L"gone", one}}}};
  const KeyTree after = {{L"", {{L"same", one}, {L"new data", two}, {L"new type", sameBytes}}},
                         {L"kept", {}},
                         {L"more", {{L"fresh", two}}}};
  std::vector<std::wstring> found;
  for (const KeyChange& change : Compare(before, after)) {
    found.push_back(std::to_wstring(change.kind) + L" " + change.key + L"|" + change.name);
  }
  const std::vector<std::wstring> expected = {L"1 gone|",     L"3 |new data", L"3 |new type",
                                              L"4 kept|gone", L"0 more|",     L"2 more|fresh"};
  EXPECT_EQ(found, expected);
  EXPECT_TRUE(Compare(after, after).empty());
}

}  // namespace
}  // namespace vtctl
