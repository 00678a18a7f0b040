#include "tools/vtctl/session/selection.h"

#include <gtest/gtest.h>

namespace vtctl {
namespace {

TEST(Selection, Matches_NamesAndPaths) {
  const struct {
    const wchar_t *pattern, *path;
    bool matches;
  } rows[] = {{L"*", L"a", true},
              {L"", L"a", false},
              {L"a", L"A", true},
              {L"\x00E4?", L"\x00C4x", true},
              {L"a?", L"a", false},
              {L"*.t?t", L"dir\\file.TXT", true},
              {L"*.txt", L"file.txt.bak", false},
              {L"a*b*c", L"aXbXbc", true},
              {L"a*b*c", L"aXcXb", false},
              {L"*aab", L"aaab", true},
              {L"dir", L"dir\\file", false},
              {L"dir\\*", L"dir\\sub\\file", true},
              {L"dir\\*", L"other\\dir\\file", false},
              {L"*\\dir\\*", L"other\\dir\\file", true},
              {L"/Dir/", L"dir", true},
              {L"\\file", L"dir\\file", false},
              {L"a?b",
               L"a\xD83D\xDE00"
               L"b",
               true},
              {L"??", L"\xD83D\xDE00", false},
              {L"?\xDE00", L"\xD83D\xDE00", false},
              {L"[a]", L"[a]", true}};
  for (const auto& row : rows) {
    EXPECT_EQ(!Selection({}, {row.pattern}).TakesFolder(row.path), row.matches)
        << testing::PrintToString(row.pattern) << testing::PrintToString(row.path);
  }
}

TEST(Selection, BackslashAtTheEnd_IsForFoldersOnly) {
  for (const wchar_t* pattern : {L"*\\", L"name/", L"dir\\name\\"}) {
    const Selection selection({}, {pattern});
    EXPECT_TRUE(selection.TakesFile(L"dir\\name")) << pattern;
    EXPECT_TRUE(selection.TakesFile(L"name")) << pattern;
  }
  EXPECT_FALSE(Selection({}, {L"*\\"}).TakesFolder(L"dir\\name"));
}

}  // namespace
}  // namespace vtctl
