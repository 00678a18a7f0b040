#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "joblog/csv_view.h"
#include "joblog/element_names.h"
#include "joblog/html_view.h"
#include "joblog/json_view.h"
#include "joblog/text_view.h"

namespace vtclass::joblog {
namespace {

using Json = nlohmann::json;

Event Make(EventKind kind, std::size_t depth, const std::string& text,
           const std::string& code = "") {
  Event event;
  event.kind = kind;
  event.depth = depth;
  event.text = text;
  event.code = code;
  event.document = 1;
  if (kind == EventKind::kEntry && !code.empty()) {
    event.element = "Warning";
    event.type = "access_denied";
    event.severity = Severity::kWarning;
  }
  return event;
}

std::string TextOf(const Event& event, bool colour) {
  std::string all;
  TextView view([&](std::string_view line) { all += line; }, colour);
  view.Handle(event);
  return all;
}

TEST(Label, AnyName_ReadsAsWords) {
  const char* cases[][2] = {{"backed_up_dirs_files", "Backed up dirs files"},
                            {"OperationErrors", "Operation errors"},
                            {"SelNotExist", "Sel not exist"},
                            {"SQL objects warning", "SQL objects warning"},
                            {"UMI", "Umi"},
                            {"", ""}};
  for (const auto& c : cases) EXPECT_EQ(Label(c[0]), c[1]);
}

TEST(TextView, Handle_ControlCharacters_DoNotReachTheTerminal) {
  const std::string line = TextOf(Make(EventKind::kEntry, 1,
                                       "a\x1b[31m\x7f\xC2\x9B\xE2\x80\xAA\xE2\x80\xAE\xE2\x81\xA6"
                                       "\xE2\x81\xA9\xE2\x81\xAA\tb\nc"),
                                  true);
  EXPECT_EQ(line,
            "  a\xE2\x90\x9B[31m\xE2\x90\xA1\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"
            "\xEF\xBF\xBD\xE2\x81\xAA\tb\n    c\n");
}

TEST(TextView, Handle_Severities_AreNamedAndColoured) {
  const Event event = Make(EventKind::kEntry, 0, "no", "Q-79-1-2");
  EXPECT_EQ(TextOf(event, false), "Warning Q-79-1-2: no\n");
  EXPECT_EQ(TextOf(event, true), "\x1b[33mWarning Q-79-1-2: \x1b[0mno\n");
}

TEST(TextView, Handle_EntryWithoutSubject_GetsItsLabel) {
  const struct {
    const char* element;
    const char* text;
    const char* line;
  } cases[] = {{"compression", "None", "Compression: None\n"},
               {"compression", "Compression: None", "Compression: None\n"},
               {"agent_started", "Agent started on X", "Agent started on X\n"},
               {"file_name", "a.txt", "a.txt\n"},
               {"set_ended", "", "Set ended\n"}};
  for (const auto& c : cases) {
    Event event = Make(EventKind::kEntry, 0, c.text);
    event.element = c.element;
    EXPECT_EQ(TextOf(event, false), c.line);
  }
}

TEST(JsonLine, AnyEvent_ParsesBackOnOneLine) {
  Event event = Make(EventKind::kEntry, 3, "a\n\"b\"\x01\xFF", "Q-79-1-2");
  event.at = {70, 2, 8};
  event.partial = true;
  const std::string line = JsonLine(event, {"f", "C:\\A"});
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  const Json json = Json::parse(line);
  EXPECT_EQ(json["kind"], "entry");
  EXPECT_EQ(json["severity"], "warning");
  EXPECT_EQ(json["code"], "Q-79-1-2");
  EXPECT_EQ(json["type"], "access_denied");
  EXPECT_EQ(json["offset"], 70);
  EXPECT_EQ(json["text"], "a\n\"b\"\x01\xEF\xBF\xBD");
  EXPECT_EQ(json["partial"], true);
  EXPECT_EQ(json["path"], "C:\\A");
  EXPECT_TRUE(json.at("status").is_null());
  EXPECT_FALSE(json.contains("continued"));
  EXPECT_FALSE(json.contains("time"));
  EXPECT_EQ(Json::parse(JsonLine(Make(EventKind::kFolder, 0, "C:\\"), {}))["path"], "C:\\");
  EXPECT_EQ(Json::parse(JsonLine(Make(EventKind::kDocument, 0, ""), {"f", ""}))["file"], "f");
  EXPECT_EQ(Json::parse(JsonLine(Make(EventKind::kEntry, 0, "at 2025-01-31 22:00:00"), {}))["time"],
            "2025-01-31T22:00:00");
}

TEST(CsvLine, AnyText_IsOneFieldThatNoSpreadsheetComputes) {
  EXPECT_EQ(CsvHeader(),
            "file,document,line,column,offset,severity,code,path,status,time,element,type,detail,"
            "text,continued\r\n");
  const struct {
    const char* text;
    const char* field;
  } cases[] = {{"plain", "plain"},   {"", ""},
               {"a,b", "\"a,b\""},   {"say \"x\"", "\"say \"\"x\"\"\""},
               {"a\nb", "\"a\nb\""}, {"a\rb\x1b", "a\xE2\x90\x8D\x62\xE2\x90\x9B"},
               {"=1+1", "'=1+1"},    {"@sum", "'@sum"},
               {"\tx", "'\tx"},      {"-1", "'-1"},
               {"+1", "'+1"}};
  for (const auto& c : cases) {
    Event event = Make(EventKind::kEntry, 1, c.text, "Q-79-1-2");
    event.at = {70, 2, 8};
    EXPECT_EQ(CsvLine(event, {"f", "C:\\A"}),
              "f,1,2,8,70,warning,Q-79-1-2,C:\\A,,,Warning,access_denied,," + std::string(c.field) +
                  ",false\r\n");
  }
  const Event timed = Make(EventKind::kEntry, 0, "no: Denied. (5) 2025-01-31 22:00:00. (32)", "c");
  EXPECT_NE(CsvLine(timed, {}).find(",,32,2025-01-31T22:00:00,"), std::string::npos);
}

std::string PageOf(const std::vector<Event>& events, std::uint64_t leftOut = 0) {
  HtmlView view("<a & b>.xml");
  view.BeginFile("<a & b>.xml");
  for (const Event& event : events) view.Handle(event);
  view.LeftOut(leftOut, 0);
  return view.Page(false);
}

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
    ++count;
  return count;
}

// The rows of the page's list, each with its texts.
std::vector<Json> RowsOf(const std::string& page) {
  const std::string begin = "<script type=\"application/json\">";
  std::vector<Json> rows;
  std::size_t at = page.find(begin) + begin.size();
  for (; page[at] == '['; at = page.find('\n', at) + 1) {
    rows.push_back(Json::parse(page.substr(at, page.find('\n', at) - at)));
  }
  EXPECT_TRUE(page.substr(at).starts_with("</script>"));
  return rows;
}

TEST(HtmlView, Page_ContentOfTheLog_StaysText) {
  const std::string attack =
      "\"'></script><script>alert(1)</script><img src=x onerror=alert(2)><!--";
  Event entry = Make(EventKind::kEntry, 2, attack, attack);
  entry.type = entry.element = entry.detail = attack;
  Event section = Make(EventKind::kSection, 1, "");
  section.element = section.type = attack;
  const std::string page = PageOf(
      {Make(EventKind::kDocument, 0, attack), Make(EventKind::kFolder, 0, attack), section, entry,
       Make(EventKind::kDamage, 2, attack), Make(EventKind::kDocumentEnd, 0, attack)});
  EXPECT_EQ(Count(page, "<script"), 2U);
  EXPECT_EQ(Count(page, "</script"), 2U);
  EXPECT_EQ(Count(page, "<img"), 0U);
  EXPECT_EQ(Count(page, "<!--"), 0U);
  EXPECT_NE(page.find("<h1>&lt;a &amp; b&gt;.xml</h1>"), std::string::npos);
  EXPECT_NE(page.find("&quot;&#39;&gt;&lt;/script&gt;"), std::string::npos);
  EXPECT_EQ(RowsOf(page)[3][1], attack);
  for (const char* outside : {"http:", "https:", "//", "url(", "@import"}) {
    EXPECT_EQ(Count(page.substr(0, page.find("<main>")), outside), 0U) << outside;
  }
}

TEST(HtmlView, Page_Rows_TellKindDepthAndTexts) {
  Event more = Make(EventKind::kEntry, 2, "a\tb\nc\\\x1b", "Q-79-1-2");
  more.continued = more.partial = true;
  Event setting = Make(EventKind::kEntry, 1, "Workers = 4");
  setting.element = "setting_read";
  Event compression = Make(EventKind::kEntry, 0, "None");
  compression.element = "compression";
  const std::vector<Json> rows = RowsOf(PageOf(
      {Make(EventKind::kDocument, 0, "2.0"), setting, compression, Make(EventKind::kSet, 0, ""),
       Make(EventKind::kFolder, 12, "C:\\A"), Make(EventKind::kEntry, 2, "no", "Q-79-1-2"), more,
       Make(EventKind::kDocumentEnd, 0, "inside <a>")}));
  const Json expected = Json::array({{"D0", "Job log 1", "UTF-16, version 2.0", "<a & b>.xml"},
                                     {"i0", "None", "", "", "Compression"},
                                     {"G0", "Set 0"},
                                     {"F12", "C:\\A"},
                                     {"w2", "no", "Q-79-1-2", "Access denied"},
                                     {"w2+~", "a\tb\nc\\\xE2\x90\x9B", "Q-79-1-2"},
                                     {"c0", "inside <a>", "", "line 1, column 1 (byte 0)"},
                                     {"S0", "Settings"},
                                     {"i1", "Workers = 4"}});
  EXPECT_EQ(Json(rows), expected);
}

TEST(HtmlView, Page_Verdict_IsGreenOnlyWhenNothingIsAmiss) {
  Event skipped = Make(EventKind::kEntry, 0, "Skipped: 57");
  skipped.element = "total_skipped";
  const Event begin = Make(EventKind::kDocument, 0, "2.0");
  Event end = Make(EventKind::kDocumentEnd, 0, "");
  const Event cut = end;
  end.closed = true;
  const Event warning = Make(EventKind::kEntry, 0, "no", "Q-79-1-2");
  const struct {
    std::vector<Event> events;
    std::uint64_t leftOut;
    const char* verdict;
  } cases[] = {
      {{begin, end}, 0, "good\">No errors and no warnings<"},
      {{begin, end}, 3, "partial\">No errors and no warnings in what is shown<"},
      {{begin, skipped, end}, 0, "warning\">No errors and no warnings, 57 items skipped<"},
      {{begin, Make(EventKind::kDamage, 0, "x"), end},
       0,
       "error\">No errors and no warnings in what can be read, 1 damaged place<"},
      {{begin, warning, end}, 0, "warning\">1 warning<"},
      {{begin, cut}, 0, "error\">No errors and no warnings, and the log is cut off<"},
  };
  for (const auto& c : cases) {
    const std::string page = PageOf(c.events, c.leftOut);
    EXPECT_NE(page.find("<p class=\"verdict " + std::string(c.verdict)), std::string::npos)
        << page.substr(page.find("<p class"), 100);
    EXPECT_LT(page.find("verdict "), page.find("<dl"));
  }
  HtmlView incomplete("two logs");
  incomplete.NotRead("bad.xml");
  for (const Event& event : {begin, end}) incomplete.Handle(event);
  const std::string first = incomplete.Page(false);
  EXPECT_NE(first.find("verdict error\">No errors and no warnings, and 1 log could not be read"),
            std::string::npos);
  EXPECT_NE(first.find("Not read: bad.xml"), std::string::npos);
  const std::string page = PageOf({begin, warning, warning, end});
  EXPECT_NE(page.find("<li class=\"warning\"><b>2</b> <span>warning: <button type=\"button\" "
                      "data-words=\"Q-79-1-2\">Access denied</button> <code>Q-79-1-2</code></span>"
                      "<small>no</small></li>"),
            std::string::npos);
}

}  // namespace
}  // namespace vtclass::joblog
