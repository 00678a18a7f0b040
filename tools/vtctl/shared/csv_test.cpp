#include "tools/vtctl/shared/csv.h"

#include <gtest/gtest.h>

namespace vtctl {
namespace {

TEST(Csv, Fields_AreQuotedWhereTheyNeedIt) {
  const struct {
    const wchar_t *text, *field;
  } rows[] = {{L"", L""},
              {L"plain text", L"plain text"},
              {L"a,b", L"\"a,b\""},
              {L"say \"x\"", L"\"say \"\"x\"\"\""},
              {L"a\rb", L"\"a\rb\""},
              {L"\n", L"\"\n\""}};
  for (const auto& row : rows) EXPECT_EQ(CsvField(row.text), row.field);
}

TEST(Csv, Rows_HaveAFieldForEachColumn) {
  const struct {
    Json row;
    const wchar_t* line;
  } rows[] = {{{{"b", 1}, {"a", "x,y"}}, L"\"x,y\",1\r\n"},
              {{{"a", nullptr}}, L",\r\n"},
              {{{"a", {"p", "q"}}, {"b", true}, {"c", 3}}, L"p|q,true\r\n"},
              {{{"a", "l\ni"}, {"b", ""}}, L"l\xFFFDi,\r\n"},
              // What a spreadsheet would compute.
              {{{"a", "=1+1"}, {"b", "+1"}}, L"'=1+1,'+1\r\n"},
              {{{"a", "-1"}, {"b", "@x"}}, L"'-1,'@x\r\n"},
              {{{"a", -1}, {"b", "a=1"}}, L"-1,a=1\r\n"}};
  for (const auto& row : rows) {
    EXPECT_EQ(Csv({{"a", ""}, {"b", 0}}, Json::array({row.row})),
              std::wstring(L"a,b\r\n") + row.line);
  }
  EXPECT_EQ(Csv({{"a", ""}}, Json::array()), L"a\r\n");
}

}  // namespace
}  // namespace vtctl
